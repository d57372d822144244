// Saving while the system fails: what is reported, what stays, and that the next try can succeed.

#include <gmock/gmock.h>

#include <cerrno>

#include "support/FaultySystemCalls.h"
#include "support/MemorySafetyCopies.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

class DocumentSavingFaults : public WindowFixture {
 protected:
  using WindowFixture::WindowFixture;
  void SetUp() override {
    file = folder.write("data.bin", "hello");
    editor = openEditor(file);
    type(editor, "J");
  }

  void save() {
    editor->perform("forwardSaveDocument:");
    platform.executor.runAll();
  }

  /// One save fails with `message`; the next one, with a healthy system, asks nothing and succeeds.
  void expectFailureAndRecovery(const std::string& message) {
    {
      const ScopedSystemCalls scope(calls);
      platform.alerts.expect("Save Failed", message);
      save();
    }
    EXPECT_EQ(editor.text(), "Jello");
    EXPECT_TRUE(editor.window->isEdited);
    EXPECT_TRUE(editor.document->undoManager().canUndo());
    EXPECT_FALSE(editor->isBusy());
    save();
    EXPECT_EQ(TemporaryFolder::read(file), "Jello");
    EXPECT_FALSE(editor.window->isEdited);
  }

  FaultySystemCalls calls;
  FileLocation file = FileLocation::fromPath("/");
  EditorUnderTest editor;
};

TEST_F(DocumentSavingFaults, reportAFullDisk) {
  calls.fail(SystemCall::write, 1, ENOSPC);
  expectFailureAndRecovery("Could not write the document data. The file is incomplete now.");
}

TEST_F(DocumentSavingFaults, reportADefectiveDisk) {
  calls.fail(SystemCall::write, 1, EIO);
  expectFailureAndRecovery("Could not write the document data. The file is incomplete now.");
}

TEST_F(DocumentSavingFaults, reportAWriteThatMovesNothing) {
  calls.limitCount(SystemCall::write, FaultySystemCalls::kEvery, 0);
  expectFailureAndRecovery(
      "The document write stopped before all data was saved. The file is incomplete now.");
}

TEST_F(DocumentSavingFaults, reportAFileThatMayNotBeWritten) {
  calls.fail(SystemCall::open, 1, EACCES);
  expectFailureAndRecovery("Could not open the document output file.");
}

TEST_F(DocumentSavingFaults, reportAFileThatCannotBeEmptied) {
  calls.fail(SystemCall::ftruncate, 1, EIO);
  expectFailureAndRecovery("Could not prepare the document output file.");
}

TEST_F(DocumentSavingFaults, reportBytesThatDoNotReachTheDisk) {
  calls.fail(SystemCall::fsync, 1, EIO);
  editor->perform("forwardSaveDocument:");
  const ScopedSystemCalls scope(calls);
  platform.executor.runOneWork();
  platform.alerts.expect("Save Failed",
                         Error::posix(EIO).message() + " The file is incomplete now.");
  platform.executor.runAll();
  EXPECT_TRUE(editor.window->isEdited);
}

