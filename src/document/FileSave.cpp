#include "document/FileSave.h"

#include <cerrno>
#include <ctime>
#include <utility>

#include "document/QuillmorResourceLimits.h"
#include "document/ReadBack.h"
#include "fileaccess/OutputDestination.h"
#include "fileaccess/ResolvedPaths.h"
#include "fileaccess/StableReading.h"
#include "fileaccess/URLReservations.h"
#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

/// A file that may be written but not read, or that has more bytes than a document can have: it can
/// be overwritten as ever, but there is nothing to put back.
bool hasNoBytesToKeep(const Error& error) {
  const bool isForbidden = error.domain() == ErrorDomain::posix && error.code() == EACCES;
  return isForbidden || SecureFileAccess::isExceededLimit(error);
}

/// The bytes of a file that is to be overwritten, as far as they can be kept.
std::optional<ByteBuffer> bytesToKeep(const DocumentDestination& destination,
                                      TaskProgress* progress) {
  const auto read = resultOf([&] {
    return SecureFileAccess::stableBytes(
        destination.location, QuillmorResourceLimits::maximumDocumentByteCount(), progress);
  });
  if (progress != nullptr) progress->restart();
  if (read.isOk() && read.value().status == *destination.found) return read.value().bytes;
  if (read.isOk()) throw SecureFileAccess::changedDestinationError();
  if (hasNoBytesToKeep(read.error())) return std::nullopt;
  throw read.error();
}

}  // namespace

FileSave::FileSave(Request request)
    : request_(std::move(request)), destination_{request_.destination} {}

FileSave::~FileSave() {
  removeSafetyCopy();
}

void FileSave::prepare(std::int64_t byteCount, std::span<const FileLocation> openDocuments,
                       TaskProgress* progress) {
  const FileLocation& destination = request_.destination;
  if (!reservation_) reservation_ = SecureFileAccess::reserveOutputURL(destination);
  destination_ = SecureFileAccess::documentDestination(destination);
  SecureFileAccess::requireWritable(destination_, byteCount);
  isChanged_ = request_.known && request_.known->hasChanged(destination_, progress);
  SecureFileAccess::validateDistinctOutputURL(destination, openDocuments);
  isOwnFile_ =
      request_.ownFile && (request_.operation == DocumentSaveOperation::save ||
                           SecureFileAccess::urlsReferToSameFile(*request_.ownFile, destination));
}

void FileSave::acceptChanges() {
  destination_ = SecureFileAccess::documentDestination(request_.destination);
}

void FileSave::secure(const ByteBuffer& bytes, const EditorPlaces& places, TaskProgress* progress) {
  lacksSafetyCopy_ = false;
  if (request_.safetyCopies == nullptr) return;
  removeSafetyCopy();
  auto kept = resultOf([&] {
    return request_.safetyCopies->keep(SecureFileAccess::realLocation(request_.destination),
                                       destination_.found, bytes.span(), places, progress);
  });
  if (progress != nullptr) progress->restart();
  if (!kept.isOk()) {
    lacksSafetyCopy_ = hasNoPlaceForSafetyCopy(kept.error());
    throw kept.error();
  }
  safetyCopy_ = std::move(kept.value());
  receipt_.sha256 = safetyCopy_->sha256();
  const FileLocation copy = safetyCopy_->location();
  note("The new bytes were kept and flushed (" + std::to_string(safetyCopy_->byteCount()) +
       " bytes).\nFolder: " + copy.directory().shownPath() + "\nName: " + copy.shownName());
}

FileSave::Written FileSave::write(const ByteBuffer& bytes, TaskProgress* progress,
                                  const std::function<void()>& isOnDisk) {
  // Found and taken before the write, because nothing may fail after it.
  FileLocation realLocation = SecureFileAccess::realLocation(request_.destination);
  const ContentDigest digest = contentDigest(bytes.span());
  const bool hasCopy = safetyCopy_ != nullptr;
  if (!hasCopy) note("No copy of the new bytes was kept.");
  // Also taken before: a save that has happened must not fail for want of memory.
  const bool isNew = !destination_.found;
  receipt_.steps.reserve(receipt_.steps.size() + 2);
  std::string writing = isNew ? "The file was made, written and flushed, and its folder too."
                              : "The file was compared with what was known of it, "
                                "rewritten in place and flushed.";
  std::string removal = "The kept bytes were removed.";
  std::string failedRemoval = "The kept bytes could not be removed; the next start does it.";
  receipt_.status = writeBytes(bytes, progress, isOnDisk);
  receipt_.byteCount = bytes.size();
  receipt_.time = std::time(nullptr);
  note(std::move(writing));
  if (hasCopy) note(std::move(copyIsGone_ ? removal : failedRemoval));
  return {.file = {.status = receipt_.status, .digest = digest},
          .realLocation = std::move(realLocation),
          .receipt = std::move(receipt_)};
}

StableFileStatus FileSave::writeBytes(const ByteBuffer& bytes, TaskProgress* progress,
                                      const std::function<void()>& isOnDisk) {
  auto effect = SecureFileAccess::FileEffect::untouched;
  tornOwnFile_.reset();
  const auto written = resultOf([&] {
    const bool isFile = destination_.found && destination_.found->isRegularFile();
    if (isOwnFile_) destination_.oldBytes = request_.ownBytes;
    if (!isOwnFile_ && isFile) destination_.oldBytes = bytesToKeep(destination_, progress);
    const StableFileStatus status =
        SecureFileAccess::writeDocumentBytes(bytes.span(), destination_, progress, &effect);
    if (request_.verifies) requireOnDisk();
    return status;
  });
  destination_.oldBytes.reset();
  const bool isAsBefore = effect == SecureFileAccess::FileEffect::untouched ||
                          effect == SecureFileAccess::FileEffect::undone;
  if (!written.isOk() && !isAsBefore) neededCopy_ = std::move(safetyCopy_);
  if (written.isOk() && isOnDisk) isOnDisk();
  copyIsGone_ = removeSafetyCopy();
  if (written.isOk()) return written.value();
  if (effect != SecureFileAccess::FileEffect::untouched && isOwnFile_) noteTornFile();
  throw written.error();
}

void FileSave::requireOnDisk() const {
  if (safetyCopy_ && readBackReserved(request_.destination).sha256 != safetyCopy_->sha256())
    throw Error::quillmor(2007, "The bytes read back from the disk are not those that were saved.");
}

/// A copy that cannot be removed does no harm: it goes when it is found to be what the file has.
bool FileSave::removeSafetyCopy() noexcept {
  const auto copy = std::move(safetyCopy_);
  return !copy || resultOf([&] { return copy->remove(), Done(); }).isOk();
}

void FileSave::noteTornFile() {
  const auto now =
      resultOf([&] { return SecureFileAccess::documentDestination(request_.destination).found; });
  if (!now.isOk() || !now.value() || !destination_.found) return;
  const bool isSameFile = now.value()->identity() == destination_.found->identity();
  if (isSameFile && now.value() != destination_.found) tornOwnFile_ = KnownFile{*now.value()};
}

void FileSave::release() {
  if (reservation_) reservation_->release();
}

}  // namespace quillmor
