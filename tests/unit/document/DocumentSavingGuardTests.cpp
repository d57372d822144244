// What a save through the window must not lose: files of other programs, the file that was to be
// overwritten, an edit made meanwhile; and what it need not ask.

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/StableFileStatus.h"
#include "support/FaultySystemCalls.h"
#include "support/FileAccessTest.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kCouldNotOpen = "Could not open the document output file.";
constexpr const char* kCouldNotWrite = "Could not write the document data.";
constexpr const char* kQuestion = "The file has been changed by another program.";
constexpr const char* kQuestionText =
    "Saving now replaces those changes by the bytes in this window.";
constexpr const char* kChanged =
    "The file was changed or replaced by another program while the document was being saved. "
    "Nothing was overwritten; choose the destination again.";

class DocumentSavingGuard : public WindowFixture {
 protected:
  void save() {
    editor->perform("forwardSaveDocument:");
    platform.executor.runAll();
  }

  /// Saves without the window, which lets nobody stop it; returns how that ended.
  DocumentSaveResult saveStoppably(
      const FileLocation& destination, DocumentSaveOperation operation,
      const std::function<void()>& willWrite = [] {}) {
    std::optional<DocumentSaveResult> result;
    DocumentSaver::Hooks hooks;
    hooks.progress = progress;
    hooks.willWrite = willWrite;
    hooks.confirmOverwritingChangedFile = [] { return ADD_FAILURE() << "a question", false; };
    hooks.completion = [&](const DocumentSaveOutcome& outcome) { result = outcome.result; };
    saver.save(editor.document, destination, operation, std::move(hooks));
    platform.executor.runAll();
    return result.value();
  }

  void beginSaveAs(const std::string& name) {
    platform.filePanels.saveAnswers.push_back(folder.location(name));
    editor->perform("forwardSaveDocumentAs:");
  }

  void saveAs(const std::string& name) {
    beginSaveAs(name);
    platform.executor.runAll();
  }

  /// Runs `change` after the save has looked at its destination and before it opens that.
  void changeBetweenLookAndOpen(const std::function<void()>& change) {
    platform.executor.runOneWork();
    change();
    platform.executor.runAll();
  }

  void renameIntoPlace(const std::string& name) {
    folder.write("other", "another program's");
    fs::rename(folder.path() / "other", folder.path() / name);
  }

  void setModificationTime(const struct timespec& time) {
    const struct timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, time};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.path().c_str(), times, 0), 0);
  }

  struct timespec modificationTime() const {
    struct stat status {};
    EXPECT_EQ(::lstat(file.path().c_str(), &status), 0);
    return status.st_mtim;
  }

  FaultySystemCalls calls;
  std::shared_ptr<TaskProgress> progress = std::make_shared<TaskProgress>();
  FileLocation file = folder.write("data.bin", "hello");
  EditorUnderTest editor = openEdited(file);
};

TEST_F(DocumentSavingGuard, asNeverOverwritesAFileThatAppearedAfterTheLook) {
  beginSaveAs("new.bin");
  platform.alerts.expect("Save Failed", kChanged);
  changeBetweenLookAndOpen([&] { renameIntoPlace("new.bin"); });
  EXPECT_EQ(folder.read("new.bin"), "another program's");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_EQ(editor.document->location(), file);
}

TEST_F(DocumentSavingGuard, asNeverOverwritesAFileThatWasReplacedAfterTheLook) {
  folder.write("chosen.bin", "chosen");
  beginSaveAs("chosen.bin");
  platform.alerts.expect("Save Failed", kChanged);
  changeBetweenLookAndOpen([&] { renameIntoPlace("chosen.bin"); });
  EXPECT_EQ(folder.read("chosen.bin"), "another program's");
}

