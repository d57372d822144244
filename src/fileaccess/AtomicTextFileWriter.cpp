#include "fileaccess/AtomicTextFileWriter.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <utility>

#include "fileaccess/FileWriting.h"
#include "fileaccess/StaleTemporaries.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/URLReservations.h"

namespace quillmor {

using namespace SecureFileAccess;

namespace {

constexpr WriteMessages kWriteMessages = {
    .couldNotWrite = "Could not write the output data.",
    .stopped = "The output write stopped before all data was saved."};

constexpr mode_t kNewFileMode = 0666;
/// What remains of a replaced file's permissions until the new one is complete.
constexpr mode_t kOwnerOnly = 0600;

/// How a file system says that it cannot rename without replacing: the two documented answers,
/// EINVAL (FUSE, NFS, some ZFS) and ENOSYS (a kernel without the call).
constexpr std::array kExclusiveRenameUnsupported = {ENOTSUP, EOPNOTSUPP, EINVAL, ENOSYS};

bool meansExclusiveRenameUnsupported(int errorNumber) {
  for (const int unsupported : kExclusiveRenameUnsupported) {
    if (errorNumber == unsupported) return true;
  }
  return false;
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
                                               std::span<const FileLocation> protectedURLs) {
  auto reservation = reserveOutputURL(destination);
  validateDistinctOutputURL(destination, protectedURLs);
  validateOutputDestinationKind(destination);
  const auto snapshot = outputDestinationSnapshot(destination);
  std::optional<ReplacedFileAccess> access;
  if (snapshot) access = accessOfFile(destination);
  removeStaleTemporariesBeside(destination);
  return {.temporary = TemporaryOutput::create(
              destination, access ? access->permissions & kOwnerOnly : kNewFileMode),
          .reservation = std::move(reservation),
          .initialDestinationSnapshot = snapshot,
          .replacedFileAccess = std::move(access)};
}

AtomicTextFileWriter::AtomicTextFileWriter(FileLocation destinationURL,
                                           std::vector<FileLocation> protectedURLs)
    // Nothing is moved before the members are made, which is after the output is prepared.
    : AtomicTextFileWriter(std::move(destinationURL), std::move(protectedURLs),
                           prepareOutput(destinationURL, protectedURLs)) {}

AtomicTextFileWriter::AtomicTextFileWriter(FileLocation&& destinationURL,
                                           std::vector<FileLocation>&& protectedURLs,
                                           PreparedOutput&& prepared) noexcept
    : destinationURL_(std::move(destinationURL)),
      temporary_(std::move(prepared.temporary)),
      protectedURLs_(std::move(protectedURLs)),
      outputReservation_(std::move(prepared.reservation)),
      initialDestinationSnapshot_(prepared.initialDestinationSnapshot),
      replacedFileAccess_(std::move(prepared.replacedFileAccess)) {}

AtomicTextFileWriter::~AtomicTextFileWriter() {
  // The destination is reserved until nothing is left beside it.
  { const TemporaryOutput going(std::move(temporary_)); }
  outputReservation_->release();
}

void AtomicTextFileWriter::write(std::span<const std::uint8_t> data) {
  if (finished_ || closed_) throw Error::quillmor(1001, "The output writer is already closed.");
  try {
    writeAll(data, temporary_.handle(), kWriteMessages);
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
  validateDistinctOutputURL(destinationURL_, protectedURLs_);
  validateOutputDestinationKind(destinationURL_);
  if (!closed_) completeTemporaryFile();
  if (beforeInstalling) beforeInstalling();
  temporary_.validatePathOwnership();
  atomicallyInstallTemporaryFile();
  // From here on nothing is a failure any more, as the destination is no longer what it was.
  finished_ = true;
  synchronizeDirectoryIfPossible(destinationURL_);
  outputReservation_->release();
}

void AtomicTextFileWriter::completeTemporaryFile() {
  if (initialDestinationSnapshot_) {
    validateOutputDestinationSnapshot(destinationURL_, *initialDestinationSnapshot_);
    carryOverAccess(*replacedFileAccess_, temporary_.handle());
  }
  try {
    temporary_.handle().synchronize();
    closeIfNeeded();
  } catch (const Error& error) {
    // A second flush could report success for bytes that the first one has lost.
    finalFailure_ = error;
    throw;
  }
}

void AtomicTextFileWriter::closeIfNeeded() {
  if (std::exchange(closed_, true)) return;
  temporary_.close();
}

void AtomicTextFileWriter::atomicallyInstallTemporaryFile() {
  if (initialDestinationSnapshot_) {
    replaceDestinationWithTemporaryFile(*initialDestinationSnapshot_);
  } else {
    installTemporaryFileWithoutReplacing();
  }
  temporary_.release();
}

void AtomicTextFileWriter::installTemporaryFileWithoutReplacing() {
  temporary_.validatePathOwnership();
  const int result = retryingInterrupted([this] {
    return SystemCalls::current().renameat2(AT_FDCWD, temporary_.location().path().c_str(),
                                            AT_FDCWD, destinationURL_.path().c_str(),
                                            RENAME_NOREPLACE);
  });
  if (result == 0) return;
  if (!meansExclusiveRenameUnsupported(errno)) throw atomicInstallError();
  installTemporaryFileByHardLink();
}

void AtomicTextFileWriter::installTemporaryFileByHardLink() {
  const int result = retryingInterrupted([this] {
    return SystemCalls::current().link(temporary_.location().path().c_str(),
                                       destinationURL_.path().c_str());
  });
  if (result != 0) throw atomicInstallError();
  if (unlinkPath(temporary_.location()) == 0) return;
  // A failed output leaves its destination as it was, so the new link goes again.
  const Error error = atomicInstallError();
  removeIfItIs(temporary_.identity(), destinationURL_);
  throw error;
}

void AtomicTextFileWriter::replaceDestinationWithTemporaryFile(
    const OutputDestinationSnapshot& expected) {
  temporary_.validatePathOwnership();
  validateOutputDestinationSnapshot(destinationURL_, expected);
  const int result = retryingInterrupted([this] {
    return SystemCalls::current().rename(temporary_.location().path().c_str(),
                                         destinationURL_.path().c_str());
  });
  if (result != 0) throw atomicInstallError();
}

}  // namespace quillmor
