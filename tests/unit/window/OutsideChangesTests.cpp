// The line about what another program has done to the file: when it comes, what it says, when it
// goes.

#include "window/OutsideChanges.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>

#include "base/ByteUnits.h"
#include "support/FaultySystemCalls.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class OutsideChangesTest : public WindowFixture {
 protected:
  /// Another program writes the file in place.
  void rewrite(std::string_view content) const {
    folder.write("data.bin", content);
    // Timestamps may be as coarse as the time that the test takes.
    static int seconds = 0;
    fs::last_write_time(file.path(), fs::file_time_type::clock::now() + 1s * ++seconds);
  }

  /// Another program puts another file in the place of this one.
  void replace(std::string_view content) const {
    fs::rename(folder.write("new", content).path(), file.path());
  }

  /// The watcher tells, and time passes.
  void tell() {
    EXPECT_TRUE(platform.fileWatcher.tell(file));
    platform.executor.advance(200ms);
    platform.executor.runAll();
  }

  std::string line(const EditorUnderTest& editor) {
    tell();
    return editor.window->outsideChange;
  }

  FileLocation file = folder.write("data.bin", "0123456789");
};

TEST_F(OutsideChangesTest, leaveNoBaseForAJournalOfEdits) {
  const RecordStore store(folder.location("state/records"));
  records = &store;
  auto editor = openEditor(file);
  rewrite("by another");
  tell();
  type(editor, "J");
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty()) << "edits alone are of no use beside other bytes";
  EXPECT_TRUE(editor->unsavedChanges().keepNow());
  ASSERT_EQ(store.list().size(), 1U);
  EXPECT_EQ(store.list()[0].header->kind, RecordKind::unsavedChanges);
}

TEST_F(OutsideChangesTest, areToldWithTheirRanges) {
  auto editor = openEditor(file);
  rewrite("0x2345yyy9");
  EXPECT_EQ(line(editor), "data.bin changed on disk: 2 ranges, 4 bytes, first at 0x00000001.");
  EXPECT_TRUE(editor.window->outsideChoices.canShow);
  EXPECT_TRUE(editor.window->outsideChoices.canReload);
  EXPECT_EQ(editor.text(), "0123456789");
}

TEST_F(OutsideChangesTest, areLookedForOnceTheFileHasSettled) {
  auto editor = openEditor(file);
  rewrite("9");
  for (int i = 0; i < 5; ++i) platform.fileWatcher.tell(file);
  platform.executor.advance(199ms);
  EXPECT_FALSE(platform.executor.hasWork());
  platform.executor.advance(1ms);
  EXPECT_TRUE(platform.executor.runOneWork());
  EXPECT_FALSE(platform.executor.runOneWork());
  platform.executor.runAll();
  EXPECT_EQ(editor.window->outsideChangesShown, 1);
}

TEST_F(OutsideChangesTest, ofTimesAndModeAreNone) {
  auto editor = openEditor(file);
  rewrite("0123456789");
  EXPECT_EQ(line(editor), "");
  ::chmod(file.path().c_str(), 0600);
  EXPECT_EQ(line(editor), "");
  fs::create_hard_link(file.path(), folder.location("second").path());
  EXPECT_EQ(line(editor), "");
}

TEST_F(OutsideChangesTest, byAFileWithTheSameBytesAreNone) {
  auto editor = openEditor(file);
  replace("0123456789");
  EXPECT_EQ(line(editor), "");
}

TEST_F(OutsideChangesTest, ofTheLengthAreRangesToo) {
  auto editor = openEditor(file);
  rewrite("0123456789ab");
  EXPECT_EQ(line(editor), "data.bin changed on disk: 1 range, 2 bytes, first at 0x0000000A.");
  rewrite("01234567");
  EXPECT_EQ(line(editor), "data.bin changed on disk: 1 range, 2 bytes, first at 0x00000008.");
  rewrite("");
  EXPECT_EQ(line(editor), "data.bin changed on disk: 1 range, 10 bytes, first at 0x00000000.");
}

TEST_F(OutsideChangesTest, byReplacingTheFileAreToldApart) {
  auto editor = openEditor(file);
  replace("0123x56789");
  EXPECT_EQ(line(editor), "data.bin was replaced on disk: 1 range, 1 byte, first at 0x00000004.");
}

TEST_F(OutsideChangesTest, byDeletingAreToldOnce) {
  auto editor = openEditor(file);
  fs::remove(file.path());
  EXPECT_EQ(line(editor), "data.bin was deleted on disk.");
  EXPECT_FALSE(editor.window->outsideChoices.canShow);
  EXPECT_FALSE(editor.window->outsideChoices.canReload);
  tell();
  EXPECT_EQ(editor.window->outsideChangesShown, 1);
}

TEST_F(OutsideChangesTest, goWhenTheBytesComeBack) {
  auto editor = openEditor(file);
  rewrite("x");
  EXPECT_NE(line(editor), "");
  rewrite("0123456789");
  EXPECT_EQ(line(editor), "");
  fs::remove(file.path());
  EXPECT_NE(line(editor), "");
  replace("0123456789");
  EXPECT_EQ(line(editor), "");
}