TEST_F(DocumentSavingGuard, asksWhenTheFileIsReplacedAfterTheLook) {
  editor->perform("forwardSaveDocument:");
  platform.alerts.expect(kQuestion, kQuestionText, "Cancel");
  changeBetweenLookAndOpen([&] { renameIntoPlace("data.bin"); });
  EXPECT_EQ(TemporaryFolder::read(file), "another program's");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_FALSE(editor->isBusy());

  platform.alerts.expect(kQuestion, kQuestionText, "Overwrite");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSavingGuard, asksAgainWhenTheFileIsReplacedAfterTheQuestion) {
  renameIntoPlace("data.bin");
  editor->perform("forwardSaveDocument:");
  platform.alerts.expect(kQuestion, kQuestionText, "Overwrite");
  platform.executor.runOneWork();
  platform.executor.runPosted();
  calls.before(SystemCall::open, 1, [&] { renameIntoPlace("data.bin"); });
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect(kQuestion, kQuestionText, "Overwrite");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSavingGuard, looksAtTheFileOffTheMainThreadOnly) {
  renameIntoPlace("data.bin");
  editor->perform("forwardSaveDocument:");
  platform.alerts.expect(kQuestion, kQuestionText, "Overwrite");
  while (platform.executor.runOneWork()) {
    const ScopedSystemCalls scope(calls);
    platform.executor.runPosted();
  }
  EXPECT_TRUE(calls.log().empty());
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
}

TEST_F(DocumentSavingGuard, asNeverLandsOnADocumentThatWasOpenedMeanwhile) {
  const auto chosen = folder.write("chosen.bin", "chosen");
  beginSaveAs("chosen.bin");
  const auto other = documents.makeUntitledDocument(platform.executor);
  other->read(chosen);
  other->openingReadReservationHolder().releaseAll();
  platform.alerts.expect("Save Failed",
                         "Choose a different output destination. Writing to chosen.bin would "
                         "overwrite an open document or another input file.");
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(chosen), "chosen");
  EXPECT_TRUE(isUnreserved(chosen));
}

TEST_F(DocumentSavingGuard, asThatFailsLeavesNoNewFile) {
  for (const SystemCall kind : {SystemCall::write, SystemCall::fsync, SystemCall::close}) {
    FaultySystemCalls faulty;
    faulty.limitCount(SystemCall::write, 1, 2);
    faulty.fail(kind, kind == SystemCall::write ? 2 : 1, EIO);
    const ScopedSystemCalls scope(faulty);
    platform.alerts.expect(
        "Save Failed", kind == SystemCall::write ? kCouldNotWrite : Error::posix(EIO).message());
    saveAs("new.bin");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"data.bin"});
    EXPECT_EQ(editor.document->location(), file);
    EXPECT_TRUE(editor.window->isEdited);
  }
}

TEST_F(DocumentSavingGuard, asThatFailsLeavesTheChosenFileWithItsOldBytes) {
  const auto chosen = folder.write("chosen.bin", "what was chosen");
  fs::create_hard_link(chosen.path(), folder.path() / "hard.bin");
  ASSERT_EQ(::chmod(chosen.path().c_str(), 0640), 0);
  const auto before = SecureFileAccess::fileStatus(chosen, FollowSymlinks::no);
  calls.limitCount(SystemCall::write, 1, 2);
  calls.fail(SystemCall::write, 2, ENOSPC);
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect("Save Failed", kCouldNotWrite);
  saveAs("chosen.bin");
  const auto after = SecureFileAccess::fileStatus(chosen, FollowSymlinks::no);
  EXPECT_EQ(after.identity(), before.identity());
  EXPECT_EQ(after.mode, before.mode);
  EXPECT_EQ(folder.read("hard.bin"), "what was chosen");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_EQ(editor.document->location(), file);
}

TEST_F(DocumentSavingGuard, asSaysWhenTheChosenFileIsIncomplete) {
  folder.write("chosen.bin", "what was chosen");
  calls.fail(SystemCall::write, FaultySystemCalls::kEvery, ENOSPC);
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect("Save Failed",
                         std::string(kCouldNotWrite) + " The file is incomplete now.");
  saveAs("chosen.bin");
}

TEST_F(DocumentSavingGuard, asTouchesNoFileThatCouldNotBeRestored) {
  folder.write("chosen.bin", "what was chosen");
  calls.fail(SystemCall::pread, 1, EIO);
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect("Save Failed", Error::posix(EIO).message());
  saveAs("chosen.bin");
  EXPECT_EQ(folder.read("chosen.bin"), "what was chosen");
  EXPECT_EQ(calls.count(SystemCall::ftruncate), 0);
}

