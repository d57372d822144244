#include "fileaccess/DocumentOutput.h"

#include <fcntl.h>

#include <string_view>

#include "base/Error.h"
#include "fileaccess/FileWriting.h"
#include "fileaccess/SystemCalls.h"

namespace quillmor::SecureFileAccess {

namespace {

constexpr WriteMessages kWriteMessages = {
    .couldNotWrite = "Could not write the document data.",
    .stopped = "The document write stopped before all data was saved."};

constexpr mode_t kNewFileMode = 0666;

StableFileStatus documentStatus(const FileDescriptor& handle) {
  return fileStatus(handle, "Could not validate the document output file.");
}

/// Whether writing will create the file. Only the flush of the directory depends on it, so a status
/// that cannot be read is left to the open that follows.
bool nothingExistsAt(const FileLocation& location) {
  try {
    return !fileStatusIfExists(location, FollowSymlinks::no);
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

FileDescriptor openDocumentOutputFile(const FileLocation& location) {
  const int descriptor =
      openFile(location, O_WRONLY | O_NONBLOCK | O_CREAT | O_NOFOLLOW | O_CLOEXEC, kNewFileMode);
  if (descriptor < 0) throw lastSystemError("Could not open the document output file.");
  FileDescriptor handle(descriptor);
  if (!documentStatus(handle).isRegularFile())
    throw Error::quillmor(1210, "The document output destination must be a regular file.");
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().ftruncate(handle.get(), 0); });
  if (result != 0) throw lastSystemError("Could not prepare the document output file.");
  return handle;
}

StableFileStatus writeDocumentBytes(std::span<const std::uint8_t> bytes,
                                    const FileLocation& location, TaskProgress* progress) {
  if (!location.isLocalFile())
    throw Error::quillmor(1205, "Document output must be a local file URL.");
  if (progress != nullptr) {
    progress->checkpoint();
    progress->setTotal(static_cast<std::int64_t>(bytes.size()));
  }
  const bool isNew = nothingExistsAt(location);
  FileDescriptor handle = openDocumentOutputFile(location);
  writeAll(bytes, handle, kWriteMessages, progress);
  handle.synchronize();
  const StableFileStatus status = documentStatus(handle);
  handle.close();
  if (isNew) synchronizeDirectory(location.directory());
  return status;
}

}  // namespace quillmor::SecureFileAccess