TEST_F(OutsideChangesTest, byAFolderInThePlaceOfTheFileAreToldOnce) {
  auto editor = openEditor(file);
  fs::remove(file.path());
  fs::create_directory(file.path());
  EXPECT_EQ(line(editor), "data.bin was replaced on disk.");
  EXPECT_FALSE(editor.window->outsideChoices.canReload);
  folder.write("data.bin/inside", "");
  tell();
  EXPECT_EQ(editor.window->outsideChangesShown, 1);
}

TEST_F(OutsideChangesTest, thatTheUserKeepsOutStayAwayUntilTheNextOne) {
  auto editor = openEditor(file);
  rewrite("x123456789");
  EXPECT_NE(line(editor), "");
  editor->outsideChanges().keepMine();
  EXPECT_EQ(editor.window->outsideChange, "");
  EXPECT_EQ(line(editor), "");
  rewrite("x123456789");
  EXPECT_EQ(line(editor), "") << "the same bytes again";
  rewrite("xx23456789");
  EXPECT_EQ(line(editor), "data.bin changed on disk: 1 range, 2 bytes, first at 0x00000000.");
}

TEST_F(OutsideChangesTest, keptOutAreStillAskedAboutByASave) {
  auto editor = openEditor(file);
  rewrite("x123456789");
  tell();
  editor->outsideChanges().keepMine();
  type(editor, "J");
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Cancel");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "x123456789");
}

TEST_F(OutsideChangesTest, keptOutAndDeletedAreToldAgain) {
  auto editor = openEditor(file);
  rewrite("x");
  tell();
  editor->outsideChanges().keepMine();
  fs::remove(file.path());
  EXPECT_EQ(line(editor), "data.bin was deleted on disk.");
}

TEST_F(OutsideChangesTest, goWithAReload) {
  auto editor = openEditor(file);
  rewrite("theirs");
  EXPECT_NE(line(editor), "");
  platform.alerts.expect("Reload from Disk", "Reloaded: data.bin");
  editor->perform("forwardReloadFromDisk:");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "theirs");
  EXPECT_EQ(editor.window->outsideChange, "");
  EXPECT_EQ(line(editor), "");
}

TEST_F(OutsideChangesTest, areNotThoseOfOurOwnSaves) {
  auto editor = openEdited(file);
  editor->perform("forwardSaveDocument:");
  // The watcher tells at every step of the save.
  while (editor->isBusy()) {
    platform.fileWatcher.tell(file);
    platform.executor.advance(200ms);
    platform.executor.runOneWork();
    platform.executor.runPosted();
  }
  EXPECT_EQ(TemporaryFolder::read(file), "J123456789");
  EXPECT_EQ(line(editor), "");
  EXPECT_EQ(editor.window->outsideChangesShown, 0);
}

TEST_F(OutsideChangesTest, foundJustBeforeASaveAreLookedAtAgain) {
  auto editor = openEdited(file);
  rewrite("x123456789");
  platform.fileWatcher.tell(file);
  platform.executor.advance(200ms);
  platform.executor.runOneWork();
  // The look has read the file; its result comes while the save asks.
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  platform.executor.advance(200ms);
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "J123456789");
  EXPECT_EQ(editor.window->outsideChangesShown, 0);
}

TEST_F(OutsideChangesTest, areComparedWithTheDocumentAsItIs) {
  auto editor = openEdited(file);
  rewrite("x123456789");
  EXPECT_EQ(line(editor), "data.bin changed on disk: 1 range, 1 byte, first at 0x00000000.");
  rewrite("J123456789");
  EXPECT_EQ(line(editor), "") << "the same change as here";
}

TEST_F(OutsideChangesTest, areComparedAgainAfterAnEditInBetween) {
  const std::string large(3 * kMiB, 'a');
  file = folder.write("data.bin", large);
  auto editor = openEditor(file);
  rewrite(large + "b");
  platform.fileWatcher.tell(file);
  platform.executor.advance(200ms);
  platform.executor.runOneWork();
  platform.executor.runPosted();
  type(editor, "J");
  platform.executor.runAll();
  EXPECT_EQ(editor.window->outsideChange, "");
  platform.executor.advance(200ms);
  platform.executor.runAll();
  EXPECT_EQ(editor.window->outsideChange,
            "data.bin changed on disk: 2 ranges, 2 bytes, first at 0x00000000.");
}

TEST_F(OutsideChangesTest, neverShareTheDocumentsBytes) {
  const std::string large(3 * kMiB, 'a');
  file = folder.write("data.bin", large);
  auto editor = openEditor(file);
  rewrite(large + "b");
  platform.fileWatcher.tell(file);
  platform.executor.advance(200ms);
  const std::uint8_t* const place = editor.document->storage()->bytes.data();
  int steps = 0;
  while (platform.executor.runOneWork()) {
    // An edit of shared bytes would have to copy them.
    editor.document->storage()->bytes.set(0, 'a');
    EXPECT_EQ(editor.document->storage()->bytes.data(), place);
    platform.executor.runPosted();
    ++steps;
  }
  EXPECT_EQ(steps, 4);
  EXPECT_EQ(editor.window->outsideChange,
            "data.bin changed on disk: 1 range, 1 byte, first at 0x00300000.");
}

