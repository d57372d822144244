#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "document/SafetyCopy.h"
#include "fileaccess/FileWriting.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/UUID.h"
#include "platform/RunInBackground.h"
#include "recovery/LittleEndian.h"
#include "recovery/PayloadDigest.h"
#include "recovery/RecordNames.h"
#include "recovery/RecordStore.h"

namespace quillmor {

namespace {

constexpr SecureFileAccess::WriteMessages kWriteMessages = {
    .couldNotWrite = "Could not write the recovery record.",
    .stopped = "The write of the recovery record stopped before all data was saved."};

/// A record that is being written. Until it is finished, the end of this object removes it.
class UnfinishedRecord {
 public:
  UnfinishedRecord(std::shared_ptr<const RecordDirectory> directory, std::string name)
      : directory_(std::move(directory)),
        name_(std::move(name)),
        temporaryName_(name_ + std::string(kUnfinishedSuffix)),
        handle_(directory_->open(temporaryName_, O_RDWR | O_CREAT | O_EXCL)) {
    if (!handle_.isOpen()) throw lastSystemError(kWriteMessages.couldNotWrite);
    // Where the file system has no locks, a second Quillmor may offer the record while it is held.
    retryingInterrupted([&] { return SystemCalls::current().flock(handle_.get(), LOCK_EX); });
  }

  ~UnfinishedRecord() {
    if (isFinished_) return;
    resultOf([&] { return directory_->remove(temporaryName_), Done(); });
    if (isRenamed_) resultOf([&] { return directory_->remove(name_), Done(); });
    resultOf([&] { return directory_->synchronize(), Done(); });
  }
  UnfinishedRecord(const UnfinishedRecord&) = delete;
  UnfinishedRecord& operator=(const UnfinishedRecord&) = delete;

  const FileDescriptor& handle() const { return handle_; }

  /// Makes the record durable under its name.
  std::unique_ptr<HeldRecord> finished(std::string id, std::int64_t byteCount) {
    handle_.synchronize();
    auto held = std::make_unique<HeldRecord>(directory_, name_, std::move(id), std::move(handle_));
    held->setByteCount(byteCount);
    isRenamed_ = true;
    directory_->rename(temporaryName_, name_);
    isFinished_ = true;
    return held;
  }

