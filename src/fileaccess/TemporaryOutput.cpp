#include "fileaccess/TemporaryOutput.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <climits>
#include <exception>
#include <utility>

#include "base/Error.h"
#include "base/Unicode.h"
#include "fileaccess/StableFileStatus.h"
#include "fileaccess/SystemCalls.h"
#include "fileaccess/UUID.h"

namespace quillmor {

using namespace SecureFileAccess;

namespace {

constexpr std::string_view kCouldNotCreate = "Could not create the temporary output file securely.";

constexpr std::string_view kNameStart = ".";
constexpr std::string_view kBeforeUUID = ".quillmor.";
constexpr std::string_view kNameEnd = ".tmp";
constexpr std::size_t kAddedLength =
    kNameStart.size() + kBeforeUUID.size() + kUUIDLength + kNameEnd.size();

/// The start of a destination's name that has room in the name of its temporary file, without a
/// part of a character.
std::string_view nameThatFits(std::string_view name) {
  constexpr std::size_t kRoom = NAME_MAX - kAddedLength;
  if (name.size() <= kRoom) return name;
  constexpr std::size_t kMostBytesCutOff = 3;
  for (std::size_t start = kRoom - kMostBytesCutOff; start < kRoom; ++start) {
    const auto character = Unicode::decodeFirst(name.substr(start));
    if (character.isValid && start + character.length > kRoom) return name.substr(0, start);
  }
  return name.substr(0, kRoom);
}

/// Hidden, and beside the destination, so that the final move stays on one volume.
FileLocation makeTemporaryLocation(const FileLocation& destination) {
  std::string name(kNameStart);
  name.append(nameThatFits(destination.lastPathComponent())).append(kBeforeUUID);
  name.append(makeUUID()).append(kNameEnd);
  return destination.sibling(name);
}

FileDescriptor createExclusiveTemporaryFile(const FileLocation& location, mode_t creationMode) {
  const int descriptor =
      openFile(location, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, creationMode);
  if (descriptor < 0) throw lastSystemError(kCouldNotCreate);
  return FileDescriptor(descriptor);
}

/// A file system without locks is none the worse for it: its stale files are not removed.
void lockIfPossible(const FileDescriptor& handle) {
  retryingInterrupted(
      [&] { return SystemCalls::current().flock(handle.get(), LOCK_EX | LOCK_NB); });
}

FileIdentity temporaryIdentity(const FileDescriptor& handle) {
  const StableFileStatus status =
      fileStatus(handle, "Could not validate the temporary output file.");
  if (!status.isRegularFile())
    throw Error::quillmor(1215, "The temporary output is not a regular file.");
  return status.identity();
}

FileDescriptor secondDescriptor(const FileDescriptor& handle) {
  const int descriptor = retryingInterrupted(
      [&] { return SystemCalls::current().fcntl(handle.get(), F_DUPFD_CLOEXEC, 0); });
  if (descriptor < 0) throw lastSystemError(kCouldNotCreate);
  return FileDescriptor(descriptor);
}

}  // namespace

TemporaryOutput TemporaryOutput::create(const FileLocation& destination, mode_t creationMode) {
  FileLocation location = makeTemporaryLocation(destination);
  FileDescriptor handle = createExclusiveTemporaryFile(location, creationMode);
  try {
    lockIfPossible(handle);
    const FileIdentity identity = temporaryIdentity(handle);
    FileDescriptor pin = secondDescriptor(handle);
    return {std::move(location), identity, std::move(handle), std::move(pin)};
  } catch (...) {
    // The file was created exclusively a moment ago under a name nobody else can have guessed.
    unlinkPath(location);
    throw;
  }
}

TemporaryOutput::TemporaryOutput(FileLocation&& location, const FileIdentity& identity,
                                 FileDescriptor&& handle, FileDescriptor&& pin) noexcept
    : location_(std::move(location)),
      identity_(identity),
      handle_(std::move(handle)),
      pin_(std::move(pin)) {}

TemporaryOutput::TemporaryOutput(TemporaryOutput&& other) noexcept
    : location_(std::move(other.location_)),
      identity_(other.identity_),
      handle_(std::move(other.handle_)),
      pin_(std::move(other.pin_)),
      pathNeedsCleanup_(std::exchange(other.pathNeedsCleanup_, false)) {}

TemporaryOutput::~TemporaryOutput() {
  // The descriptors go last: without them another file could have the identity.
  if (pathNeedsCleanup_) removeIfItIs(identity_, location_);
}

void TemporaryOutput::validatePathOwnership() const {
  if (!pathNeedsCleanup_) return;
  const auto status = fileStatusIfExists(location_, FollowSymlinks::no);
  if (!status || status->identity() != identity_)
    throw Error::quillmor(1215,
                          "The temporary output file was replaced or moved by another process "
                          "before the export completed. Nothing was installed.");
}

void TemporaryOutput::release() noexcept {
  pathNeedsCleanup_ = false;
  const FileDescriptor closing(std::move(pin_));
}

bool SecureFileAccess::isTemporaryOutputName(std::string_view name) {
  if (name.size() <= kAddedLength || !name.starts_with(kNameStart) || !name.ends_with(kNameEnd))
    return false;
  name.remove_suffix(kNameEnd.size());
  if (!isUUID(name.substr(name.size() - kUUIDLength))) return false;
  name.remove_suffix(kUUIDLength);
  return name.ends_with(kBeforeUUID);
}

int SecureFileAccess::unlinkPath(const FileLocation& location) {
  return retryingInterrupted(
      [&] { return SystemCalls::current().unlink(location.path().c_str()); });
}

void SecureFileAccess::removeIfItIs(const FileIdentity& identity,
                                    const FileLocation& location) noexcept {
  try {
    const auto status = fileStatusIfExists(location, FollowSymlinks::no);
    if (status && status->identity() == identity) unlinkPath(location);
  } catch (const std::exception&) {
    return;
  }
}

}  // namespace quillmor
