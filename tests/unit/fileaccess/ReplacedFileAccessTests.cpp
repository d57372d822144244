// Who may do what with an exported file that replaces another, and with its temporary file.

#include "fileaccess/ReplacedFileAccess.h"

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>

#include "support/AtomicTextFileWriterFixture.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using test::AtomicTextFileWriterTest;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::SystemCall;

constexpr unsigned kNobody = 65534;
constexpr unsigned kForeignUser = 4711;
constexpr unsigned kForeignGroup = 4712;

constexpr const char* kAccessList = "system.posix_acl_access";
constexpr const char* kDefaultList = "system.posix_acl_default";
constexpr unsigned kOwner = 0x01;
constexpr unsigned kUser = 0x02;
constexpr unsigned kOwningGroup = 0x04;
constexpr unsigned kGroup = 0x08;
constexpr unsigned kMask = 0x10;
constexpr unsigned kOther = 0x20;

struct Entry {
  unsigned tag;
  unsigned bits;
  unsigned id = 0xFFFFFFFF;
};

std::string listOf(const std::vector<Entry>& entries) {
  std::string list;
  const auto append = [&](unsigned number, int size) {
    for (int i = 0; i < size; ++i) list.push_back(static_cast<char>(number >> (8 * i)));
  };
  append(2, 4);
  for (const Entry& entry : entries) {
    append(entry.tag, 2);
    append(entry.bits, 2);
    append(entry.id, 4);
  }
  return list;
}

class ReplacedFileAccessTest : public AtomicTextFileWriterTest {
 protected:
  void permit(unsigned mode) const { fs::permissions(existing.path(), fs::perms(mode)); }

  static unsigned permissionsAt(const fs::path& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
  }
  unsigned permissions() const { return permissionsAt(existing.path()); }

  struct stat status() const {
    struct stat found {};
    EXPECT_EQ(::stat(existing.path().c_str(), &found), 0);
    return found;
  }

  /// The access control list of a file; empty when it has none.
  static std::string listAt(const fs::path& path) {
    std::string value(65536, '\0');
    const ssize_t size = ::lgetxattr(path.c_str(), kAccessList, value.data(), value.size());
    value.resize(size < 0 ? 0 : static_cast<std::size_t>(size));
    return value;
  }
  std::string list() const { return listAt(existing.path()); }

  /// False where the file system has no access control lists.
  static bool setList(const fs::path& path, const char* attribute,
                      const std::vector<Entry>& wanted) {
    const std::string value = listOf(wanted);
    return ::setxattr(path.c_str(), attribute, value.data(), value.size(), 0) == 0;
  }
  bool setList(const std::vector<Entry>& wanted) const {
    return setList(existing.path(), kAccessList, wanted);
  }

  /// Exports over the file; before every call that follows the creation of the temporary file, that
  /// one gives group and others nothing beyond `mostBits`, and named users and groups nothing.
  void exportNeverWiderThan(unsigned mostBits) {
    const auto look = [this, mostBits] {
      const std::string name = temporaryName();
      if (name.empty()) return;
      EXPECT_EQ(permissionsAt(folder.path() / name) & ~mostBits, 0U);
      const bool hasList = !listAt(folder.path() / name).empty();
      EXPECT_FALSE(hasList && (permissionsAt(folder.path() / name) & 0070U) != 0);
    };
    for (const auto kind :
         {SystemCall::fstat, SystemCall::flock, SystemCall::write, SystemCall::fchown,
          SystemCall::fsetxattr, SystemCall::fremovexattr, SystemCall::fchmod, SystemCall::fsync,
          SystemCall::close, SystemCall::rename})
      calls.before(kind, FaultySystemCalls::kEvery, look);
    exportTo(existing);
  }

  /// Lets the system say that the file is of another group, which this process cannot give.
  void pretendForeignGroup() {
    const auto inode = status().st_ino;
    calls.alterStatus([inode](struct stat& found) {
      if (found.st_ino == inode) found.st_gid = kForeignGroup;
    });
    calls.fail(SystemCall::fchown, FaultySystemCalls::kEvery, EPERM);
  }

  const std::vector<Entry> entries = {{kOwner, 6},       {kUser, 6, kForeignUser},
                                      {kOwningGroup, 4}, {kGroup, 4, kForeignGroup},
                                      {kMask, 6},        {kOther, 4}};
  /// A folder whose new files are open to a named user and a named group.
  const std::vector<Entry> generous = {{kOwner, 7},       {kUser, 7, kForeignUser},
                                       {kOwningGroup, 7}, {kGroup, 7, kForeignGroup},
                                       {kMask, 7},        {kOther, 7}};
};

