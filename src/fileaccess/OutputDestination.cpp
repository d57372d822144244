#include "fileaccess/OutputDestination.h"

#include <cerrno>
#include <string>

#include "base/Error.h"
#include "fileaccess/FileErrors.h"
#include "fileaccess/ResolvedPaths.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor::SecureFileAccess {

namespace {

constexpr std::uint32_t kPermissionBits = 0777;

Error wouldOverwriteInputError(const FileLocation& destination) {
  return Error::quillmor(1206, "Choose a different output destination. Writing to " +
                                   destination.shownName() +
                                   " would overwrite an open document or another input file.");
}

bool isAvailableDirectory(const FileLocation& directory) {
  try {
    return fileStatus(directory, FollowSymlinks::yes).isDirectory();
  } catch (const Error&) {
    return false;
  }
}

/// The status, links not followed; absent also below a name that is no directory, of which the
/// check of the directory tells.
std::optional<StableFileStatus> destinationStatus(const FileLocation& destination) {
  try {
    return fileStatusIfExists(destination, FollowSymlinks::no);
  } catch (const Error& error) {
    if (error.domain() == ErrorDomain::posix && error.code() == ENOTDIR) return std::nullopt;
    throw;
  }
}

}  // namespace

void validateDistinctOutputURL(const FileLocation& destination,
                               std::span<const FileLocation> protectedURLs) {
  if (!destination.isLocalFile()) throw outputIsNotALocalFileError();
  const std::string canonicalPath = resolvedPath(destination);
  const std::optional<FileIdentity> identity = identityIfKnown(destination);
  for (const FileLocation& candidate : protectedURLs) {
    if (!candidate.isLocalFile()) continue;
    if (resolvedPath(candidate) == canonicalPath ||
        (identity && identityIfKnown(candidate) == identity))
      throw wouldOverwriteInputError(destination);
  }
}

void validateOutputDestinationKind(const FileLocation& destination) {
  if (!destination.isLocalFile()) throw outputIsNotALocalFileError();
  const auto status = destinationStatus(destination);
  if (status && status->isSymbolicLink())
    throw Error::quillmor(1212,
                          "The output destination cannot be a symbolic link. Choose the real file "
                          "or a different destination.");
  if (status && !status->isRegularFile())
    throw Error::quillmor(1210, "The output destination must be a regular file.");
  if (!isAvailableDirectory(destination.directory()))
    throw Error::quillmor(1211, "The output destination directory is not available.");
}

std::optional<OutputDestinationSnapshot> outputDestinationSnapshot(
    const FileLocation& destination) {
  const auto status = fileStatusIfExists(destination, FollowSymlinks::no);
  if (!status) return std::nullopt;
  return OutputDestinationSnapshot{
      .identity = status->identity(),
      .permissionMode = static_cast<std::uint16_t>(status->mode & kPermissionBits),
      .statusMode = status->mode,
      .size = status->size,
      .modificationSeconds = status->modificationSeconds,
      .modificationNanoseconds = status->modificationNanoseconds,
      .changeSeconds = status->changeSeconds,
      .changeNanoseconds = status->changeNanoseconds};
}

void validateOutputDestinationSnapshot(const FileLocation& destination,
                                       const OutputDestinationSnapshot& expected) {
  if (outputDestinationSnapshot(destination) != expected)
    throw Error::quillmor(1214,
                          "The output file changed or was replaced by another process while the "
                          "export was running. Nothing was overwritten; choose the destination "
                          "again.");
}

}  // namespace quillmor::SecureFileAccess
