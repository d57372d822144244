#include "fileaccess/AtomicTextFileWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "fileaccess/UrlReservations.h"
#include "support/ErrorMatchers.h"
#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace SecureFileAccess;
using test::failsWith;
using test::failsWithPosix;
using test::FaultySystemCalls;
using test::SystemCall;

constexpr const char* kChanged =
    "The output file changed or was replaced by another process while the export was running. "
    "Nothing was overwritten; choose the destination again.";
constexpr const char* kAppeared =
    "Another file appeared at the output destination while the export was being prepared. Nothing "
    "was overwritten; choose the destination again.";
constexpr const char* kTemporaryReplaced =
    "The temporary output file was replaced or moved by another process before the export "
    "completed. Nothing was installed.";
constexpr const char* kCouldNotInstall =
    "Could not install the completed output file atomically without overwriting an unexpected "
    "file.";

class AtomicTextFileWriterTest : public test::FileAccessTest {
 protected:
  void TearDown() override {
    EXPECT_TRUE(test::isUnreserved(existing));
    EXPECT_TRUE(test::isUnreserved(fresh));
    FileAccessTest::TearDown();
  }

  void exportTo(const FileLocation& destination) {
    AtomicTextFileWriter writer(destination, {});
    writer.write("new ");
    writer.write(test::bytesOf("content"));
    writer.finish();
  }

  auto exporting(const FileLocation& destination) {
    return [this, destination] { exportTo(destination); };
  }

  std::string temporaryName() const {
    for (const std::string& name : folder.names()) {
      if (name.starts_with(".")) return name;
    }
    return {};
  }

  /// Nothing is in the folder but what was there before, unchanged.
  void expectNothingHappened() const {
    EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt"));
    EXPECT_EQ(folder.read("existing.txt"), "old content");
  }

  const FileLocation existing = folder.write("existing.txt", "old content");
  const FileLocation fresh = folder.location("fresh.txt");
};

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

TEST_F(AtomicTextFileWriterTest, refusesToInstallATemporaryFileThatWentAway) {
  AtomicTextFileWriter writer(fresh, {});
  fs::remove(folder.path() / temporaryName());
  EXPECT_THAT([&] { writer.finish(); }, failsWith(1215, kTemporaryReplaced));
}

TEST_F(AtomicTextFileWriterTest, refusesProtectedFilesBeforeCreatingAnything) {
  fs::create_hard_link(existing.path(), folder.path() / "hard.txt");
  const std::string message =
      "Choose a different output destination. Writing to existing.txt would overwrite an open "
      "document or another input file.";
  EXPECT_THAT([&] { AtomicTextFileWriter(existing, {existing}); }, failsWith(1206, message));
  EXPECT_THAT(
      [&] {
        AtomicTextFileWriter(existing, {fresh, folder.location("hard.txt")});
      },
      failsWith(1206, message));
  EXPECT_EQ(calls.count(SystemCall::open), 0);
  EXPECT_NO_THROW(
      AtomicTextFileWriter(existing, {fresh, FileLocation::fromUrl("https://example.org/a")}));
}

TEST_F(AtomicTextFileWriterTest, refusesAProtectedFileThatDoesNotExistYet) {
  EXPECT_THAT([&] { AtomicTextFileWriter(fresh, {folder.location("./fresh.txt")}); },
              failsWith(1206,
                        "Choose a different output destination. Writing to fresh.txt would "
                        "overwrite an open document or another input file."));
}

TEST_F(AtomicTextFileWriterTest, asksAgainForProtectedFilesWhenFinishing) {
  const auto input = folder.location("input.txt");
  {
    AtomicTextFileWriter writer(fresh, {input});
    folder.write("input.txt", "input");
    fs::create_hard_link(input.path(), fresh.path());
    EXPECT_THAT([&] { writer.finish(); },
                failsWith(1206,
                          "Choose a different output destination. Writing to fresh.txt would "
                          "overwrite an open document or another input file."));
  }
  EXPECT_EQ(folder.read("fresh.txt"), "input");
}

TEST_F(AtomicTextFileWriterTest, refusesALinkEvenToARegularFile) {
  fs::create_symlink(existing.path(), folder.path() / "link.txt");
  EXPECT_THAT(exporting(folder.location("link.txt")),
              failsWith(1212,
                        "The output destination cannot be a symbolic link. Choose the real file or "
                        "a different destination."));
  EXPECT_EQ(folder.read("existing.txt"), "old content");
}