TEST_F(ReplacedFileAccessTest, ofAPrivateFileIsNeverWider) {
  for (const unsigned mode : {0600U, 0400U, 0200U, 0U, 0640U, 0604U, 0666U}) {
    permit(mode);
    exportNeverWiderThan(mode);
    EXPECT_EQ(permissions(), mode);
  }
}

TEST_F(ReplacedFileAccessTest, keepsOwnerAndGroupWhereTheProcessMay) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  ASSERT_EQ(::chown(existing.path().c_str(), kForeignUser, kForeignGroup), 0);
  permit(0640);
  exportNeverWiderThan(0640);
  EXPECT_EQ(status().st_uid, kForeignUser);
  EXPECT_EQ(status().st_gid, kForeignGroup);
  EXPECT_EQ(permissions(), 0640U);
  EXPECT_EQ(folder.read("existing.txt"), "new content");
}

TEST_F(ReplacedFileAccessTest, keepsTheGroupThatAFolderDoesNotGive) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  ASSERT_EQ(::chown(folder.path().c_str(), 0, kForeignGroup), 0);
  fs::permissions(folder.path(), fs::perms(02777));
  permit(0660);
  exportNeverWiderThan(0660);
  EXPECT_EQ(status().st_gid, ::getegid());
  EXPECT_EQ(permissions(), 0660U);
}

TEST_F(ReplacedFileAccessTest, losesWhatDependsOnAGroupThatCannotBeKept) {
  struct Case {
    unsigned before;
    unsigned after;
  };
  for (const Case& each : std::vector<Case>{{0640, 0600},
                                            {0660, 0600},
                                            {0664, 0644},
                                            {0604, 0600},
                                            {0646, 0644},
                                            {0600, 0600},
                                            {0755, 0755}}) {
    permit(each.before);
    pretendForeignGroup();
    exportNeverWiderThan(each.before);
    EXPECT_EQ(permissions(), each.after) << std::oct << each.before;
  }
}

TEST_F(ReplacedFileAccessTest, ofAnotherGroupDoesNotPassToOnesOwn) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  fs::permissions(folder.path(), fs::perms::all);
  ASSERT_EQ(::chown(existing.path().c_str(), kNobody, kForeignGroup), 0);
  permit(0640);
  EXPECT_EQ(test::inRestrictedProcess(test::kNoSizeLimit,
                                      [&] { return test::errorText(exporting(existing)); }),
            "no error");
  EXPECT_EQ(status().st_uid, kNobody);
  EXPECT_EQ(status().st_gid, kNobody);
  EXPECT_EQ(permissions(), 0600U);
  EXPECT_EQ(folder.read("existing.txt"), "new content");
}

TEST_F(ReplacedFileAccessTest, ofAnotherOwnerIsKeptButForTheOwner) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  fs::permissions(folder.path(), fs::perms::all);
  ASSERT_EQ(::chown(existing.path().c_str(), kForeignUser, kNobody), 0);
  permit(0664);
  EXPECT_EQ(test::inRestrictedProcess(test::kNoSizeLimit,
                                      [&] { return test::errorText(exporting(existing)); }),
            "no error");
  EXPECT_EQ(status().st_uid, kNobody);
  EXPECT_EQ(permissions(), 0664U);
}

TEST_F(ReplacedFileAccessTest, believesNoGroupThatIsTakenAndForgotten) {
  permit(0640);
  const auto inode = status().st_ino;
  const unsigned group = ::getegid();
  calls.alterStatus([inode, group](struct stat& found) {
    found.st_gid = found.st_ino == inode ? kForeignGroup : group;
  });
  exportTo(existing);
  EXPECT_EQ(permissions(), 0600U);
  EXPECT_EQ(calls.count(SystemCall::fchown), 2) << "the group, then the owner";
}

TEST_F(ReplacedFileAccessTest, keepsAList) {
  if (!setList(entries)) GTEST_SKIP() << "no access control lists here";
  const std::string before = list();
  ASSERT_EQ(before, listOf(entries));
  exportTo(existing);
  EXPECT_EQ(list(), before);
  EXPECT_EQ(permissions(), 0664U);
  EXPECT_EQ(folder.read("existing.txt"), "new content");
}

