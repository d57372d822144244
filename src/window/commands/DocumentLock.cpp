#include "window/commands/DocumentLock.h"

#include <utility>

#include "platform/RunInBackground.h"

namespace quillmor {

bool DocumentLock::mayBeOpenElsewhere(const FileLocation& location) const {
  if (records_ == nullptr) return false;
  return !lock_ || lock_->isHeldByAnother() || location_ != location;
}

void DocumentLock::take(const FileLocation& location, Completion completion) {
  if (records_ == nullptr) return completion(nullptr);
  using Lock = std::shared_ptr<const OpenFileLock>;
  auto work = [directory = records_->directory(), location] {
    return OpenFileLock::take(directory, location);
  };
  runInBackground(executor_, std::move(work),
                  [completion = std::move(completion)](Result<Lock> result) {
                    completion(result.isOk() ? std::move(result.value()) : nullptr);
                  });
}

bool DocumentLock::follow(const std::optional<FileLocation>& location) {
  if (records_ == nullptr || location_ == location) return false;
  release();
  location_ = location;
  return location.has_value();
}

void DocumentLock::hold(const FileLocation& location, std::shared_ptr<const OpenFileLock> lock) {
  letGo(executor_, std::exchange(lock_, std::move(lock)));
  location_ = location;
}

void DocumentLock::letGo(BackgroundExecutor& executor,
                         std::shared_ptr<const OpenFileLock> lock) noexcept {
  if (!lock || lock->isHeldByAnother()) return;
  // Without memory for that, the lock's file is removed here and now.
  resultOf([&] { return executor.runDetached([lock = std::move(lock)] {}), Done(); });
}

void DocumentLock::release() noexcept {
  location_.reset();
  letGo(executor_, std::exchange(lock_, nullptr));
}

}  // namespace quillmor
