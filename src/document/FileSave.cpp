#include "document/FileSave.h"

#include <cerrno>
#include <utility>

#include "document/QuillmorResourceLimits.h"
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

FileSave::Written FileSave::write(const WriteBytes& writeBytes, TaskProgress* progress) {
  bool wasTouched = false;
  tornOwnFile_.reset();
  auto written = resultOf([&] {
    // Found before the write, because nothing may fail after it.
    FileLocation realLocation = SecureFileAccess::realLocation(request_.destination);
    const bool isFile = destination_.found && destination_.found->isRegularFile();
    if (isOwnFile_) destination_.oldBytes = request_.ownBytes;
    if (!isOwnFile_ && isFile) destination_.oldBytes = bytesToKeep(destination_, progress);
    return Written{writeBytes(destination_, &wasTouched), std::move(realLocation)};
  });
  destination_.oldBytes.reset();
  if (written.isOk()) return std::move(written.value());
  if (wasTouched && isOwnFile_) noteTornFile();
  throw written.error();
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

KnownFile writeDocument(const ByteBuffer& bytes, const DocumentDestination& destination,
                        TaskProgress* progress, bool* wasTouched) {
  const StableFileStatus status =
      SecureFileAccess::writeDocumentBytes(bytes.span(), destination, progress, wasTouched);
  return KnownFile::of(status, bytes.span());
}

}  // namespace quillmor