TEST_F(DocumentSavingGuard, asOverwritesAFileThatMayNotBeRead) {
  folder.write("chosen.bin", "what was chosen");
  // The first one looks whether it may be written.
  calls.fail(SystemCall::open, 2, EACCES);
  const ScopedSystemCalls scope(calls);
  saveAs("chosen.bin");
  EXPECT_EQ(folder.read("chosen.bin"), "Jello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSavingGuard, asCanBeStoppedWhileItReadsWhatItOverwrites) {
  const std::string old(3145728, 'o');
  const auto chosen = folder.write("chosen.bin", old);
  calls.before(SystemCall::pread, 1, [&] { progress->requestStop(); });
  const ScopedSystemCalls scope(calls);
  EXPECT_EQ(saveStoppably(chosen, DocumentSaveOperation::saveAs), DocumentSaveResult::cancelled);
  EXPECT_EQ(calls.count(SystemCall::pread), 1);
  EXPECT_EQ(TemporaryFolder::read(chosen), old);
}

TEST_F(DocumentSavingGuard, asOverwritesAFileThatIsTooLargeToBeKept) {
  const auto limit = QuillmorResourceLimits::maximumDocumentByteCount();
  const auto chosen = folder.write("chosen.bin", "");
  fs::resize_file(chosen.path(), static_cast<std::uintmax_t>(limit) + 1);
  saveAs("chosen.bin");
  EXPECT_EQ(TemporaryFolder::read(chosen), "Jello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSavingGuard, looksAtTheLimitOfFileSizesBeforeItTouchesTheFile) {
  const ScopedSystemCalls scope(calls);
  calls.limitFileSize(4);
  platform.alerts.expect("Save Failed", kCouldNotWrite);
  save();
  EXPECT_EQ(calls.count(SystemCall::ftruncate), 0);
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
  EXPECT_TRUE(editor.window->isEdited);
  calls.limitFileSize(5);
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  type(editor, "E");
  calls.limitFileSize(6);
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "JEllo");
}

TEST_F(DocumentSavingGuard, looksAtTheRightToWriteBeforeItAsksOrTouchesAnything) {
  renameIntoPlace("data.bin");
  const ScopedSystemCalls scope(calls);
  calls.fail(SystemCall::open, 1, EROFS);
  platform.alerts.expect("Save Failed", kCouldNotOpen);
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "another program's");
}

TEST_F(DocumentSavingGuard, asksNothingWhenOnlyPermissionsTimesOrLinksHaveChanged) {
  const std::function<void()> changes[] = {
      [&] { ASSERT_EQ(::chmod(file.path().c_str(), 0600), 0); },
      [&] { setModificationTime({.tv_sec = 1, .tv_nsec = 2}); },
      [&] { fs::create_hard_link(file.path(), folder.path() / "hard.bin"); },
      [&] { TemporaryFolder::read(file); }};
  const std::string typed = "abcd";
  std::string expected = "Jello";
  for (std::size_t i = 0; i < std::size(changes); ++i) {
    changes[i]();
    save();
    EXPECT_EQ(TemporaryFolder::read(file), expected) << "change " << i;
    EXPECT_FALSE(editor.window->isEdited) << "change " << i;
    type(editor, typed.substr(i, 1));
    expected[i + 1] = typed[i];
  }
}

TEST_F(DocumentSavingGuard, asksNothingOfALargeFileWhenOnlyItsTimeHasChanged) {
  const auto large = folder.write("large.bin", "");
  fs::resize_file(large.path(), 67108865);
  const auto other = openEdited(large);
  for (const std::string letter : {"a", "b"}) {
    fs::last_write_time(large.path(), fs::file_time_type::clock::now() + std::chrono::hours(1));
    other->perform("forwardSaveDocument:");
    platform.executor.runAll();
    EXPECT_FALSE(other.window->isEdited) << "before " << letter;
    type(other, letter);
  }
}

TEST_F(DocumentSavingGuard, asksNothingOfAFileThatTheDocumentHasReadItself) {
  const auto second = folder.write("second.bin", "second");
  const auto document = documents.makeUntitledDocument(platform.executor);
  document->read(second);
  ASSERT_EQ(::chmod(second.path().c_str(), 0600), 0);
  ASSERT_TRUE(document->knownFile());
  EXPECT_FALSE(document->knownFile()->hasChanged(SecureFileAccess::documentDestination(second)));
}