TEST_F(AtomicTextFileWriterTest, refusesALinkThatAppearedWhileItWrote) {
  AtomicTextFileWriter writer(fresh, {});
  fs::create_symlink(existing.path(), fresh.path());
  EXPECT_THAT([&] { writer.finish(); },
              failsWith(1212,
                        "The output destination cannot be a symbolic link. Choose the real file or "
                        "a different destination."));
}

TEST_F(AtomicTextFileWriterTest, refusesWhatIsNotARegularFile) {
  const char* const message = "The output destination must be a regular file.";
  fs::create_directory(fresh.path());
  EXPECT_THAT(exporting(fresh), failsWith(1210, message));
  ASSERT_EQ(::mkfifo(folder.location("fifo").path().c_str(), 0600), 0);
  EXPECT_THAT(exporting(folder.location("fifo")), failsWith(1210, message));
  EXPECT_THAT(exporting(FileLocation::fromPath("/dev/null")), failsWith(1210, message));
}

TEST_F(AtomicTextFileWriterTest, needsADirectory) {
  const char* const message = "The output destination directory is not available.";
  EXPECT_THAT(exporting(folder.location("missing/fresh.txt")), failsWith(1211, message));
  EXPECT_THAT(exporting(folder.location("existing.txt/fresh.txt")), failsWithPosix(ENOTDIR));
  calls.alterStatus([](struct stat& status) {
    if (S_ISDIR(status.st_mode)) status.st_mode = S_IFREG;
  });
  EXPECT_THAT(exporting(fresh), failsWith(1211, message));
}

TEST_F(AtomicTextFileWriterTest, needsALocalFile) {
  const auto url = FileLocation::fromUrl("https://example.org/a");
  const auto refused = failsWith(1200, "The output destination is not a local file URL.");
  EXPECT_THAT(exporting(url), refused);
  EXPECT_THAT([&] { validateDistinctOutputURL(url, {}); }, refused);
  EXPECT_THAT([&] { validateOutputDestinationKind(url); }, refused);
}

TEST_F(AtomicTextFileWriterTest, needsAPathTheFileSystemTakes) {
  EXPECT_THAT(exporting(FileLocation::fromUrl("file:///tmp/a%00b")), failsWithPosix(EINVAL));
}

TEST_F(AtomicTextFileWriterTest, refusesAFileThatIsBeingRead) {
  const auto read = reserveReadURL(existing);
  EXPECT_THAT(exporting(existing),
              failsWith(1207,
                        "Another operation is already reading or writing existing.txt. Choose a "
                        "different destination or wait for that operation to finish."));
  read->release();
}

TEST_F(AtomicTextFileWriterTest, neverOverwritesAFileThatAppeared) {
  {
    AtomicTextFileWriter writer(fresh, {});
    writer.write("new");
    folder.write("fresh.txt", "foreign");
    EXPECT_THAT([&] { writer.finish(); }, failsWith(1213, kAppeared));
  }
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt", "fresh.txt"));
  EXPECT_EQ(folder.read("fresh.txt"), "foreign");
}

