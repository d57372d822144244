// Which destinations an output refuses, at once or when it is to be put in place.

#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <functional>

#include "fileaccess/URLReservations.h"

#include "support/AtomicTextFileWriterFixture.h"
#include "support/ErrorMatchers.h"

namespace quillmor {
namespace {

namespace fs = std::filesystem;
using namespace SecureFileAccess;
using test::AtomicTextFileWriterTest;
using test::failsWith;
using test::failsWithPosix;
using test::kAppeared;
using test::kChanged;
using test::SystemCall;

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
      AtomicTextFileWriter(existing, {fresh, FileLocation::fromURL("https://example.org/a")}));
}

TEST_F(AtomicTextFileWriterTest, refusesAProtectedFileThatDoesNotExistYet) {
  EXPECT_THAT([&] { AtomicTextFileWriter(fresh, {folder.location("./fresh.txt")}); },
              failsWith(1206,
                        "Choose a different output destination. Writing to fresh.txt would "
                        "overwrite an open document or another input file."));
}

TEST_F(AtomicTextFileWriterTest, refusesProtectedFilesThroughSymbolicLinks) {
  fs::create_symlink(existing.path(), folder.path() / "link.txt");
  const FileLocation link = folder.location("link.txt");
  EXPECT_THAT([&] { AtomicTextFileWriter(link, {existing}); },
              failsWith(1206,
                        "Choose a different output destination. Writing to link.txt would "
                        "overwrite an open document or another input file."));
  EXPECT_THAT([&] { AtomicTextFileWriter(existing, {link}); },
              failsWith(1206,
                        "Choose a different output destination. Writing to existing.txt would "
                        "overwrite an open document or another input file."));
}

TEST_F(AtomicTextFileWriterTest, refusesAProtectedFileThatDoesNotExistYetThroughALinkedFolder) {
  fs::create_directory(folder.path() / "real");
  fs::create_directory_symlink("real", folder.path() / "linked");
  const FileLocation real = folder.location("real/new.txt");
  const FileLocation linked = folder.location("linked/new.txt");
  const auto refused = failsWith(1206,
                                 "Choose a different output destination. Writing to new.txt would "
                                 "overwrite an open document or another input file.");
  EXPECT_THAT([&] { AtomicTextFileWriter(linked, {real}); }, refused);
  EXPECT_THAT([&] { AtomicTextFileWriter(real, {linked}); }, refused);
  EXPECT_EQ(calls.count(SystemCall::open), 0);
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

TEST_F(AtomicTextFileWriterTest, writesIntoTheFolderThatALinkLeadsTo) {
  fs::create_directory(folder.path() / "real");
  fs::create_directory_symlink("real", folder.path() / "linked");
  exportTo(folder.location("linked/new.txt"));
  EXPECT_EQ(folder.read("real/new.txt"), "new content");
  exportTo(folder.location("linked/new.txt"));
  EXPECT_TRUE(fs::is_symlink(folder.path() / "linked"));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder.path() / "real"), {}), 1);
  fs::create_symlink("new.txt", folder.path() / "real/link.txt");
  EXPECT_THAT(exporting(folder.location("linked/link.txt")),
              failsWith(1212,
                        "The output destination cannot be a symbolic link. Choose the real file or "
                        "a different destination."));
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
  EXPECT_THAT(exporting(folder.location("existing.txt/fresh.txt")), failsWith(1211, message));
  calls.alterStatus([](struct stat& status) {
    if (S_ISDIR(status.st_mode)) status.st_mode = S_IFREG;
  });
  EXPECT_THAT(exporting(fresh), failsWith(1211, message));
}

TEST_F(AtomicTextFileWriterTest, needsALocalFile) {
  const auto url = FileLocation::fromURL("https://example.org/a");
  const auto refused = failsWith(1200, "The output destination is not a local file URL.");
  EXPECT_THAT(exporting(url), refused);
  EXPECT_THAT([&] { validateDistinctOutputURL(url, {}); }, refused);
  EXPECT_THAT([&] { validateOutputDestinationKind(url); }, refused);
}

TEST_F(AtomicTextFileWriterTest, needsAPathTheFileSystemTakes) {
  EXPECT_THAT(exporting(FileLocation::fromURL("file:///tmp/a%00b")), failsWithPosix(EINVAL));
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

}  // namespace
}  // namespace quillmor
