// Memory runs out at each allocation of an edit, an undo and a redo in turn. Whatever fails: bytes,
// bookmarks, history and the mark of unsaved changes belong to one state, the one before or the one
// after.

#include <functional>
#include <new>

#include "support/FailingAllocation.h"
#include "support/WindowFixture.h"

#if QUILLMOR_NEW_CAN_FAIL

namespace quillmor::test {
namespace {

constexpr const char* kOriginal = "abcdefgh";

struct State {
  std::string text;
  std::vector<std::int64_t> bookmarks;
  std::int64_t caret = 0;
  HexSelection selection;
  bool operator==(const State&) const = default;
};

void PrintTo(const State& state, std::ostream* out) {
  *out << testing::PrintToString(state.text) << " with bookmarks "
       << testing::PrintToString(state.bookmarks) << ", caret " << state.caret << ", selection "
       << state.selection.start << ", " << state.selection.length;
}

State stateOf(const EditorUnderTest& editor) {
  return {editor.text(), editor->bookmarks().offsets(), editor.editor().caretOffset(),
          editor.editor().selection()};
}

using Action = std::function<void(const EditorUnderTest&)>;

void undo(const EditorUnderTest& editor) {
  editor->perform("forwardUndo:");
}

void redo(const EditorUnderTest& editor) {
  editor->perform("forwardRedo:");
}

class WindowUndoMemory : public WindowFixture {
 protected:
  /// An editor with bookmarks, one step to undo ("Q") and one to redo ("R").
  EditorUnderTest preparedEditor() {
    auto editor = makeEditor(kOriginal);
    for (const char offset : {'1', '5', '8'}) {
      platform.alerts.expect("Bookmarks",
                             std::string("Added bookmark at 0x0000000") + offset + ".");
      editor.editor().setCaretOffset(offset - '0');
      editor->perform("forwardAddBookmark:");
    }
    editor.editor().setCaretOffset(0);
    type(editor, "QR");
    editor->perform("forwardUndo:");
    return editor;
  }

  /// Fails one allocation of `act` after the other and looks at what is left: the state before or
  /// the one after, from which `act` and `takeBack` lead to the right bytes. `prepare` comes first.
  void sweep(const Action& prepare, const Action& act, const Action& takeBack) {
    const State after = [&] {
      auto editor = preparedEditor();
      prepare(editor);
      act(editor);
      return stateOf(editor);
    }();
    int states[2] = {0, 0};
    for (int number = 1;; ++number) {
      SCOPED_TRACE("allocation " + std::to_string(number));
      auto editor = preparedEditor();
      prepare(editor);
      const State before = stateOf(editor);
      ASSERT_NE(before.text, after.text);
      const bool wasEdited = editor.document->isDocumentEdited();
      if (!failsAt(number, act, editor)) break;
      const bool happened = editor.text() == after.text;
      ++states[happened ? 1 : 0];
      ASSERT_EQ(stateOf(editor), happened ? after : before);
      if (!happened) {
        ASSERT_EQ(editor.document->isDocumentEdited(), wasEdited);
        act(editor);
        ASSERT_EQ(stateOf(editor), after);
      }
      ASSERT_TRUE(editor.document->isDocumentEdited() || after.text == kOriginal);
      takeBack(editor);
      ASSERT_EQ(editor.text(), before.text);
      ASSERT_EQ(editor->bookmarks().offsets(), before.bookmarks);
      ASSERT_EQ(editor.document->isDocumentEdited(), wasEdited);
      while (editor.document->undoManager().canUndo()) editor->perform("forwardUndo:");
      ASSERT_EQ(editor.text(), kOriginal);
      ASSERT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{1, 5, 8}));
      ASSERT_FALSE(editor.document->isDocumentEdited());
      editor.window->closeWindow();
    }
    EXPECT_GT(states[0], 2) << "allocations before the change";
    EXPECT_GT(states[1], 0) << "allocations that show the change";
  }

