#include "fileaccess/ReplacedFileAccess.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <string_view>

#include "base/ByteUnits.h"
#include "base/Error.h"
#include "fileaccess/SystemCalls.h"

namespace quillmor::SecureFileAccess {

namespace {

constexpr std::string_view kCouldNotPreserve =
    "Could not preserve the existing output file permissions.";

constexpr const char* kListAttribute = "system.posix_acl_access";
/// The system has no longer values.
constexpr std::size_t kMaximumListByteCount = 64 * kKiB;

constexpr mode_t kPermissionBits = 0777;
constexpr auto kUnchangedOwner = static_cast<uid_t>(-1);
constexpr auto kUnchangedGroup = static_cast<gid_t>(-1);

/// The permission bits of one class of users: read, write, execute.
constexpr unsigned kAllBits = 07;
constexpr mode_t kGroupShift = 3;

mode_t permissionsOf(mode_t ownerBits, unsigned groupBits, unsigned otherBits) {
  return (ownerBits & 0700U) | groupBits << kGroupShift | otherBits;
}

unsigned groupBitsOf(mode_t permissions) {
  return permissions >> kGroupShift & kAllBits;
}

unsigned otherBitsOf(mode_t permissions) {
  return permissions & kAllBits;
}

/// True if the call has failed because there is no list, or there cannot be one on this file system
/// or under this kernel.
bool meansThereIsNoList(int errorNumber) {
  return errorNumber == ENODATA || errorNumber == EOPNOTSUPP || errorNumber == ENOSYS;
}

std::vector<std::uint8_t> listOfFile(const FileLocation& location) {
  std::vector<std::uint8_t> list(kMaximumListByteCount);
  const ssize_t size = retryingInterrupted([&] {
    return SystemCalls::current().lgetxattr(location.path().c_str(), kListAttribute, list.data(),
                                            list.size());
  });
  if (size < 0 && !meansThereIsNoList(errno)) throw lastSystemError(kCouldNotPreserve);
  list.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
  return list;
}

unsigned numberAt(const std::vector<std::uint8_t>& list, std::size_t offset) {
  return list[offset] | static_cast<unsigned>(list[offset + 1]) << 8U;
}

/// The kinds of entries of a list that its mask limits.
enum EntryTag : unsigned { kUserEntry = 0x02, kOwningGroupEntry = 0x04, kGroupEntry = 0x08 };

/// What every entry of a kind allows under the mask; everything when there is no such entry.
unsigned commonBits(const ReplacedFileAccess& access, EntryTag tag) {
  // After a version of four bytes come entries: tag and permissions of two bytes each and an id of
  // four, all little-endian.
  constexpr std::size_t kVersionSize = 4;
  constexpr std::size_t kEntrySize = 8;
  unsigned bits = kAllBits;
  const auto& list = access.list;
  for (std::size_t i = kVersionSize; i + kEntrySize <= list.size(); i += kEntrySize) {
    if (numberAt(list, i) == tag) bits &= numberAt(list, i + 2) & groupBitsOf(access.permissions);
  }
  return bits;
}

/// The permissions of a file without the list: the users and groups that it named become others, or
/// members of the owning group.
mode_t permissionsWithoutList(const ReplacedFileAccess& access) {
  const unsigned ofUsers = commonBits(access, kUserEntry);
  return permissionsOf(
      access.permissions,
      groupBitsOf(access.permissions) & commonBits(access, kOwningGroupEntry) & ofUsers,
      otherBitsOf(access.permissions) & ofUsers & commonBits(access, kGroupEntry));
}

/// The permissions of a file in another group: the old one's members become others, and some of the
/// others members.
mode_t permissionsWithoutGroup(mode_t permissions) {
  const unsigned common = groupBitsOf(permissions) & otherBitsOf(permissions);
  return permissionsOf(permissions, common, common);
}

gid_t groupOf(const FileDescriptor& handle) {
  struct stat status {};
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().fstat(handle.get(), &status); });
  if (result != 0) throw lastSystemError(kCouldNotPreserve);
  return status.st_gid;
}

bool changeOwner(const FileDescriptor& handle, uid_t owner, gid_t group) {
  return retryingInterrupted(
             [&] { return SystemCalls::current().fchown(handle.get(), owner, group); }) == 0;
}

/// Some file systems take a group and forget it, so the answer is what the file has in the end.
bool giveGroup(const FileDescriptor& handle, gid_t group) {
  if (groupOf(handle) == group) return true;
  return changeOwner(handle, kUnchangedOwner, group) && groupOf(handle) == group;
}

bool giveList(const FileDescriptor& handle, const std::vector<std::uint8_t>& list) {
  return retryingInterrupted([&] {
           return SystemCalls::current().fsetxattr(handle.get(), kListAttribute, list.data(),
                                                   list.size(), 0);
         }) == 0;
}

/// Takes away the list that the directory gives to its new files.
void removeList(const FileDescriptor& handle) {
  const int result = retryingInterrupted(
      [&] { return SystemCalls::current().fremovexattr(handle.get(), kListAttribute); });
  if (result != 0 && !meansThereIsNoList(errno)) throw lastSystemError(kCouldNotPreserve);
}

void givePermissions(const FileDescriptor& handle, mode_t permissions) {
  const int result =
      retryingInterrupted([&] { return SystemCalls::current().fchmod(handle.get(), permissions); });
  if (result != 0) throw lastSystemError(kCouldNotPreserve);
}

}  // namespace

ReplacedFileAccess accessOfFile(const FileLocation& location) {
  struct stat status {};
  const int result = retryingInterrupted([&] {
    return SystemCalls::current().fstatat(AT_FDCWD, location.path().c_str(), &status,
                                          AT_SYMLINK_NOFOLLOW);
  });
  if (result != 0) throw lastSystemError(kCouldNotPreserve);
  return {.owner = status.st_uid,
          .group = status.st_gid,
          .permissions = status.st_mode & kPermissionBits,
          .list = listOfFile(location)};
}

void carryOverAccess(const ReplacedFileAccess& access, const FileDescriptor& handle) {
  // The group comes before all that gives it rights, and the list before the permissions, which it
  // would change.
  const bool keepsGroup = giveGroup(handle, access.group);
  const bool keepsList = keepsGroup && !access.list.empty() && giveList(handle, access.list);
  mode_t permissions = access.permissions;
  if (!keepsList) {
    removeList(handle);
    if (!access.list.empty()) permissions = permissionsWithoutList(access);
  }
  if (!keepsGroup) permissions = permissionsWithoutGroup(permissions);
  givePermissions(handle, permissions);
  // The owner comes last: afterwards the process may not be allowed to do the rest. Where it must
  // not give a file away, the file is its own.
  changeOwner(handle, access.owner, kUnchangedGroup);
}

}  // namespace quillmor::SecureFileAccess