TEST_F(AtomicTextFileWriterTest, neverOverwritesAFileThatAppearedAtTheLastMoment) {
  calls.before(SystemCall::renameat2, 1, [&] { folder.write("fresh.txt", "foreign"); });
  EXPECT_THAT(exporting(fresh), failsWith(1213, kAppeared));
  EXPECT_EQ(folder.read("fresh.txt"), "foreign");
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

TEST_F(AtomicTextFileWriterTest, neverOverwritesAFileThatChanged) {
  AtomicTextFileWriter writer(existing, {});
  folder.append("existing.txt", "!");
  EXPECT_THAT([&] { writer.finish(); }, failsWith(1214, kChanged));
  EXPECT_EQ(folder.read("existing.txt"), "old content!");
}

TEST_F(AtomicTextFileWriterTest, neverOverwritesAFileWhoseModeOrTimesChanged) {
  const auto refusesAfter = [&](const std::function<void()>& change) {
    AtomicTextFileWriter writer(existing, {});
    change();
    EXPECT_THAT([&] { writer.finish(); }, failsWith(1214, kChanged));
  };
  refusesAfter([&] { fs::permissions(existing.path(), fs::perms(0601)); });
  refusesAfter([&] {
    fs::last_write_time(existing.path(),
                        fs::last_write_time(existing.path()) - std::chrono::seconds(5));
  });
  refusesAfter([&] { fs::create_hard_link(existing.path(), folder.path() / "hard.txt"); });
}

TEST_F(AtomicTextFileWriterTest, neverOverwritesAFileThatWasReplacedOrRemoved) {
  {
    AtomicTextFileWriter writer(existing, {});
    fs::rename(folder.write("twin.txt", "old content").path(), existing.path());
    EXPECT_THAT([&] { writer.finish(); }, failsWith(1214, kChanged));
    fs::remove(existing.path());
    EXPECT_THAT([&] { writer.finish(); }, failsWith(1214, kChanged));
  }
  EXPECT_THAT(folder.names(), testing::IsEmpty());
}

TEST_F(AtomicTextFileWriterTest, neverOverwritesAFileThatChangedAtTheLastMoment) {
  calls.before(SystemCall::fsync, 1, [&] { folder.append("existing.txt", "!"); });
  EXPECT_THAT(exporting(existing), failsWith(1214, kChanged));
  EXPECT_THAT(folder.names(), testing::ElementsAre("existing.txt"));
  EXPECT_EQ(folder.read("existing.txt"), "old content!");
}

TEST_F(AtomicTextFileWriterTest, comparesAllEightFieldsOfTheDestination) {
  const OutputDestinationSnapshot snapshot = {{1, 2}, 3, 4, 5, 6, 7, 8, 9};
  EXPECT_EQ(snapshot, (OutputDestinationSnapshot{{1, 2}, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{0, 2}, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 0}, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 2}, 0, 4, 5, 6, 7, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 2}, 3, 0, 5, 6, 7, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 2}, 3, 4, 0, 6, 7, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 2}, 3, 4, 5, 0, 7, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 2}, 3, 4, 5, 6, 0, 8, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 2}, 3, 4, 5, 6, 7, 0, 9}));
  EXPECT_NE(snapshot, (OutputDestinationSnapshot{{1, 2}, 3, 4, 5, 6, 7, 8, 0}));
}

TEST_F(AtomicTextFileWriterTest, takesASnapshotOfTheDestination) {
  fs::permissions(existing.path(), fs::perms(0640) | fs::perms::set_uid);
  const auto snapshot = outputDestinationSnapshot(existing);
  ASSERT_TRUE(snapshot);
  EXPECT_EQ(snapshot->permissionMode, 0640);
  EXPECT_EQ(snapshot->statusMode, S_IFREG | S_ISUID | 0640U);
  EXPECT_EQ(snapshot->size, 11);
  EXPECT_FALSE(outputDestinationSnapshot(fresh));
  EXPECT_THAT([&] { outputDestinationSnapshot(folder.location("existing.txt/x")); },
              failsWithPosix(ENOTDIR));
}

TEST_F(AtomicTextFileWriterTest, reportsATemporaryFileThatCannotBeCreated) {
  calls.fail(SystemCall::open, 1, EROFS);
  EXPECT_THAT(exporting(fresh),
              failsWithPosix(EROFS, "Could not create the temporary output file securely."));
  const auto longName = folder.location(std::string(230, 'n'));
  EXPECT_THAT(exporting(longName),
              failsWithPosix(ENAMETOOLONG, "Could not create the temporary output file securely."));
}

