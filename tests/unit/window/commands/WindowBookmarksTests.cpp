// The bookmark commands of an editor window, and bookmarks under edits, undo and redo.

#include "base/HexText.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

using Offsets = std::vector<std::int64_t>;

class WindowBookmarks : public WindowFixture {
 protected:
  void expectAlert(const std::string& text) { platform.alerts.expect("Bookmarks", text); }

  void add(std::int64_t offset) {
    editor.editor().setCaretOffset(offset);
    expectAlert("Added bookmark at 0x" + uppercaseHex(offset, 8) + ".");
    editor->perform("forwardAddBookmark:");
  }

  void addAll(std::initializer_list<std::int64_t> offsets) {
    for (const std::int64_t offset : offsets) add(offset);
  }

  Offsets offsets() const { return editor->bookmarks().offsets(); }
  std::int64_t caret() const { return editor.editor().caretOffset(); }

  EditorUnderTest editor = makeEditor(std::string(64, 'x'));
};

TEST_F(WindowBookmarks, areKeptInOrder) {
  addAll({20, 5, 63, 64, 0});
  EXPECT_EQ(offsets(), (Offsets{0, 5, 20, 63, 64}));
}

TEST_F(WindowBookmarks, areNotAddedTwice) {
  add(31);
  expectAlert("Bookmark already exists at 0x0000001F.");
  editor->perform("forwardAddBookmark:");
  EXPECT_EQ(offsets(), Offsets{31});
}

TEST_F(WindowBookmarks, areRefusedFromTheHundredThousandAndFirst) {
  editor.document->readData(ByteBuffer::uninitialized(200'000));
  for (std::int64_t i = 0; i < 100'000; ++i) add(i);
  editor.editor().setCaretOffset(150'000);
  expectAlert("The bookmark limit of 100000 entries has been reached.");
  editor->perform("forwardAddBookmark:");
  EXPECT_EQ(offsets().size(), 100'000U);
  EXPECT_EQ(offsets().back(), 99'999);
  editor.editor().setCaretOffset(7);
  expectAlert("Bookmark already exists at 0x00000007.");
  editor->perform("forwardAddBookmark:");
}

TEST_F(WindowBookmarks, areWalkedForwardAndWrapAround) {
  addAll({5, 20, 40});
  editor.editor().setCaretOffset(0);
  for (const std::int64_t next : {5, 20, 40, 5}) {
    editor.editor().setSelection({1, 3});
    editor->perform("forwardNextBookmark:");
    EXPECT_EQ(caret(), next);
    EXPECT_EQ(editor.editor().selection(), HexSelection{});
  }
  editor.editor().setCaretOffset(6);
  editor->perform("forwardNextBookmark:");
  EXPECT_EQ(caret(), 20);
  editor.editor().setCaretOffset(41);
  editor->perform("forwardNextBookmark:");
  EXPECT_EQ(caret(), 5);
}

TEST_F(WindowBookmarks, areWalkedBackwardAndWrapAround) {
  addAll({5, 20, 40});
  editor.editor().setCaretOffset(64);
  for (const std::int64_t previous : {40, 20, 5, 40}) {
    editor->perform("forwardPreviousBookmark:");
    EXPECT_EQ(caret(), previous);
  }
  editor.editor().setCaretOffset(2);
  editor->perform("forwardPreviousBookmark:");
  EXPECT_EQ(caret(), 40);
  editor.editor().setCaretOffset(21);
  editor->perform("forwardPreviousBookmark:");
  EXPECT_EQ(caret(), 20);
}

TEST_F(WindowBookmarks, withoutAnyAreToldSo) {
  const std::string none = "No bookmarks are set.";
  expectAlert(none);
  editor->perform("forwardNextBookmark:");
  expectAlert(none);
  editor->perform("forwardPreviousBookmark:");
  expectAlert(none);
  editor->perform("forwardShowBookmarks:");
  EXPECT_EQ(caret(), 0);
}

TEST_F(WindowBookmarks, areClearedWithTheirNumber) {
  addAll({5, 20, 40});
  expectAlert("Cleared 3 bookmark(s).");
  editor->perform("forwardClearBookmarks:");
  EXPECT_TRUE(offsets().empty());
  expectAlert("Cleared 0 bookmark(s).");
  editor->perform("forwardClearBookmarks:");
}

TEST_F(WindowBookmarks, areNotChangedWhileBusy) {
  add(5);
  BusyScope busy = editor->context().frame().beginBusyStatus("Working…");
  ASSERT_TRUE(busy);
  const std::string busyText =
      "Another operation is already running. Wait for it to finish before editing.";
  expectAlert(busyText);
  editor->perform("forwardAddBookmark:");
  expectAlert(busyText);
  editor->perform("forwardClearBookmarks:");
  busy.end();
  EXPECT_EQ(offsets(), Offsets{5});
}

TEST_F(WindowBookmarks, areListedInAReportMadeInTheBackground) {
  addAll({1, 31, 64});
  editor->perform("forwardShowBookmarks:");
  EXPECT_TRUE(editor->isBusy());
  EXPECT_TRUE(editor.window->reports.empty());
  platform.executor.runAll();
  ASSERT_EQ(editor.window->reports.size(), 1U);
  EXPECT_EQ(editor.window->reports[0].first, "Bookmarks");
  EXPECT_EQ(editor.window->reports[0].second,
            "Bookmarks: 3\n\n1  0x00000001\n2  0x0000001F\n3  0x00000040\n");
}

TEST_F(WindowBookmarks, stayUnderAnOverwrite) {
  addAll({4, 8});
  editor.editor().setCaretOffset(4);
  type(editor, "abcd");
  EXPECT_EQ(offsets(), (Offsets{4, 8}));
}

TEST_F(WindowBookmarks, moveWithADeletionAndComeBackWithUndo) {
  addAll({5, 10, 15, 20, 30});
  editor.editor().setSelection({10, 10});
  editor->perform("forwardDeleteSelection:");
  EXPECT_EQ(offsets(), (Offsets{5, 10, 20}));
  editor->perform("forwardUndo:");
  EXPECT_EQ(offsets(), (Offsets{5, 10, 15, 20, 30}));
  editor->perform("forwardRedo:");
  EXPECT_EQ(offsets(), (Offsets{5, 10, 20}));
}

TEST_F(WindowBookmarks, moveBehindWhatIsInsertedAtThem) {
  add(8);
  editor->perform("forwardToggleInsertMode:");
  editor.editor().setCaretOffset(8);
  type(editor, "abc");
  EXPECT_EQ(offsets(), Offsets{11});
  editor->perform("forwardUndo:");
  EXPECT_EQ(offsets(), Offsets{10});
}

TEST_F(WindowBookmarks, comeBackWithASnapshot) {
  addAll({5, 60});
  editor->session().installDocument(editor->session().bytes().slice(0, 10), {5}, "Crop", {});
  expectAlert("Cleared 1 bookmark(s).");
  editor->perform("forwardClearBookmarks:");
  editor->perform("forwardUndo:");
  EXPECT_EQ(offsets(), (Offsets{5, 60}));
  EXPECT_EQ(editor.text().size(), 64U);
  EXPECT_EQ(editor.document->undoManager().redoActionName(), "Crop");
}

}  // namespace
}  // namespace quillmor::test
