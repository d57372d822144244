#include "cli/InPlaceSaving.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "base/Check.h"
#include "document/DocumentSaver.h"
#include "fileaccess/DocumentOutput.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/UrlReservations.h"
#include "platform/RunInBackground.h"

namespace quillmor::cli {

namespace {

/// An executor for a program that has nothing to do but wait for its work.
class ImmediateExecutor final : public BackgroundExecutor {
 public:
  void runDetached(std::function<void()> work) override { work(); }

  void postToMain(std::function<void()> function) override {
    posted_.push_back(std::move(function));
  }

  void postToMainAfter(std::chrono::milliseconds, std::function<void()> function) override {
    postToMain(std::move(function));
  }

  void runPosted() {
    while (!posted_.empty()) {
      const auto function = std::move(posted_.front());
      posted_.pop_front();
      function();
    }
  }

 private:
  std::deque<std::function<void()>> posted_;
};

/// Whether a save that failed has left the file as it was, or another file is in its place by now.
/// False when that cannot be told.
bool hasNothingToRestore(const FileLocation& location, const ReadSnapshot& snapshot) {
  const auto now =
      resultOf([&] { return SecureFileAccess::fileStatusIfExists(location, FollowSymlinks::no); });
  if (!now.isOk()) return false;
  return now.value() == snapshot.status || !now.value() ||
         now.value()->identity() != snapshot.status.identity();
}

/// Puts the old bytes back into a file that a save has left torn: nobody has a window in which to
/// try again.
void restore(const FileLocation& location, const ReadSnapshot& snapshot) {
  const auto reservation = SecureFileAccess::reserveOutputURL(location);
  SecureFileAccess::writeDocumentBytes(snapshot.bytes.span(), location);
}

/// Throws the failure of a save, with a warning when the old bytes could not be put back.
[[noreturn]] void restoreAndThrow(const FileLocation& location, const ReadSnapshot& snapshot,
                                  const Error& failure) {
  if (hasNothingToRestore(location, snapshot)) throw failure;
  const auto restored = resultOf([&] { return restore(location, snapshot), Done(); });
  if (restored.isOk()) throw failure;
  throw failure.withMessage(failure.message() + " The file is incomplete now.");
}

/// Fails as writing would, as far as that is known before: the old bytes are lost once it begins.
void requireWritable(const FileLocation& location, std::int64_t newSize) {
  const int result = retryingInterrupted(
      [&] { return SystemCalls::current().access(location.path().c_str(), W_OK); });
  if (result != 0) throw lastSystemError("Could not open the document output file.");
  struct rlimit limit {};
  const bool isLimited = ::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  if (isLimited && std::cmp_greater(newSize, limit.rlim_cur)) throw Error::posix(EFBIG);
}

}  // namespace

void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot, ByteBuffer changed,
                 TaskProgress& progress, const std::function<void()>& beforeWriting) {
  const std::int64_t newSize = changed.size();
  ImmediateExecutor executor;
  const DocumentController noOtherDocuments;
  DocumentSaver saver(executor, noOtherDocuments);
  const auto document = std::make_shared<HexDocument>(executor);
  auto storage = std::make_shared<HexStorage>();
  storage->bytes = std::move(changed);
  document->replaceContentsForSingleWindowOpen(std::move(storage), location,
                                               snapshot.modificationDate);
  document->setFileStatus(snapshot.status);

  std::optional<DocumentSaveOutcome> outcome;
  bool wasChangedMeanwhile = false;
  bool hasBegunToWrite = false;
  saver.save(document, location, DocumentSaveOperation::save,
             {.confirmOverwritingChangedFile =
                  [&] {
                    wasChangedMeanwhile = true;
                    return false;
                  },
              .willWrite =
                  [&] {
                    requireWritable(location, newSize);
                    if (beforeWriting) beforeWriting();
                    // From here on the save has its effect, and is not reported as stopped any
                    // more.
                    progress.passPointOfNoReturn();
                    hasBegunToWrite = true;
                  },
              .completion = [&](const DocumentSaveOutcome& ended) { outcome = ended; },
              // Owned by the caller, who outlives the save.
              .progress = std::shared_ptr<TaskProgress>(std::shared_ptr<void>(), &progress)});
  executor.runPosted();
  checkPrecondition(outcome.has_value(), "a save that has ended");
  if (outcome->error) {
    if (hasBegunToWrite) restoreAndThrow(location, snapshot, *outcome->error);
    throw *outcome->error;
  }
  if (outcome->result == DocumentSaveResult::success) return;
  if (wasChangedMeanwhile) {
    throw Error::quillmor(2001, "The file has been changed by another program. Nothing was saved.");
  }
  throw Error::stopped();
}

}  // namespace quillmor::cli