 private:
  std::shared_ptr<const RecordDirectory> directory_;
  std::string name_;
  std::string temporaryName_;
  FileDescriptor handle_;
  bool isRenamed_ = false;
  bool isFinished_ = false;
};

/// Room is asked for before the long work; a file system that cannot reserve it is none the worse.
void reserve(const FileDescriptor& handle, std::int64_t byteCount) {
  const int reserved = retryingInterrupted(
      [&] { return SystemCalls::current().fallocate(handle.get(), 0, 0, byteCount); });
  const bool cannotTell = errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL;
  if (reserved != 0 && !cannotTell) throw lastSystemError(kWriteMessages.couldNotWrite);
}

/// A lent payload may be wanted back at any moment, so that no slice must wait for the disk.
void writePayload(std::span<const std::uint8_t> bytes, const FileDescriptor& handle, bool isLent,
                  TaskProgress* progress) {
  using SecureFileAccess::WriteBack;
  const auto writeBack = isLent ? WriteBack::whenTheSystemLikes : WriteBack::afterEachSlice;
  constexpr auto kSlice = static_cast<std::size_t>(SecureFileAccess::kWriteSliceByteCount);
  while (!bytes.empty()) {
    if (progress != nullptr) progress->checkpoint();
    const auto slice = bytes.first(std::min(bytes.size(), kSlice));
    SecureFileAccess::writeAll(slice, handle, kWriteMessages, progress, writeBack);
    bytes = bytes.subspan(slice.size());
  }
}

void writeHeader(const RecordHeader& header, const FileDescriptor& handle) {
  const auto encoded = header.encoded();
  std::span<const std::uint8_t> rest = encoded;
  while (!rest.empty()) {
    const auto at = static_cast<off_t>(encoded.size() - rest.size());
    const ssize_t count = retryingInterrupted(
        [&] { return SystemCalls::current().pwrite(handle.get(), rest.data(), rest.size(), at); });
    if (count < 0) throw lastSystemError(kWriteMessages.couldNotWrite);
    if (count == 0) throw Error::posix(0, std::string(kWriteMessages.stopped));
    rest = rest.subspan(static_cast<std::size_t>(count));
  }
}

std::vector<std::uint8_t> encodedBookmarks(const std::vector<std::int64_t>& bookmarks) {
  std::vector<std::uint8_t> bytes(bookmarks.size() * sizeof(std::int64_t));
  for (std::size_t index = 0; index < bookmarks.size(); ++index)
    putLittleEndian(bytes, index * sizeof(std::int64_t), bookmarks[index]);
  return bytes;
}

std::unique_ptr<HeldRecord> writeInto(std::shared_ptr<const RecordDirectory> directory,
                                      RecordContent& content, std::span<const std::uint8_t> payload,
                                      PayloadDigest& digest, TaskProgress* progress) {
  RecordHeader& header = content.header;
  const std::string id = newRecordID(header.path);
  UnfinishedRecord record(directory, recordFileName(id, header.path, directory->isPrivate()));
  const std::vector<std::uint8_t> bookmarks = encodedBookmarks(content.bookmarks);
  const std::int64_t byteCount =
      RecordHeader::kByteCount + std::ssize(payload) + std::ssize(bookmarks);
  reserve(record.handle(), byteCount);
  if (progress != nullptr) progress->setTotal(std::ssize(payload));
  // The header goes first as zeros, which no reader takes for one.
  const std::vector<std::uint8_t> noHeader(RecordHeader::kByteCount);
  SecureFileAccess::writeAll(noHeader, record.handle(), kWriteMessages);
  writePayload(payload, record.handle(), content.payloadWasRead != nullptr, progress);
  SecureFileAccess::writeAll(bookmarks, record.handle(), kWriteMessages);
  // The disk need not wait for the digest.
  if (!content.payloadWasRead) SecureFileAccess::beginWritingBack(record.handle());
  header.payloadDigest = digest.finished();
  if (const auto once = std::exchange(content.payloadWasRead, nullptr)) once();
  writeHeader(header, record.handle());
  if (progress != nullptr) progress->checkpoint();
  auto held = record.finished(id, byteCount);
  held->setPayloadDigest(header.payloadDigest);
  if (progress != nullptr) progress->restart();
  return held;
}

std::unique_ptr<HeldRecord> createJournalIn(std::shared_ptr<const RecordDirectory> directory,
                                            const RecordHeader& header) {
  const std::string id = newRecordID(header.path);
  UnfinishedRecord record(directory, recordFileName(id, header.path, directory->isPrivate()));
  const auto encoded = header.encoded();
  SecureFileAccess::writeAll(encoded, record.handle(), kWriteMessages);
  return record.finished(id, RecordHeader::kByteCount);
}

/// Calls `make` with the private directory, and with that of the document when there is no place in
/// the private one and `mayTryAgain`. When both fail, the first reason is the one to tell.
template <class Make, class MayTryAgain>
std::unique_ptr<HeldRecord> inSomeDirectory(const FileLocation& privateDirectory,
                                            const std::string& path, const Make& make,
                                            const MayTryAgain& mayTryAgain) {
  auto first = resultOf([&] { return make(RecordDirectory::makePrivate(privateDirectory)); });
  if (first.isOk()) return std::move(first.value());
  if (path.empty() || !hasNoPlaceForSafetyCopy(first.error()) || !mayTryAgain())
    throw first.error();
  const FileLocation folder = FileLocation::fromPath(path).directory();
  auto second = resultOf([&] { return make(RecordDirectory::openShared(folder)); });
  if (second.isOk()) return std::move(second.value());
  throw hasNoPlaceForSafetyCopy(second.error()) ? first.error() : second.error();
}

void complete(RecordContent& content, std::int64_t payloadByteCount) {
  RecordHeader& header = content.header;
  if (content.bookmarks.size() > RecordHeader::kMaximumBookmarkCount)
    content.bookmarks.resize(RecordHeader::kMaximumBookmarkCount);
  header.payloadByteCount = payloadByteCount;
  header.bookmarkCount = static_cast<std::uint32_t>(content.bookmarks.size());
  header.created = RecordTime::now();
  header.processID = static_cast<std::uint32_t>(::getpid());
  header.bootID = currentBootID();
  header.writerNumber = currentWriterNumber();
}

}  // namespace

HeldRecord::HeldRecord(std::shared_ptr<const RecordDirectory> directory, std::string fileName,
                       std::string id, FileDescriptor handle)
    : directory_(std::move(directory)),
      fileName_(std::move(fileName)),
      id_(std::move(id)),
      handle_(std::move(handle)) {}

FileLocation HeldRecord::location() const {
  return directory_->locationOf(fileName_);
}

void HeldRecord::remove() {
  directory_->remove(fileName_);
  directory_->synchronize();
}

std::unique_ptr<HeldRecord> RecordStore::write(RecordContent content,
                                               std::span<const std::uint8_t> payload,
                                               TaskProgress* progress) const {
  // The other thread has a start on the disk.
  PayloadDigest digest(payload);
  complete(content, std::ssize(payload));
  const bool isLent = content.payloadWasRead != nullptr;
  const auto make = [&](auto directory) {
    return writeInto(std::move(directory), content, payload, digest, progress);
  };
  const auto hasPayload = [&] { return !isLent || content.payloadWasRead; };
  return inSomeDirectory(directory_, content.header.path, make, hasPayload);
}

std::unique_ptr<HeldRecord> RecordStore::createJournal(RecordContent content) const {
  content.header.kind = RecordKind::journal;
  content.bookmarks.clear();
  complete(content, 0);
  const auto make = [&](auto directory) {
    return createJournalIn(std::move(directory), content.header);
  };
  return inSomeDirectory(directory_, content.header.path, make, [] { return true; });
}

}  // namespace quillmor