  /// Sweeps an edit, its undo and its redo.
  void sweepEdit(const Action& prepare, const Action& edit) {
    {
      SCOPED_TRACE("the edit");
      sweep(prepare, edit, undo);
    }
    const auto then = [](Action first, Action second) -> Action {
      return [=](const EditorUnderTest& editor) {
        first(editor);
        second(editor);
      };
    };
    const Action edited = then(prepare, edit);
    {
      SCOPED_TRACE("undo");
      sweep(edited, undo, redo);
    }
    SCOPED_TRACE("redo");
    sweep(then(edited, undo), redo, undo);
  }

 private:
  static bool failsAt(int number, const Action& act, const EditorUnderTest& editor) {
    const FailingAllocation failing(number);
    try {
      act(editor);
    } catch (const std::bad_alloc&) {
      EXPECT_TRUE(failing.hasFailed());
    }
    return failing.hasFailed();
  }
};

void select(const EditorUnderTest& editor, HexSelection selection) {
  editor.editor().setCaretOffset(selection.start);
  editor.editor().setSelection(selection);
}

TEST_F(WindowUndoMemory, typedCharactersHappenWhollyOrNotAtAll) {
  const Action prepare = [](const EditorUnderTest& editor) {
    editor.editor().setInsertMode(true);
    editor.editor().setCaretOffset(3);
    editor.editor().setEditingArea(EditingArea::ascii);
  };
  sweepEdit(prepare, [](const EditorUnderTest& editor) { editor.editor().editByte('x'); });
}

TEST_F(WindowUndoMemory, typedDigitsHappenWhollyOrNotAtAll) {
  const Action prepare = [](const EditorUnderTest& editor) {
    editor.editor().setCaretOffset(3);
    // A copy of the bytes, so that changing one takes memory.
    editor.document->canAsynchronouslyWrite();
  };
  sweepEdit(prepare, [](const EditorUnderTest& editor) { editor.editor().editHexNibble(0xA); });
}

TEST_F(WindowUndoMemory, aDigitThatReplacesASelectionHappensWhollyOrNotAtAll) {
  const Action prepare = [](const EditorUnderTest& editor) { select(editor, {2, 4}); };
  sweepEdit(prepare, [](const EditorUnderTest& editor) { editor.editor().editHexNibble(0xA); });
}

TEST_F(WindowUndoMemory, deletingHappensWhollyOrNotAtAll) {
  const Action prepare = [](const EditorUnderTest& editor) { select(editor, {2, 4}); };
  sweepEdit(prepare,
            [](const EditorUnderTest& editor) { editor->perform("forwardDeleteSelection:"); });
}

TEST_F(WindowUndoMemory, pastingHappensWhollyOrNotAtAll) {
  const Action prepare = [](const EditorUnderTest& editor) { select(editor, {2, 2}); };
  sweepEdit(prepare, [](const EditorUnderTest& editor) {
    const std::uint8_t bytes[] = {'1', '2', '3', '4', '5'};
    editor.editor().paste(bytes);
  });
}

TEST_F(WindowUndoMemory, exchangingEverythingHappensWhollyOrNotAtAll) {
  const Action prepare = [](const EditorUnderTest& editor) { select(editor, {2, 2}); };
  sweepEdit(prepare, [](const EditorUnderTest& editor) {
    ByteBuffer bytes{'o', 't', 'h', 'e', 'r', 'w', 'i', 's', 'e'};
    editor->session().installDocument(std::move(bytes), editor->bookmarks().offsets(),
                                      "Replace All", {.caretOffset = 3, .selection = {1, 2}});
  });
}

/// After a failed edit the history is as it was.
TEST_F(WindowUndoMemory, aFailedEditKeepsWhatCanBeRedone) {
  auto editor = preparedEditor();
  editor.editor().setInsertMode(true);
  ASSERT_TRUE(editor.document->undoManager().canRedo());
  {
    const FailingAllocation failing;
    EXPECT_THROW(editor.editor().editByte('x'), std::bad_alloc);
  }
  EXPECT_TRUE(editor.document->undoManager().canRedo());
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "QRcdefgh");
}

}  // namespace
}  // namespace quillmor::test

#endif