TEST_F(OutsideChangesTest, inAFileThatIsStillBeingWrittenAreToldWhenItRests) {
  auto editor = openEditor(file);
  rewrite("0123456789abc");
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.before(SystemCall::pread, 1, [&] { folder.append("data.bin", "d"); });
  EXPECT_EQ(line(editor), "data.bin changed on disk.");
  EXPECT_FALSE(editor.window->outsideChoices.canShow);
  // Without any event, and after twice the time.
  platform.executor.advance(399ms);
  EXPECT_FALSE(platform.executor.hasWork());
  platform.executor.advance(1ms);
  platform.executor.runAll();
  EXPECT_EQ(editor.window->outsideChange,
            "data.bin changed on disk: 1 range, 4 bytes, first at 0x0000000A.");
}

TEST_F(OutsideChangesTest, ofAFileThatNeverRestsAreLookedForEveryFiveSeconds) {
  auto editor = openEditor(file);
  rewrite("0123456789abc");
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.before(SystemCall::pread, FaultySystemCalls::kEvery,
               [&] { folder.append("data.bin", "d"); });
  int looks = 0;
  for (int i = 0; i < 600; ++i) {
    platform.fileWatcher.tell(file);
    platform.executor.advance(100ms);
    if (platform.executor.hasWork()) ++looks;
    platform.executor.runAll();
  }
  EXPECT_GE(looks, 12);
  EXPECT_LE(looks, 18);
  EXPECT_EQ(editor.window->outsideChangesShown, 1);
}

TEST_F(OutsideChangesTest, thatCannotBeReadAreToldWhereTheyAreCertain) {
  auto editor = openEditor(file);
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.fail(SystemCall::pread, FaultySystemCalls::kEvery, EIO);
  rewrite("x123456789");
  EXPECT_EQ(line(editor), "");
  rewrite("x");
  EXPECT_EQ(line(editor), "data.bin changed on disk.");
  replace("xy");
  EXPECT_EQ(line(editor), "data.bin was replaced on disk.");
  EXPECT_TRUE(editor.window->outsideChoices.canReload);
}

TEST_F(OutsideChangesTest, ofAFileWhoseStatusIsUnknownAreNone) {
  auto editor = openEditor(file);
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  calls.fail(SystemCall::fstatat, FaultySystemCalls::kEvery, EACCES);
  EXPECT_EQ(line(editor), "");
}

TEST_F(OutsideChangesTest, doNotKeepASaveFromTheFile) {
  auto editor = openEdited(file);
  const std::string large(3 * kMiB, 'a');
  rewrite(large);
  platform.fileWatcher.tell(file);
  platform.executor.advance(200ms);
  // A look is half way; the save that begins now is not refused.
  platform.executor.runOneWork();
  platform.alerts.expect("The file has been changed by another program.",
                         "Saving now replaces those changes by the bytes in this window.",
                         "Overwrite");
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "J123456789");
}

TEST_F(OutsideChangesTest, areWatchedInTheFileOfTheDocument) {
  auto editor = openEdited(file);
  EXPECT_THAT(platform.fileWatcher.watched(), testing::ElementsAre(file));
  const FileLocation copy = folder.location("copy.bin");
  platform.filePanels.saveAnswers.push_back(copy);
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_THAT(platform.fileWatcher.watched(), testing::ElementsAre(copy));
  editor.window->closeWindow();
  EXPECT_THAT(platform.fileWatcher.watched(), testing::IsEmpty());
  EXPECT_TRUE(makeEditor("untitled").document);
  EXPECT_THAT(platform.fileWatcher.watched(), testing::IsEmpty());
}

TEST_F(OutsideChangesTest, foundAfterTheWindowHasClosedAreDropped) {
  auto editor = openEditor(file);
  rewrite("x");
  platform.fileWatcher.tell(file);
  platform.executor.advance(200ms);
  platform.executor.runOneWork();
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_EQ(editor.window->outsideChangesShown, 0);
}

TEST_F(OutsideChangesTest, areShownInAReport) {
  auto editor = openEditor(file);
  rewrite("0x2345yyy9");
  tell();
  editor->outsideChanges().showReport();
  ASSERT_EQ(editor.window->reports.size(), 1U);
  EXPECT_EQ(editor.window->reports[0].first, "Changes on Disk");
  EXPECT_EQ(editor.window->reports[0].second,
            "File: " + file.path() +
                "\n2 ranges, 4 bytes, first at 0x00000001\n"
                "Old: the bytes in the window. New: the bytes on disk.\n"
                "\n0x00000001  1 byte\n  Old: 31\n  New: 78\n"
                "\n0x00000006  3 bytes\n  Old: 36 37 38\n  New: 79 79 79\n");
}

}  // namespace
}  // namespace quillmor::test
