// What becomes of the records of unsaved changes with the life of a window.

#include <gtest/gtest.h>

#include <string>

#include "recovery/JournalReader.h"
#include "support/FaultySystemCalls.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

class UnsavedChangesOfWindowsTest : public WindowFixture {
 protected:
  UnsavedChangesOfWindowsTest() { records = &store; }

  /// An editor with a file and a recorded unsaved change.
  EditorUnderTest recordedEditor() {
    EditorUnderTest editor = openEdited(folder.write("data.bin", "hello"));
    platform.executor.runAll();
    EXPECT_EQ(recordCount(), 1U);
    return editor;
  }

  void answer(const std::string& button) {
    platform.alerts.expect("Do you want to save the changes you made to \"data.bin\"?",
                           "Your changes will be lost if you don't save them.", button);
  }

  static bool mayClose(const EditorUnderTest& editor) {
    bool answer = false;
    editor->requestClose([&](bool may) { answer = may; });
    return answer;
  }

  std::size_t recordCount() const { return store.list().size(); }

  RecordStore store{folder.location("state/records")};
};

TEST_F(UnsavedChangesOfWindowsTest, hasEveryEditOfAWindow) {
  const EditorUnderTest editor = openEditor(folder.write("data.bin", "hello"));
  platform.executor.runAll();
  EXPECT_EQ(recordCount(), 0U);
  type(editor, "JE");
  typeHex(editor, "41");
  editor->perform("forwardUndo:");
  editor->perform("forwardRedo:");
  EXPECT_TRUE(editor->unsavedChanges().keepNow());
  ASSERT_EQ(recordCount(), 1U);
  const auto record = store.list().front();
  const auto replayed =
      replayJournal(store.readJournal(record).span(), ByteBuffer({'h', 'e', 'l', 'l', 'o'}), {});
  EXPECT_EQ(replayed.bytes, editor.document->storage()->bytes);
  EXPECT_EQ(replayed.entryCount, 6) << "two letters, two digits, undo, redo";
  EXPECT_EQ(record.header->path, folder.location("data.bin").path());
  EXPECT_EQ(record.header->file, editor.document->knownFile()->status);
  editor->perform("forwardUndo:");
  editor->leaveRecordsBehind();
}

TEST_F(UnsavedChangesOfWindowsTest, goWithAWindowThatIsClosedWithoutSaving) {
  const EditorUnderTest editor = recordedEditor();
  answer("Don't Save");
  ASSERT_TRUE(mayClose(editor));
  platform.executor.runAll();
  EXPECT_EQ(recordCount(), 1U) << "the answer alone closes nothing";
  editor->windowWillClose();
  platform.executor.runAll();
  EXPECT_EQ(recordCount(), 0U);
}

TEST_F(UnsavedChangesOfWindowsTest, stayWhenTheWindowIsNotClosedAndThereAreMore) {
  const EditorUnderTest editor = recordedEditor();
  answer("Don't Save");
  ASSERT_TRUE(mayClose(editor));
  type(editor, "X");
  editor->windowWillClose();
  platform.executor.runAll();
  EXPECT_EQ(recordCount(), 1U) << "nobody was asked about the second change";
}

TEST_F(UnsavedChangesOfWindowsTest, stayWhenTheProcessEndsWithoutAsking) {
  const EditorUnderTest editor = recordedEditor();
  answer("Don't Save");
  ASSERT_TRUE(mayClose(editor));
  editor->leaveRecordsBehind();
  editor->windowWillClose();
  platform.executor.runAll();
  EXPECT_EQ(recordCount(), 1U);
}

TEST_F(UnsavedChangesOfWindowsTest, stayWhenAWindowClosesThatNobodyWasAskedAbout) {
  const EditorUnderTest editor = recordedEditor();
  type(editor, "E");
  editor->windowWillClose();
  platform.executor.runAll();
  ASSERT_EQ(recordCount(), 1U);
  const auto journal = store.readJournal(store.list().front());
  EXPECT_EQ(replayJournal(journal.span(), ByteBuffer({'h', 'e', 'l', 'l', 'o'}), {}).entryCount, 2);
}

TEST_F(UnsavedChangesOfWindowsTest, goWithASave) {
  const EditorUnderTest editor = recordedEditor();
  editor->perform("forwardSaveDocument:");
  platform.executor.runAll();
  EXPECT_EQ(folder.read("data.bin"), "Jello");
  EXPECT_EQ(recordCount(), 0U);
}

TEST_F(UnsavedChangesOfWindowsTest, goWhenTheirDocumentIsReplaced) {
  const EditorUnderTest editor = recordedEditor();
  platform.alerts.expect("Replace Current Document?",
                         "The current document has unsaved changes. Save before opening another "
                         "file in this window?",
                         "Don't Save");
  editor->commands().replacement().openURLInCurrentWindow(folder.write("other.bin", "other"),
                                                          [](OpenCurrentResult) {});
  platform.executor.runAll();
  ASSERT_EQ(editor.text(), "other");
  EXPECT_EQ(recordCount(), 0U);
  type(editor, "X");
  EXPECT_TRUE(editor->unsavedChanges().keepNow());
  ASSERT_EQ(recordCount(), 1U);
  EXPECT_EQ(store.list().front().header->path, folder.location("other.bin").path());
}

TEST_F(UnsavedChangesOfWindowsTest, areMissedOnlyWithANotice) {
  const EditorUnderTest editor = openEditor(folder.write("data.bin", "hello"));
  FaultySystemCalls calls;
  calls.fail(SystemCall::openat, FaultySystemCalls::kEvery, EROFS);
  const ScopedSystemCalls scope(calls);
  type(editor, "J");
  platform.executor.runAll();
  EXPECT_EQ(editor.window->notice,
            "Unsaved changes cannot be kept for a recovery: Could not write the recovery record. "
            "(Read-only file system)");
  type(editor, "E");
  platform.executor.runAll();
  EXPECT_EQ(editor.window->notice, "");
}

TEST_F(UnsavedChangesOfWindowsTest, areNotKeptWithoutAStore) {
  records = nullptr;
  const EditorUnderTest editor = openEdited(folder.write("data.bin", "hello"));
  platform.executor.runAll();
  EXPECT_FALSE(editor->unsavedChanges().keepNow());
  EXPECT_FALSE(folder.exists("state"));
}

}  // namespace
}  // namespace quillmor::test
