#include "fileaccess/AtomicTextFileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>

#include "fileaccess/FileWriting.h"
#include "fileaccess/StableFileStatus.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/UrlReservations.h"
#include "fileaccess/Uuid.h"

namespace quillmor {

using namespace SecureFileAccess;

namespace {

constexpr WriteMessages kWriteMessages = {
    .couldNotWrite = "Could not write the output data.",
    .stopped = "The output write stopped before all data was saved."};

constexpr mode_t kNewFileMode = 0666;

/// How a file system says that it cannot rename without replacing: the two documented answers,
/// EINVAL (FUSE, NFS, some ZFS) and ENOSYS (a kernel without the call).
constexpr std::array kExclusiveRenameUnsupported = {ENOTSUP, EOPNOTSUPP, EINVAL, ENOSYS};

bool meansExclusiveRenameUnsupported(int errorNumber) {
  for (const int unsupported : kExclusiveRenameUnsupported) {
    if (errorNumber == unsupported) return true;
  }
  return false;
}

int unlinkPath(const FileLocation& location) {
  return retryingInterrupted(
      [&] { return SystemCalls::current().unlink(location.path().c_str()); });
}

/// Hidden, and beside the destination, so that the final move stays on one volume.
FileLocation makeTemporaryLocation(const FileLocation& destination) {
  std::string name = ".";
  name.append(destination.lastPathComponent()).append(".quillmor.");
  name.append(makeUuid()).append(".tmp");
  return destination.sibling(name);
}

FileDescriptor createExclusiveTemporaryFile(const FileLocation& location, mode_t creationMode) {
  const int descriptor =
      openFile(location, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, creationMode);
  if (descriptor < 0) throw lastSystemError("Could not create the temporary output file securely.");
  return FileDescriptor(descriptor);
}

OutputDestinationIdentity temporaryIdentity(const FileDescriptor& handle) {
  const StableFileStatus status =
      fileStatus(handle, "Could not validate the temporary output file.");
  if (!status.isRegularFile())
    throw Error::quillmor(1215, "The temporary output is not a regular file.");
  return status.identity();
}

/// Removes the path if it names this very file; a file of another identity is left alone, and
/// errors are ignored, as there is nobody left to tell.
void removeIfItIs(const OutputDestinationIdentity& identity,
                  const FileLocation& location) noexcept {
  try {
    const auto status = fileStatusIfExists(location, FollowSymlinks::no);
    if (status && status->identity() == identity) unlinkPath(location);
  } catch (const std::exception&) {
    return;
  }
}

/// Makes the new name durable. An installed file is whole with or without it.
void synchronizeDirectoryIfPossible(const FileLocation& installed) noexcept {
  try {
    synchronizeDirectory(installed.directory());
  } catch (const std::exception&) {
    return;
  }
}

Error atomicInstallError() {
  if (errno == EEXIST) {
    return Error::quillmor(
        1213,
        "Another file appeared at the output destination while the export was "
        "being prepared. Nothing was overwritten; choose the destination again.");
  }
  return lastSystemError(
      "Could not install the completed output file atomically without overwriting an unexpected "
      "file.");
}

}  // namespace

PreparedOutput SecureFileAccess::prepareOutput(const FileLocation& destination,
                                               std::span<const FileLocation> protectedUrls) {
  auto reservation = reserveOutputURL(destination);
  validateDistinctOutputURL(destination, protectedUrls);
  validateOutputDestinationKind(destination);
  const auto snapshot = outputDestinationSnapshot(destination);
  const FileLocation temporary = makeTemporaryLocation(destination);
  FileDescriptor handle =
      createExclusiveTemporaryFile(temporary, snapshot ? snapshot->permissionMode : kNewFileMode);
  try {
    const OutputDestinationIdentity identity = temporaryIdentity(handle);
    return {.temporaryUrl = temporary,
            .temporaryFileIdentity = identity,
            .handle = std::move(handle),
            .reservation = std::move(reservation),
            .initialDestinationSnapshot = snapshot};
  } catch (...) {
    // The file was created exclusively a moment ago under a name nobody else can have guessed.
    unlinkPath(temporary);
    throw;
  }
}

AtomicTextFileWriter::AtomicTextFileWriter(FileLocation destinationUrl,
                                           std::vector<FileLocation> protectedUrls)
    // Nothing is moved before the members are made, which is after the output is prepared.
    : AtomicTextFileWriter(std::move(destinationUrl), std::move(protectedUrls),
                           prepareOutput(destinationUrl, protectedUrls)) {}

AtomicTextFileWriter::AtomicTextFileWriter(FileLocation&& destinationUrl,
                                           std::vector<FileLocation>&& protectedUrls,
                                           PreparedOutput&& prepared) noexcept
    : destinationUrl_(std::move(destinationUrl)),
      temporaryUrl_(std::move(prepared.temporaryUrl)),
      temporaryFileIdentity_(prepared.temporaryFileIdentity),
      handle_(std::move(prepared.handle)),
      protectedUrls_(std::move(protectedUrls)),
      outputReservation_(std::move(prepared.reservation)),
      initialDestinationSnapshot_(prepared.initialDestinationSnapshot) {}

AtomicTextFileWriter::~AtomicTextFileWriter() {
  // The descriptor goes first: the temporary file's blocks are free as soon as its name is.
  { const FileDescriptor closing(std::move(handle_)); }
  removeTemporaryPathIfStillOwned();
  outputReservation_->release();
}

void AtomicTextFileWriter::write(std::span<const std::uint8_t> data) {
  if (finished_ || closed_) throw Error::quillmor(1001, "The output writer is already closed.");
  try {
    writeAll(data, handle_, kWriteMessages);
  } catch (const Error& error) {
    if (!finalFailure_) finalFailure_ = error;
    throw;
  }
}

void AtomicTextFileWriter::write(std::string_view text) {
  write(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

void AtomicTextFileWriter::finish(const std::function<void()>& beforeInstalling) {
  if (finished_) return;
  if (finalFailure_) throw *finalFailure_;
  validateDistinctOutputURL(destinationUrl_, protectedUrls_);
  validateOutputDestinationKind(destinationUrl_);
  if (!closed_) completeTemporaryFile();
  if (beforeInstalling) beforeInstalling();
  validateTemporaryPathOwnership();
  atomicallyInstallTemporaryFile();
  // From here on nothing is a failure any more, as the destination is no longer what it was.
  finished_ = true;
  synchronizeDirectoryIfPossible(destinationUrl_);
  outputReservation_->release();
}

void AtomicTextFileWriter::completeTemporaryFile() {
  if (initialDestinationSnapshot_) {
    validateOutputDestinationSnapshot(destinationUrl_, *initialDestinationSnapshot_);
    const int result = retryingInterrupted([this] {
      return SystemCalls::current().fchmod(handle_.get(),
                                           initialDestinationSnapshot_->permissionMode);
    });
    if (result != 0)
      throw lastSystemError("Could not preserve the existing output file permissions.");
  }
  try {
    handle_.synchronize();
    closeIfNeeded();
  } catch (const Error& error) {
    // A second flush could report success for bytes that the first one has lost.
    finalFailure_ = error;
    throw;
  }
}

void AtomicTextFileWriter::closeIfNeeded() {
  if (std::exchange(closed_, true)) return;
  handle_.close();
}

void AtomicTextFileWriter::validateTemporaryPathOwnership() const {
  if (!temporaryPathNeedsCleanup_) return;
  const auto status = fileStatusIfExists(temporaryUrl_, FollowSymlinks::no);
  if (!status || status->identity() != temporaryFileIdentity_)
    throw Error::quillmor(1215,
                          "The temporary output file was replaced or moved by another process "
                          "before the export completed. Nothing was installed.");
}

void AtomicTextFileWriter::atomicallyInstallTemporaryFile() {
  if (initialDestinationSnapshot_) {
    replaceDestinationWithTemporaryFile(*initialDestinationSnapshot_);
  } else {
    installTemporaryFileWithoutReplacing();
  }
  temporaryPathNeedsCleanup_ = false;
}

void AtomicTextFileWriter::installTemporaryFileWithoutReplacing() {
  validateTemporaryPathOwnership();
  const int result = retryingInterrupted([this] {
    return SystemCalls::current().renameat2(AT_FDCWD, temporaryUrl_.path().c_str(), AT_FDCWD,
                                            destinationUrl_.path().c_str(), RENAME_NOREPLACE);
  });
  if (result == 0) return;
  if (!meansExclusiveRenameUnsupported(errno)) throw atomicInstallError();
  installTemporaryFileByHardLink();
}

void AtomicTextFileWriter::installTemporaryFileByHardLink() {
  const int result = retryingInterrupted([this] {
    return SystemCalls::current().link(temporaryUrl_.path().c_str(),
                                       destinationUrl_.path().c_str());
  });
  if (result != 0) throw atomicInstallError();
  if (unlinkPath(temporaryUrl_) == 0) return;
  // A failed output leaves its destination as it was, so the new link goes again.
  const Error error = atomicInstallError();
  removeIfItIs(temporaryFileIdentity_, destinationUrl_);
  throw error;
}

void AtomicTextFileWriter::replaceDestinationWithTemporaryFile(
    const OutputDestinationSnapshot& expected) {
  validateTemporaryPathOwnership();
  validateOutputDestinationSnapshot(destinationUrl_, expected);
  const int result = retryingInterrupted([this] {
    return SystemCalls::current().rename(temporaryUrl_.path().c_str(),
                                         destinationUrl_.path().c_str());
  });
  if (result != 0) throw atomicInstallError();
}

void AtomicTextFileWriter::removeTemporaryPathIfStillOwned() noexcept {
  if (temporaryPathNeedsCleanup_) removeIfItIs(temporaryFileIdentity_, temporaryUrl_);
}

}  // namespace quillmor
