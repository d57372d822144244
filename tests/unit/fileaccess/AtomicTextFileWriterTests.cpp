// How an output is written and put in place, and what becomes of its temporary file.

#include <sys/stat.h>

#include <filesystem>

#include "support/AtomicTextFileWriterFixture.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using test::AtomicTextFileWriterTest;
using test::failsWith;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::kAppeared;
using test::kCouldNotInstall;
using test::kTemporaryReplaced;
using test::SystemCall;

TEST_F(AtomicTextFileWriterTest, installsANewFile) {
  exportTo(fresh);
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", "fresh.txt"));
  EXPECT_EQ(folder.read("fresh.txt"), "new content");
  EXPECT_EQ(calls.count(SystemCall::fsync), 2) << "the file, then its directory";
  EXPECT_EQ(calls.log().back(), SystemCall::close);
}

TEST_F(AtomicTextFileWriterTest, replacesAFile) {
  exportTo(existing);
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt"));
  EXPECT_EQ(folder.read("existing.txt"), "new content");
  EXPECT_EQ(calls.count(SystemCall::fsync), 2);
}

TEST_F(AtomicTextFileWriterTest, givesANewFileThePermissionsOfTheProcess) {
  const mode_t mask = ::umask(027);
  exportTo(fresh);
  ::umask(mask);
  EXPECT_EQ(fs::status(fresh.path()).permissions(), fs::perms(0640));
}

TEST_F(AtomicTextFileWriterTest, keepsThePermissionsOfAReplacedFile) {
  for (const auto mode : {fs::perms(0600), fs::perms(0666)}) {
    fs::permissions(existing.path(), mode);
    exportTo(existing);
    EXPECT_EQ(fs::status(existing.path()).permissions(), mode);
  }
}

TEST_F(AtomicTextFileWriterTest, writesIntoAHiddenFileBesideTheDestination) {
  fs::permissions(existing.path(), fs::perms(0600));
  AtomicTextFileWriter writer(existing, {});
  EXPECT_THAT(temporaryName(),
              testing::MatchesRegex(R"(\.existing\.txt\.quillmor\.)"
                                    R"([0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\.tmp)"));
  EXPECT_EQ(fs::status(folder.path() / temporaryName()).permissions(), fs::perms(0600));
  writer.write("abc");
  EXPECT_EQ(folder.read(temporaryName()), "abc");
  EXPECT_EQ(folder.read("existing.txt"), "old content");
}

TEST_F(AtomicTextFileWriterTest, writesAnEmptyFile) {
  AtomicTextFileWriter(fresh, {}).finish();
  EXPECT_EQ(folder.read("fresh.txt"), "");
}

TEST_F(AtomicTextFileWriterTest, finishesOnce) {
  AtomicTextFileWriter writer(fresh, {});
  writer.finish();
  fs::remove(fresh.path());
  writer.finish();
  EXPECT_FALSE(folder.exists("fresh.txt"));
}

TEST_F(AtomicTextFileWriterTest, refusesToWriteAfterFinishing) {
  AtomicTextFileWriter writer(fresh, {});
  writer.finish();
  EXPECT_THAT([&] { writer.write("more"); },
              failsWith(1001, "The output writer is already closed."));
}

TEST_F(AtomicTextFileWriterTest, refusesToWriteOnceClosed) {
  AtomicTextFileWriter writer(fresh, {});
  calls.fail(SystemCall::renameat2, 1, EIO);
  EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO, kCouldNotInstall));
  EXPECT_THAT([&] { writer.write("more"); },
              failsWith(1001, "The output writer is already closed."));
}