TEST_F(ReplacedFileAccessTest, getsNoListThatItHadNot) {
  if (!setList(folder.path(), kDefaultList, generous))
    GTEST_SKIP() << "no access control lists here";
  for (const unsigned mode : {0600U, 0640U, 0666U}) {
    permit(mode);
    exportNeverWiderThan(mode);
    EXPECT_EQ(list(), "");
    EXPECT_EQ(permissions(), mode);
  }
}

TEST_F(ReplacedFileAccessTest, keepsItsListInAFolderThatGivesAnother) {
  if (!setList(entries) || !setList(folder.path(), kDefaultList, generous))
    GTEST_SKIP() << "no access control lists here";
  exportTo(existing);
  EXPECT_EQ(list(), listOf(entries));
}

TEST_F(ReplacedFileAccessTest, withoutItsListIsWhatEverybodyHad) {
  struct Case {
    std::vector<Entry> entries;
    unsigned after;
  };
  const std::vector<Case> cases = {
      // The mask is not what the group may do.
      {{{kOwner, 6}, {kUser, 6, 1}, {kOwningGroup, 4}, {kMask, 6}, {kOther, 0}}, 0640},
      // A user who is shut out by name stays so, whether a member of the group or not.
      {{{kOwner, 6}, {kUser, 0, 1}, {kOwningGroup, 4}, {kMask, 4}, {kOther, 4}}, 0600},
      // A group that is shut out by name becomes others.
      {{{kOwner, 6}, {kOwningGroup, 4}, {kGroup, 0, 1}, {kMask, 4}, {kOther, 4}}, 0640},
      // What the mask takes away stays away.
      {{{kOwner, 7}, {kUser, 7, 1}, {kOwningGroup, 7}, {kMask, 1}, {kOther, 5}}, 0711}};
  for (const Case& each : cases) {
    if (!setList(each.entries)) GTEST_SKIP() << "no access control lists here";
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    faulty.fail(SystemCall::fsetxattr, 1, ENOSPC);
    exportTo(existing);
    EXPECT_EQ(list(), "");
    EXPECT_EQ(permissions(), each.after);
  }
}

TEST_F(ReplacedFileAccessTest, losesListAndGroupTogether) {
  if (!setList({{kOwner, 6}, {kOwningGroup, 6}, {kGroup, 4, 1}, {kMask, 6}, {kOther, 4}}))
    GTEST_SKIP() << "no access control lists here";
  pretendForeignGroup();
  exportTo(existing);
  EXPECT_EQ(calls.count(SystemCall::fsetxattr), 0);
  EXPECT_EQ(list(), "");
  EXPECT_EQ(permissions(), 0644U);
}

TEST_F(ReplacedFileAccessTest, thatCannotBeReadOrClearedStopsTheExport) {
  const auto refused = [](int errorNumber) {
    return failsWithPosix(errorNumber, "Could not preserve the existing output file permissions.");
  };
  calls.fail(SystemCall::lgetxattr, 1, EIO);
  EXPECT_THAT(exporting(existing), refused(EIO));
  calls.fail(SystemCall::fremovexattr, 1, EACCES);
  EXPECT_THAT(exporting(existing), refused(EACCES));
  expectNothingHappened();
}

TEST_F(ReplacedFileAccessTest, isThatOfAFileSystemWithoutLists) {
  permit(0640);
  calls.fail(SystemCall::lgetxattr, 1, EOPNOTSUPP);
  calls.fail(SystemCall::fremovexattr, 1, EOPNOTSUPP);
  exportTo(existing);
  EXPECT_EQ(permissions(), 0640U);
}

TEST_F(ReplacedFileAccessTest, isThatOfAKernelWithoutTheCallsForLists) {
  permit(0640);
  calls.fail(SystemCall::lgetxattr, 1, ENOSYS);
  calls.fail(SystemCall::fremovexattr, 1, ENOSYS);
  exportTo(existing);
  EXPECT_EQ(permissions(), 0640U);
}

TEST_F(ReplacedFileAccessTest, isNotAskedForWhereNothingIsReplaced) {
  exportTo(fresh);
  EXPECT_EQ(calls.count(SystemCall::lgetxattr), 0);
  EXPECT_EQ(calls.count(SystemCall::fchown), 0);
  EXPECT_EQ(calls.count(SystemCall::fremovexattr), 0);
}

}  // namespace
}  // namespace quillmor
