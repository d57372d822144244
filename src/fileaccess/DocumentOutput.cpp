#include "fileaccess/DocumentOutput.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include "fileaccess/FileWriting.h"
#include "fileaccess/SystemCalls.h"
#include "platform/RunInBackground.h"

namespace quillmor::SecureFileAccess {

namespace {

constexpr const char* kCouldNotOpen = "Could not open the document output file.";
constexpr WriteMessages kWriteMessages = {
    .couldNotWrite = "Could not write the document data.",
    .stopped = "The document write stopped before all data was saved."};

constexpr int kChangedDestinationCode = 1214;
constexpr mode_t kNewFileMode = 0666;
constexpr int kOpenFlags = O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;

/// What a write has made of the file so far.
enum class FileState { untouched, incomplete, complete };

void requireLocalFile(const FileLocation& location) {
  if (!location.isLocalFile())
    throw Error::quillmor(1205, "Document output must be a local file URL.");
}

StableFileStatus documentStatus(const FileDescriptor& handle) {
  return fileStatus(handle, "Could not validate the document output file.");
}

/// Opens what was found, or makes the file where nothing was; never the other way round.
FileDescriptor openDestination(const DocumentDestination& destination) {
  const bool isNew = !destination.found;
  const int descriptor =
      isNew ? openFile(destination.location, kOpenFlags | O_CREAT | O_EXCL, kNewFileMode)
            : openFile(destination.location, kOpenFlags);
  if (descriptor >= 0) return FileDescriptor(descriptor);
  if (errno == (isNew ? EEXIST : ENOENT)) throw changedDestinationError();
  throw lastSystemError(kCouldNotOpen);
}

void requireWhatWasFound(const StableFileStatus& opened, const DocumentDestination& destination) {
  if (!opened.isRegularFile())
    throw Error::quillmor(1210, "The document output destination must be a regular file.");
  if (destination.found && opened != *destination.found) throw changedDestinationError();
}

void makeEmpty(const FileDescriptor& handle, FileState& state) {
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().ftruncate(handle.get(), 0); });
  if (result != 0) throw lastSystemError("Could not prepare the document output file.");
  state = FileState::incomplete;
}

/// Writes all of the file that `handle` has just opened.
void rewrite(std::span<const std::uint8_t> bytes, const FileDescriptor& handle, FileState& state,
             TaskProgress* progress) {
  makeEmpty(handle, state);
  writeAll(bytes, handle, kWriteMessages, progress);
  handle.synchronize();
  state = FileState::complete;
}

/// A second descriptor of a file that was made for a write. While it lives, no other file can have
/// the number by which that file is known.
FileDescriptor pinned(const FileDescriptor& handle) {
  const int descriptor = retryingInterrupted(
      [&] { return SystemCalls::current().fcntl(handle.get(), F_DUPFD_CLOEXEC, 0); });
  if (descriptor < 0) throw lastSystemError(kCouldNotOpen);
  return FileDescriptor(descriptor);
}

/// Removes a file that was made for a write, unless its name leads to another file by now.
void removeNewFile(const FileLocation& location, const FileDescriptor& handle,
                   std::optional<FileIdentity> identity) {
  if (!identity) identity = fileStatus(handle).identity();
  const auto now = fileStatusIfExists(location, FollowSymlinks::no);
  if (now && now->identity() == *identity)
    retryingInterrupted([&] { return SystemCalls::current().unlink(location.path().c_str()); });
}

/// Puts the old bytes back, unless the name leads to another file by now.
void putBack(const DocumentDestination& destination, FileState& state) {
  const int descriptor = openFile(destination.location, kOpenFlags);
  if (descriptor < 0 && errno == ENOENT) return;
  if (descriptor < 0) throw lastSystemError(kCouldNotOpen);
  FileDescriptor handle(descriptor);
  if (documentStatus(handle).identity() != destination.found->identity()) return;
  rewrite(destination.oldBytes->span(), handle, state, nullptr);
  handle.close();
}

/// Undoes what a failed write has done. Returns what there is to say of the file when that fails.
std::string_view undo(const DocumentDestination& destination, const FileDescriptor& handle,
                      std::optional<FileIdentity> identity, FileState state) {
  if (!destination.found) {
    resultOf([&] { return removeNewFile(destination.location, handle, identity), Done(); });
    return {};
  }
  if (state == FileState::untouched || !destination.oldBytes) return {};
  FileState oldBytesState = FileState::untouched;
  const auto undone = resultOf([&] { return putBack(destination, oldBytesState), Done(); });
  if (undone.isOk() || oldBytesState == FileState::complete) return {};
  // What failed may have been no more than a look at a file that was complete.
  const bool holdsNewBytes = state == FileState::complete && oldBytesState == FileState::untouched;
  return holdsNewBytes ? " The file has the new bytes." : " The file is incomplete now.";
}

}  // namespace

Error changedDestinationError() {
  return Error::quillmor(kChangedDestinationCode,
                         "The file was changed or replaced by another program while the document "
                         "was being saved. Nothing was overwritten; choose the destination again.");
}

bool isChangedDestination(const Error& error) {
  return error.domain() == ErrorDomain::quillmor && error.code() == kChangedDestinationCode;
}

DocumentDestination documentDestination(const FileLocation& location) {
  requireLocalFile(location);
  try {
    return {location, fileStatusIfExists(location, FollowSymlinks::no)};
  } catch (const Error& error) {
    throw Error::posix(error.code(), kCouldNotOpen);
  }
}

void requireWritable(const DocumentDestination& destination, std::int64_t byteCount) {
  const std::string& path = destination.location.path();
  SystemCalls& calls = SystemCalls::current();
  if (destination.found &&
      retryingInterrupted([&] { return calls.access(path.c_str(), W_OK); }) != 0) {
    throw lastSystemError(kCouldNotOpen);
  }
  struct rlimit limit {};
  const bool isLimited =
      calls.getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
  if (isLimited && std::cmp_greater(byteCount, limit.rlim_cur))
    throw Error::posix(EFBIG, std::string(kWriteMessages.couldNotWrite));
}

StableFileStatus writeDocumentBytes(std::span<const std::uint8_t> bytes,
                                    const DocumentDestination& destination, TaskProgress* progress,
                                    bool* wasTouched) {
  if (wasTouched != nullptr) *wasTouched = false;
  requireLocalFile(destination.location);
  if (progress != nullptr) {
    progress->checkpoint();
    progress->setTotal(std::ssize(bytes));
  }
  FileDescriptor handle = openDestination(destination);
  // Held until the outcome is known.
  std::optional<FileDescriptor> pin;
  std::optional<FileIdentity> identity;
  FileState state = FileState::untouched;
  const auto write = [&] {
    const StableFileStatus opened = documentStatus(handle);
    identity = opened.identity();
    if (!destination.found) pin.emplace(pinned(handle));
    requireWhatWasFound(opened, destination);
    rewrite(bytes, handle, state, progress);
    const StableFileStatus status = documentStatus(handle);
    handle.close();
    if (!destination.found) synchronizeDirectory(destination.location.directory());
    return status;
  };
  const auto written = resultOf(write);
  if (wasTouched != nullptr) *wasTouched = !destination.found || state != FileState::untouched;
  if (written.isOk()) return written.value();
  const std::string_view consequence = undo(destination, handle, identity, state);
  const Error& error = written.error();
  if (consequence.empty()) throw error;
  throw error.withMessage(error.message() + std::string(consequence));
}

}  // namespace quillmor::SecureFileAccess