TEST_F(AtomicTextFileWriterTest, removesATemporaryFileThatCannotBeValidated) {
  calls.fail(SystemCall::fstat, 1, EIO);
  EXPECT_THAT(exporting(fresh),
              failsWithPosix(EIO, "Could not validate the temporary output file."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, refusesATemporaryFileThatIsNotRegular) {
  calls.before(SystemCall::fstat, 1,
               [&] { calls.alterStatus([](struct stat& status) { status.st_mode = S_IFCHR; }); });
  EXPECT_THAT(exporting(fresh), failsWith(1215, "The temporary output is not a regular file."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsFailedWritesAndNeverInstallsWhatIsLeft) {
  {
    AtomicTextFileWriter writer(existing, {});
    calls.limitCount(SystemCall::write, 1, 3);
    calls.fail(SystemCall::write, 2, ENOSPC);
    const auto failed = failsWithPosix(ENOSPC, "Could not write the output data.");
    EXPECT_THAT([&] { writer.write("content"); }, failed);
    EXPECT_THAT([&] { writer.finish(); }, failed);
  }
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsAWriteThatStops) {
  calls.limitCount(SystemCall::write, 1, 0);
  EXPECT_THAT(exporting(existing),
              failsWithPosix(EIO, "The output write stopped before all data was saved."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsAFileThatMayNotBecomeSoLarge) {
  fs::permissions(folder.path(), fs::perms::all);
  EXPECT_EQ(test::inRestrictedProcess(1000,
                                      [&] {
                                        return test::errorText([&] {
                                          AtomicTextFileWriter writer(fresh, {});
                                          writer.write(std::string(2000, 'x'));
                                        });
                                      }),
            std::to_string(EFBIG) + " Could not write the output data.");
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsPermissionsThatCannotBeKept) {
  calls.fail(SystemCall::fchmod, 1, EPERM);
  EXPECT_THAT(exporting(existing),
              failsWithPosix(EPERM, "Could not preserve the existing output file permissions."));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, neverBelievesASecondFlush) {
  {
    AtomicTextFileWriter writer(existing, {});
    calls.fail(SystemCall::fsync, 1, EIO);
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_EQ(calls.count(SystemCall::fsync), 1);
  }
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, installsNothingWhenTheCloseFails) {
  {
    AtomicTextFileWriter writer(existing, {});
    calls.fail(SystemCall::close, 1, EIO);
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO));
    EXPECT_EQ(calls.count(SystemCall::close), 1);
  }
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, reportsAFailedInstall) {
  calls.fail(SystemCall::rename, 1, EACCES);
  EXPECT_THAT(exporting(existing), failsWithPosix(EACCES, kCouldNotInstall));
  calls.fail(SystemCall::renameat2, 1, ENOSPC);
  EXPECT_THAT(exporting(fresh), failsWithPosix(ENOSPC, kCouldNotInstall));
  expectNothingHappened();
}

TEST_F(AtomicTextFileWriterTest, canBeFinishedAgainWhenOnlyTheInstallFailed) {
  AtomicTextFileWriter writer(existing, {});
  writer.write("new");
  calls.fail(SystemCall::rename, 1, EIO);
  EXPECT_THAT([&] { writer.finish(); }, failsWithPosix(EIO, kCouldNotInstall));
  writer.finish();
  EXPECT_EQ(folder.read("existing.txt"), "new");
}

TEST_F(AtomicTextFileWriterTest, isFinishedOnceInstalledEvenWhenTheDirectoryCannotBeFlushed) {
  AtomicTextFileWriter writer(existing, {});
  writer.write("new");
  calls.fail(SystemCall::fsync, 2, EIO);
  EXPECT_NO_THROW(writer.finish());
  EXPECT_EQ(calls.count(SystemCall::fsync), 2);
  EXPECT_EQ(folder.read("existing.txt"), "new");
  EXPECT_TRUE(test::isUnreserved(existing));
  EXPECT_NO_THROW(writer.finish());
  EXPECT_THAT([&] { writer.write("more"); },
              failsWith(1001, "The output writer is already closed."));
}

TEST_F(AtomicTextFileWriterTest, resumesShortWrites) {
  calls.limitCount(SystemCall::write, FaultySystemCalls::kEvery, 1);
  exportTo(existing);
  EXPECT_EQ(folder.read("existing.txt"), "new content");
}

TEST_F(AtomicTextFileWriterTest, repeatsWhatWasInterrupted) {
  calls.interruptEveryCall();
  exportTo(existing);
  exportTo(fresh);
  EXPECT_EQ(folder.read("existing.txt"), "new content");
  EXPECT_EQ(folder.read("fresh.txt"), "new content");
}

TEST_F(AtomicTextFileWriterTest, holdsItsReservationUntilFinished) {
  AtomicTextFileWriter writer(fresh, {});
  EXPECT_FALSE(test::isUnreserved(fresh));
  writer.finish();
  EXPECT_TRUE(test::isUnreserved(fresh));
}

/// Runs an export over and over, with every call failing once, and looks at what is left.
class AtomicTextFileWriterFaults : public AtomicTextFileWriterTest {
 protected:
  struct Outcome {
    bool isError;
    /// True when the destination holds the whole new content, false when it is as before.
    bool isInstalled;
  };

  void resetFolder() {
    for (const std::string& name : folder.names()) fs::remove(folder.path() / name);
    folder.write("existing.txt", "old content");
  }

  Outcome exportWith(FaultySystemCalls& faulty, const FileLocation& destination) {
    resetFolder();
    const ScopedSystemCalls scope(faulty);
    const std::int64_t descriptors = test::openDescriptorCount();
    const std::string error = test::errorText(exporting(destination));
    EXPECT_EQ(test::openDescriptorCount(), descriptors);
    EXPECT_TRUE(test::isUnreserved(destination));
    const std::string name = destination.lastPathComponent();
    const std::string content = folder.exists(name) ? folder.read(name) : "";
    const std::string before = name == "existing.txt" ? "old content" : "";
    EXPECT_TRUE(content == "new content" || content == before) << "torn: " << content;
    return {.isError = error != "no error", .isInstalled = content == "new content"};
  }

  void sweep(const FileLocation& destination, bool byHardLink) {
    const auto prepare = [byHardLink](FaultySystemCalls& faulty) {
      if (byHardLink) faulty.fail(SystemCall::renameat2, FaultySystemCalls::kEvery, ENOSYS);
    };
    FaultySystemCalls clean;
    prepare(clean);
    exportWith(clean, destination);
    const auto log = clean.log();
    for (const int errorNumber : {EIO, ENOSPC, EACCES, EINVAL}) {
      for (std::ptrdiff_t nth = 1; nth <= std::ssize(log); ++nth) {
        SCOPED_TRACE("call " + std::to_string(nth) + ", error " + std::to_string(errorNumber));
        FaultySystemCalls faulty;
        prepare(faulty);
        faulty.failCall(static_cast<int>(nth), errorNumber);
        const Outcome outcome = exportWith(faulty, destination);
        EXPECT_EQ(temporaryName(), "");
        EXPECT_NE(outcome.isError, outcome.isInstalled);
      }
    }
  }

  void sweepPairs(const FileLocation& destination) {
    FaultySystemCalls clean;
    exportWith(clean, destination);
    const auto callCount = static_cast<int>(clean.log().size()) + 3;
    for (int first = 1; first <= callCount; ++first) {
      for (int second = first + 1; second <= callCount; ++second) {
        SCOPED_TRACE("calls " + std::to_string(first) + " and " + std::to_string(second));
        FaultySystemCalls faulty;
        faulty.failCall(first, EIO);
        faulty.failCall(second, EIO);
        const Outcome outcome = exportWith(faulty, destination);
        EXPECT_NE(outcome.isError, outcome.isInstalled);
      }
    }
  }
};

TEST_F(AtomicTextFileWriterFaults, leaveANewDestinationWholeOrAbsent) {
  sweep(fresh, false);
}

TEST_F(AtomicTextFileWriterFaults, leaveAnExistingDestinationWholeOrUntouched) {
  sweep(existing, false);
}

TEST_F(AtomicTextFileWriterFaults, leaveADestinationInstalledByHardLinkWholeOrAbsent) {
  sweep(fresh, true);
}

TEST_F(AtomicTextFileWriterFaults, inPairsLeaveTheDestinationWholeOrUntouched) {
  sweepPairs(fresh);
  sweepPairs(existing);
}

TEST_F(AtomicTextFileWriterFaults, whileAbandoningAreIgnored) {
  for (const auto kind : {SystemCall::close, SystemCall::unlink}) {
    FaultySystemCalls faulty;
    const ScopedSystemCalls scope(faulty);
    resetFolder();
    {
      AtomicTextFileWriter writer(existing, {});
      faulty.fail(kind, FaultySystemCalls::kEvery, EIO);
    }
    EXPECT_EQ(folder.read("existing.txt"), "old content");
    EXPECT_EQ(temporaryName().empty(), kind == SystemCall::close);
  }
}

}  // namespace
}  // namespace quillmor