TEST_F(DocumentSavingGuard, openingReadsTheFileOnce) {
  const auto second = folder.write("second.bin", "second");
  const ScopedSystemCalls scope(calls);
  const auto other = openEditor(second);
  EXPECT_TRUE(other.document->knownFile()->digest.has_value());
  EXPECT_EQ(calls.count(SystemCall::open), 1);
}

TEST_F(DocumentSavingGuard, canBeStoppedWhileItComparesTheBytes) {
  setModificationTime({.tv_sec = 1, .tv_nsec = 2});
  calls.before(SystemCall::pread, 1, [&] { progress->requestStop(); });
  const ScopedSystemCalls scope(calls);
  EXPECT_EQ(saveStoppably(file, DocumentSaveOperation::save), DocumentSaveResult::cancelled);
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
}

TEST_F(DocumentSavingGuard, adoptsNobodysBytesWhenItWasStoppedBeforeTheWrite) {
  const auto changeAndStop = [&] {
    folder.write("data.bin", "another program's");
    progress->requestStop();
  };
  EXPECT_EQ(saveStoppably(file, DocumentSaveOperation::save, changeAndStop),
            DocumentSaveResult::cancelled);
  platform.alerts.expect(kQuestion, kQuestionText, "Cancel");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "another program's");
}

TEST_F(DocumentSavingGuard, adoptsNobodysBytesWhenTheFileCouldNotBeOpened) {
  {
    const ScopedSystemCalls scope(calls);
    calls.fail(SystemCall::open, 1, EMFILE);
    platform.alerts.expect("Save Failed", kCouldNotOpen);
    editor->perform("forwardSaveDocument:");
    changeBetweenLookAndOpen([&] { folder.write("data.bin", "another program's"); });
  }
  platform.alerts.expect(kQuestion, kQuestionText, "Cancel");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "another program's");
}

TEST_F(DocumentSavingGuard, asksWhenTheBytesHaveChangedBehindTheOldTime) {
  const auto time = modificationTime();
  folder.write("data.bin", "HELLO");
  setModificationTime(time);
  platform.alerts.expect(kQuestion, kQuestionText, "Cancel");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "HELLO");
}

TEST_F(DocumentSavingGuard, asksWhenTheBytesHaveChangedSinceTheLastSave) {
  save();
  type(editor, "E");
  folder.write("data.bin", "hello");
  platform.alerts.expect(kQuestion, kQuestionText, "Cancel");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
}

TEST_F(DocumentSavingGuard, asksWhenAnotherFileWithTheSameBytesIsInThePlace) {
  folder.write("other", "hello");
  fs::rename(folder.path() / "other", folder.path() / "data.bin");
  platform.alerts.expect(kQuestion, kQuestionText, "Cancel");
  save();
}

TEST_F(DocumentSavingGuard, asksWhenTheBytesCannotBeCompared) {
  ASSERT_EQ(::chmod(file.path().c_str(), 0600), 0);
  calls.fail(SystemCall::pread, 1, EIO);
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect(kQuestion, kQuestionText, "Cancel");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
}

TEST_F(DocumentSavingGuard, readsNothingWhenNothingHasChanged) {
  const ScopedSystemCalls scope(calls);
  save();
  EXPECT_EQ(calls.count(SystemCall::pread), 0);
}

TEST_F(DocumentSavingGuard, leavesAnEditMadeDuringTheWriteUnsaved) {
  editor->perform("forwardSaveDocument:");
  platform.executor.runOneWork();
  platform.executor.runPosted();
  ASSERT_EQ(editor.window->statusText, "Saving data.bin");
  editor.document->undoManager().registerUndo(this, [] {});
  editor.document->storage()->bytes.set(1, 'E');
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_TRUE(editor.document->isDocumentEdited());
  EXPECT_TRUE(editor.window->isEdited);
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "JEllo");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSavingGuard, belowAFileOrUnderANameThatIsTooLongSaysThatItCannotBeOpened) {
  for (const std::string& name : {std::string("data.bin/x"), std::string(300, 'n')}) {
    platform.alerts.expect("Save Failed", kCouldNotOpen);
    saveAs(name);
    EXPECT_FALSE(editor->isBusy());
    EXPECT_TRUE(editor.window->isEdited);
  }
}

}  // namespace
}  // namespace quillmor::test