TEST_F(DocumentSavingFaults, nameTheFailedWriteEvenWhenTheFileCannotBeLookedAtAfterwards) {
  calls.fail(SystemCall::write, 1, ENOSPC);
  calls.before(SystemCall::write, 1,
               [&] { calls.fail(SystemCall::fstatat, FaultySystemCalls::kEvery, EIO); });
  const ScopedSystemCalls scope(calls);
  platform.alerts.expect("Save Failed",
                         "Could not write the document data. The file is incomplete now.");
  save();
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(DocumentSavingFaults, doNotShowWhenCallsAreOnlyInterruptedOrShort) {
  calls.interruptEveryCall();
  calls.limitCount(SystemCall::write, FaultySystemCalls::kEvery, 2);
  const ScopedSystemCalls scope(calls);
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(DocumentSavingFaults, ofASaveAsLeaveTheDocumentWhereItWas) {
  calls.fail(SystemCall::write, 1, ENOSPC);
  const ScopedSystemCalls scope(calls);
  platform.filePanels.saveAnswers.push_back(folder.location("copy.bin"));
  platform.alerts.expect("Save Failed", "Could not write the document data.");
  editor->perform("forwardSaveDocumentAs:");
  platform.executor.runAll();
  EXPECT_EQ(editor.document->location(), file);
  EXPECT_EQ(editor.window->title, "data.bin");
  EXPECT_TRUE(editor.window->isEdited);
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
}

TEST_F(DocumentSavingFaults, neverAskAClosedWindowWhetherToOverwrite) {
  folder.write("data.bin", "other program");
  editor->perform("forwardSaveDocument:");
  editor.window->closeWindow();
  editor = {};
  platform.executor.runAll();
  EXPECT_EQ(TemporaryFolder::read(file), "other program");
}

/// The same with safety copies.
class TornSaves : public DocumentSavingFaults {
 protected:
  TornSaves() : TornSaves(std::make_shared<MemorySafetyCopies>()) {}
  explicit TornSaves(const std::shared_ptr<MemorySafetyCopies>& safetyCopies)
      : DocumentSavingFaults(safetyCopies), copies(safetyCopies) {}

  void tear() {
    FaultySystemCalls faulty;
    faulty.fail(SystemCall::write, 1, EIO);
    const ScopedSystemCalls scope(faulty);
    platform.alerts.expect("Save Failed",
                           "Could not write the document data. The file is incomplete now. Its new "
                           "bytes are kept for recovery.");
    save();
    EXPECT_THAT(copies->kept, testing::ElementsAre("Jello"));
  }

  const std::shared_ptr<MemorySafetyCopies> copies;
};

TEST_F(TornSaves, keepTheirCopyUntilALaterSaveSucceeds) {
  tear();
  save();
  EXPECT_TRUE(copies->kept.empty());
  EXPECT_FALSE(editor.document->unfinishedSave());
}

TEST_F(TornSaves, areNotForgottenByUndo) {
  tear();
  editor->perform("forwardUndo:");
  EXPECT_TRUE(editor.document->isDocumentEdited()) << "the file has neither these bytes nor those";
}

TEST_F(TornSaves, keepTheirCopyWhenAnotherFileIsOpened) {
  tear();
  platform.alerts.expect("Replace Current Document?",
                         "The current document has unsaved changes. Save before opening another "
                         "file in this window?",
                         "Don't Save");
  editor->commands().replacement().openURLInCurrentWindow(folder.write("other.bin", "x"),
                                                          [](auto) {});
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "x");
  EXPECT_THAT(copies->kept, testing::ElementsAre("Jello"));
}

TEST_F(TornSaves, loseTheirCopyWhenTheWindowClosesWithoutSaving) {
  tear();
  platform.alerts.expect("Do you want to save the changes you made to \"data.bin\"?",
                         "Your changes will be lost if you don't save them.", "Don't Save");
  editor->requestClose([&](bool mayClose) {
    ASSERT_TRUE(mayClose);
    editor.window->closeWindow();
  });
  platform.executor.runAll();
  EXPECT_TRUE(copies->kept.empty());
}

TEST_F(TornSaves, haveNoCopyOnlyWhenTheUserWantsIt) {
  const auto expectQuestion = [&](const std::string& answer) {
    platform.alerts.expect(
        "Save Without a Safety Copy?",
        "There is no room for a copy of the new bytes, neither in Quillmor's own folder nor beside "
        "the file. If saving is interrupted, the old and the new bytes can be lost.",
        answer);
  };
  copies->failure = Error::posix(ENOSPC);
  expectQuestion("Cancel");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
  // A failure of such a save is told like any other, and asked about once.
  expectQuestion("Save Anyway");
  platform.alerts.expect("Save Failed",
                         "Could not write the document data. The file is incomplete now.");
  {
    FaultySystemCalls faulty;
    faulty.fail(SystemCall::write, 1, EIO);
    const ScopedSystemCalls scope(faulty);
    save();
  }
  expectQuestion("Save Anyway");
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "Jello");
  EXPECT_FALSE(editor.window->isEdited);
}

TEST_F(TornSaves, areNotBegunWhenTheDiskOfTheCopyIsDefective) {
  copies->failure = Error::posix(EIO);
  platform.alerts.expect("Save Failed", Error::posix(EIO).message());
  save();
  EXPECT_EQ(TemporaryFolder::read(file), "hello");
  EXPECT_TRUE(editor.window->isEdited);
}

}  // namespace
}  // namespace quillmor::test