TEST_F(AtomicTextFileWriterTest, removesItsTemporaryFileWhenAbandoned) {
  {
    AtomicTextFileWriter writer(existing, {});
    writer.write("half");
    EXPECT_FALSE(test::isUnreserved(existing));
  }
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, leavesAForeignFileAtItsTemporaryPathAlone) {
  std::string name;
  {
    AtomicTextFileWriter writer(fresh, {});
    name = temporaryName();
    fs::rename(folder.path() / name, folder.path() / "moved");
    folder.write(name, "foreign");
    EXPECT_THAT([&] { writer.finish(); }, failsWith(1215, kTemporaryReplaced));
  }
  EXPECT_EQ(folder.read(name), "foreign");
  EXPECT_FALSE(folder.exists("fresh.txt"));
}

TEST_F(AtomicTextFileWriterTest, neverTakesAForeignFileForItsOwnOnceItHasClosedIt) {
  // A file system gives the inode number of a file that has gone to the next one at once.
  AtomicTextFileWriter writer(fresh, {});
  writer.write("new");
  const std::string name = temporaryName();
  const auto replace = [&] {
    fs::remove(folder.path() / name);
    folder.write(name, "foreign");
  };
  EXPECT_THAT([&] { writer.finish(replace); }, failsWith(1215, kTemporaryReplaced));
  EXPECT_FALSE(folder.exists("fresh.txt"));
  EXPECT_EQ(folder.read(name), "foreign");
}

TEST_F(AtomicTextFileWriterTest, leavesAForeignFileAloneWhenAbandonedOnceItHasClosedItsOwn) {
  std::string name;
  {
    AtomicTextFileWriter writer(existing, {});
    name = temporaryName();
    calls.fail(SystemCall::rename, 1, EIO);
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO, kCouldNotInstall));
    fs::remove(folder.path() / name);
    folder.write(name, "foreign");
  }
  EXPECT_EQ(folder.read(name), "foreign");
}

TEST_F(AtomicTextFileWriterTest, refusesToInstallATemporaryFileThatWentAway) {
  AtomicTextFileWriter writer(fresh, {});
  fs::remove(folder.path() / temporaryName());
  EXPECT_THAT([&] { writer.finish(); }, failsWith(1215, kTemporaryReplaced));
}

TEST_F(AtomicTextFileWriterTest, installsByHardLinkWhereExclusiveRenamingIsUnknown) {
  for (const int errorNumber : {ENOTSUP, EOPNOTSUPP, EINVAL, ENOSYS}) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    faulty.fail(SystemCall::renameat2, 1, errorNumber);
    exportTo(fresh);
    EXPECT_EQ(faulty.count(SystemCall::link), 1);
    EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", "fresh.txt"));
    EXPECT_EQ(folder.read("fresh.txt"), "new content");
    EXPECT_EQ(fs::hard_link_count(fresh.path()), 1U);
    fs::remove(fresh.path());
  }
}

TEST_F(AtomicTextFileWriterTest, neverOverwritesByHardLinkEither) {
  calls.fail(SystemCall::renameat2, 1, EINVAL);
  calls.before(SystemCall::link, 1, [&] { folder.write("fresh.txt", "foreign"); });
  EXPECT_THAT(exporting(fresh), failsWith(1213, kAppeared));
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", "fresh.txt"));
  EXPECT_EQ(folder.read("fresh.txt"), "foreign");
}

TEST_F(AtomicTextFileWriterTest, reportsAFileSystemWithoutHardLinks) {
  calls.fail(SystemCall::renameat2, 1, EINVAL);
  calls.fail(SystemCall::link, 1, EPERM);
  EXPECT_THAT(exporting(fresh), failsWithPosix(EPERM, kCouldNotInstall));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, takesTheHardLinkBackWhenTheTemporaryNameCannotGo) {
  calls.fail(SystemCall::renameat2, 1, ENOSYS);
  calls.fail(SystemCall::unlink, 1, EIO);
  EXPECT_THAT(exporting(fresh), failsWithPosix(EIO, kCouldNotInstall));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, holdsItsReservationUntilFinished) {
  AtomicTextFileWriter writer(fresh, {});
  EXPECT_FALSE(test::isUnreserved(fresh));
  writer.finish();
  EXPECT_TRUE(test::isUnreserved(fresh));
}

}  // namespace
}  // namespace quillmor
