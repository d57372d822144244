// Replacing from an editor window: one match, all of them, and all of them with questions.

#include <functional>

#include "search/typed/TypedInput.h"
#include "support/MemoryProbes.h"
#include "support/WindowFixture.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

class WindowReplace : public WindowFixture {
 protected:
  static SearchRequest text(std::string searched, std::string replacement) {
    return {.searchText = std::move(searched),
            .replaceText = std::move(replacement),
            .caseSensitive = true};
  }

  static SearchRequest integer(std::string searched, std::string replacement) {
    SearchRequest request = text(std::move(searched), std::move(replacement));
    request.mode = SearchMode::integerNumber;
    return request;
  }

  static void expectPlace(const EditorUnderTest& editor, std::int64_t caret,
                          HexSelection selection) {
    EXPECT_EQ(editor.editor().caretOffset(), caret);
    EXPECT_EQ(editor.editor().selection(), selection);
  }

  void expectBeeps(int count) { EXPECT_EQ(platform.beeper.count, count); }

  void bookmark(const EditorUnderTest& editor, std::int64_t offset) {
    platform.alerts.expect("Bookmarks",
                           "Added bookmark at 0x0000000" + std::to_string(offset) + ".");
    editor.editor().setCaretOffset(offset);
    editor->perform("forwardAddBookmark:");
    editor.editor().setCaretOffset(0);
  }

  void replaceAll(const EditorUnderTest& editor, const SearchRequest& request,
                  const std::string& result) {
    platform.alerts.expect("Replace All", result);
    editor->commands().replacing().performReplaceAll(request);
    platform.executor.runAll();
  }
};

TEST_F(WindowReplace, selectsTheNextMatchFirstAndReplacesItAtTheSecondPress) {
  auto editor = makeEditor("one two one");
  editor->commands().replacing().performReplace(text("one", "three"));
  EXPECT_EQ(editor.text(), "one two one");
  expectPlace(editor, 0, {0, 3});
  editor->commands().replacing().performReplace(text("one", "three"));
  EXPECT_EQ(editor.text(), "three two one");
  expectPlace(editor, 10, {10, 3});
  EXPECT_TRUE(editor.document->isDocumentEdited());
  editor->commands().replacing().performReplace(text("one", "three"));
  EXPECT_EQ(editor.text(), "three two three");
  expectBeeps(1);
  editor->perform("forwardUndo:");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "one two one");
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowReplace, withTheSelectionNotOnAMatchOnlySelectsTheNextOne) {
  auto editor = makeEditor("one two one");
  editor.editor().setSelection({4, 3});
  editor->commands().replacing().performReplace(text("one", "three"));
  EXPECT_EQ(editor.text(), "one two one");
  expectPlace(editor, 8, {8, 3});
}

TEST_F(WindowReplace, deletesAMatchAndFindsTheOneThatFollowsAtOnce) {
  auto editor = makeEditor("aab");
  editor.editor().setSelection({0, 1});
  editor->commands().replacing().performReplace(text("a", ""));
  EXPECT_EQ(editor.text(), "ab");
  expectPlace(editor, 0, {0, 1});
  editor->commands().replacing().performReplace(text("a", ""));
  EXPECT_EQ(editor.text(), "b");
}

TEST_F(WindowReplace, stepsOverAMatchThatItsReplacementEquals) {
  auto editor = makeEditor("aa");
  editor.editor().setSelection({0, 1});
  editor->commands().replacing().performReplace(text("a", "a"));
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  expectPlace(editor, 1, {1, 1});
  editor->commands().replacing().performReplace(text("a", "a"));
  expectPlace(editor, 2, {1, 1});
  expectBeeps(1);
}

TEST_F(WindowReplace, goesBackwardOnRequest) {
  auto editor = makeEditor("a.a.a");
  SearchRequest request = text("a", "bb");
  request.direction = SearchDirection::backward;
  editor.editor().setCaretOffset(4);
  editor->commands().replacing().performReplace(request);
  expectPlace(editor, 4, {4, 1});
  editor->commands().replacing().performReplace(request);
  EXPECT_EQ(editor.text(), "a.a.bb");
  expectPlace(editor, 2, {2, 1});
}

TEST_F(WindowReplace, goingBackwardNeverTurnsRoundAfterADeletion) {
  auto editor = makeEditor("xaa");
  SearchRequest request = text("a", "");
  request.direction = SearchDirection::backward;
  editor.editor().setCaretOffset(1);
  editor.editor().setSelection({1, 1});
  editor->commands().replacing().performReplace(request);
  EXPECT_EQ(editor.text(), "xa");
  expectPlace(editor, 1, {1, 0});
  expectBeeps(1);
}

TEST_F(WindowReplace, ignoresCaseUnlessToldOtherwise) {
  auto editor = makeEditor("Abc aBC");
  SearchRequest request = text("ABC", "x");
  request.caseSensitive = false;
  editor->commands().replacing().performReplace(request);
  editor->commands().replacing().performReplace(request);
  EXPECT_EQ(editor.text(), "x aBC");
  expectPlace(editor, 2, {2, 3});
  replaceAll(editor, request, "1 occurrence(s) replaced.");
  EXPECT_EQ(editor.text(), "x x");
}

TEST_F(WindowReplace, thatRunsOutOfMemoryChangesNothing) {
  auto editor = makeEditor();
  editor.document->readData(ByteBuffer::filled(32 * 1024 * 1024, 'a'));
  editor.document->storage()->bytes.set(16, 'x');
  bookmark(editor, 20 - 1 - 10);
  editor.editor().setSelection({16, 1});
  const ByteBuffer before = editor.document->storage()->bytes;
  platform.alerts.expect("Replace Failed", "Cannot allocate memory");
  {
    // The bytes are shared, so that growing needs memory for a copy of them.
    const NoMoreAddressSpace none;
    editor->commands().replacing().performReplace(text("x", "yy"));
  }
  EXPECT_TRUE(editor.document->storage()->bytes == before);
  EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{9});
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowReplace, writesNumbersInTheWidthAndOrderOfTheMatch) {
  auto editor = makeEditor(std::string("\x01\x00\x00\x00", 4));
  editor->commands().replacing().performReplace(integer("1", "2"));
  expectPlace(editor, 0, {0, 4});
  editor->commands().replacing().performReplace(integer("1", "2"));
  EXPECT_EQ(editor.text(), std::string("\x02\x00\x00\x00", 4));

  auto byte = makeEditor("\x01");
  byte.editor().setSelection({0, 1});
  byte->commands().replacing().performReplace(integer("1", "-1"));
  EXPECT_EQ(byte.text(), "\xFF");
}

TEST_F(WindowReplace, beepsAtReplacementsThatDoNotFit) {
  auto editor = makeEditor("\x01");
  editor.editor().setSelection({0, 1});
  editor->commands().replacing().performReplace(integer("1", "300"));
  expectBeeps(1);
  EXPECT_EQ(editor.text(), "\x01");
  editor->commands().replacing().performReplace(integer("1", "nonsense"));
  expectBeeps(2);
  editor->commands().replacing().performReplaceAll(integer("1", "300"));
  expectBeeps(3);
  editor->commands().replacing().performReplaceAll(
      text("\x01", std::string(maxTextInputCharacters + 1, 'x')));
  expectBeeps(4);
  editor->commands().replacing().performReplace(text("", "x"));
  expectBeeps(5);
  editor->commands().replacing().performReplaceAll(text("", "x"));
  expectBeeps(6);
  EXPECT_EQ(editor.text(), "\x01");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowReplace, doesNotGrowADocumentOverItsLimit) {
  auto editor = makeEditor("aa");
  editor.editor().setMaximumByteCount(3);
  editor.editor().setSelection({0, 1});
  editor->commands().replacing().performReplace(text("a", "bb"));
  EXPECT_EQ(editor.text(), "bba");
  editor->commands().replacing().performReplace(text("a", "bb"));
  EXPECT_EQ(editor.text(), "bba");
  expectBeeps(1);
  expectPlace(editor, 2, {2, 1});
}

TEST_F(WindowReplace, searchesInTheBackgroundFromOneMebibyteOn) {
  auto editor = makeEditor("x" + std::string(backgroundSearchThresholdBytes - 2, '.') + "x");
  editor.editor().setSelection({0, 1});
  editor->commands().replacing().performReplace(text("x", "y"));
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Searching…");
  platform.executor.runAll();
  expectPlace(editor, backgroundSearchThresholdBytes - 1, {backgroundSearchThresholdBytes - 1, 1});
}

#if QUILLMOR_NEW_CAN_FAIL
TEST_F(WindowReplace, saysThatItFailed) {
  auto editor = makeEditor("x" + std::string(2 * maxTextInputCharacters, '.'));
  const auto runOutOfMemory = [](const std::function<void()>& work) {
    const NoMoreAddressSpace none;
    work();
  };
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Replace Failed", "Cannot allocate memory");
  editor->commands().replacing().performReplace(text(std::string(maxTextInputCharacters, '.'), ""));
  platform.executor.runAll();
  platform.executor.aroundNextWork(runOutOfMemory);
  platform.alerts.expect("Replace All Failed", "Cannot allocate memory");
  editor->commands().replacing().performReplaceAll(
      text("x", std::string(maxTextInputCharacters, 'y')));
  platform.executor.runAll();
  EXPECT_FALSE(editor->isBusy());
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}
#endif

TEST_F(WindowReplace, replacesAllAsOneStepAndCarriesBookmarks) {
  auto editor = makeEditor("a.a.a");
  for (const std::int64_t offset : {0, 1, 3, 5}) bookmark(editor, offset);
  platform.alerts.expect("Replace All", "3 occurrence(s) replaced.");
  editor->commands().replacing().performReplaceAll(text("a", "xyz"));
  EXPECT_TRUE(editor->isBusy());
  EXPECT_EQ(editor.window->statusText, "Replacing all…");
  EXPECT_EQ(editor.text(), "a.a.a");
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "xyz.xyz.xyz");
  expectPlace(editor, 11, {});
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{3, 7, 11}));
  EXPECT_TRUE(editor.document->isDocumentEdited());
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Replace All");
  EXPECT_EQ(editor->commands().searching().lastSearchRequest(), text("a", "xyz"));
  expectBeeps(0);
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "a.a.a");
  expectPlace(editor, 0, {});
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{0, 1, 3, 5}));
  EXPECT_FALSE(editor.document->isDocumentEdited());
  editor->perform("forwardRedo:");
  EXPECT_EQ(editor.text(), "xyz.xyz.xyz");
}

TEST_F(WindowReplace, replacingAllByThemselvesCountsAndRecordsOneStep) {
  auto editor = makeEditor("aaa");
  replaceAll(editor, text("a", "a"), "3 occurrence(s) replaced.");
  EXPECT_EQ(editor.text(), "aaa");
  EXPECT_TRUE(editor.document->undoManager().canUndo());
  editor->perform("forwardUndo:");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowReplace, deletesAllMatches) {
  auto editor = makeEditor("a.a.a");
  replaceAll(editor, text("a", ""), "3 occurrence(s) replaced.");
  EXPECT_EQ(editor.text(), "..");
  expectPlace(editor, 2, {});
}

TEST_F(WindowReplace, saysWithABeepThatNothingWasReplaced) {
  auto editor = makeEditor("abc");
  editor.editor().setSelection({1, 1});
  platform.alerts.duringNext([this] { expectBeeps(0); });
  replaceAll(editor, text("x", "y"), "No matches were replaced.");
  expectBeeps(1);
  EXPECT_EQ(editor.editor().selection(), (HexSelection{1, 1}));
  EXPECT_FALSE(editor.document->isDocumentEdited());
  EXPECT_FALSE(editor.document->undoManager().canUndo());
}

TEST_F(WindowReplace, refusesToGrowOverTheAllowance) {
  auto editor = makeEditor("aaa");
  editor.editor().setMaximumByteCount(6);
  replaceAll(editor, text("a", "bb"), "3 occurrence(s) replaced.");
  EXPECT_EQ(editor.text(), "bbbbbb");
  editor->perform("forwardUndo:");
  editor.editor().setMaximumByteCount(5);
  platform.alerts.expect("Replace All Failed",
                         "Replace All output would grow beyond the safe per-operation limit of 2 "
                         "additional bytes.");
  editor->commands().replacing().performReplaceAll(text("a", "bb"));
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "aaa");
  EXPECT_FALSE(editor.document->isDocumentEdited());
  // A document over its limit may still shrink or keep its size.
  editor.editor().setMaximumByteCount(1);
  replaceAll(editor, text("a", "b"), "3 occurrence(s) replaced.");
}

TEST_F(WindowReplace, neverGrowsByMoreThanOneCommandMayMake) {
  auto editor = makeEditor(std::string(17, 'a'));
  editor.editor().setMaximumByteCount(std::int64_t{1} << 40);
  std::string sixteenMebibytes;
  for (std::int64_t i = 0; i < maxTextInputCharacters; ++i) sixteenMebibytes += "\U0001F600";
  platform.alerts.expect("Replace All Failed",
                         "Replace All output would grow beyond the safe per-operation limit of "
                         "268435456 additional bytes.");
  editor->commands().replacing().performReplaceAll(text("a", sixteenMebibytes));
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), std::string(17, 'a'));
}

TEST_F(WindowReplace, stopsSilentlyAndChangesNothing) {
  auto editor = makeEditor("aaa");
  editor->commands().replacing().performReplaceAll(text("a", "b"));
  editor->stopCurrentOperation();
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "aaa");
  EXPECT_FALSE(editor->isBusy());
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowReplace, withoutRoomForASnapshotMarksTheDocumentAndForgetsTheHistory) {
  auto editor = makeEditor("a");
  editor.editor().editByte('b');
  editor.document->storage()->bytes =
      ByteBuffer::filled(UndoRecords::maxUndoSnapshotBytes + 1, 'a');
  editor.editor().recalcMetrics();
  SearchRequest request = text("ab", "cd");
  editor.document->storage()->bytes.set(1, 'b');
  replaceAll(editor, request, "1 occurrence(s) replaced.");
  EXPECT_FALSE(editor.document->undoManager().canUndo());
  EXPECT_TRUE(editor.document->isDocumentEdited());
}

class WindowPromptedReplace : public WindowReplace {
 protected:
  static SearchRequest prompted(std::string searched, std::string replacement) {
    SearchRequest request = text(std::move(searched), std::move(replacement));
    request.promptOnReplace = true;
    return request;
  }

  void expectQuestion(const std::string& offset, int length, const std::string& answer) {
    platform.alerts.expect(
        "Replace This Occurrence?",
        "Offset: 0x" + offset + "\nMatch length: " + std::to_string(length) + " bytes", answer);
  }
};

TEST_F(WindowPromptedReplace, asksAboutEachMatchInOrder) {
  auto editor = makeEditor("aa.aa.aa");
  expectQuestion("00000000", 2, "Replace");
  expectQuestion("00000003", 2, "Skip");
  expectQuestion("00000006", 2, "Replace");
  editor.editor().setCaretOffset(4);
  editor.editor().setSelection({3, 2});
  replaceAll(editor, prompted("aa", "b"), "2 occurrence(s) replaced.");
  EXPECT_EQ(editor.text(), "b.aa.b");
  expectPlace(editor, 6, {});
  EXPECT_EQ(platform.alerts.shown()[0].buttons,
            (std::vector<std::string>{"Replace", "Skip", "Cancel"}));
  EXPECT_EQ(editor.document->undoManager().undoActionName(), "Replace All");
  editor->perform("forwardUndo:");
  EXPECT_EQ(editor.text(), "aa.aa.aa");
  expectPlace(editor, 4, {3, 2});
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowPromptedReplace, showsTheMatchAskedAboutAndIsBusyMeanwhile) {
  auto editor = makeEditor("..aa");
  expectQuestion("00000002", 2, "Skip");
  platform.alerts.duringNext([&] {
    EXPECT_TRUE(editor->isBusy());
    EXPECT_EQ(editor.window->statusText, "Replacing all…");
    EXPECT_EQ(editor.text(), "..aa");
    expectPlace(editor, 2, {2, 2});
    EXPECT_FALSE(editor.editor().isEditingEnabled());
  });
  editor.editor().setCaretOffset(1);
  editor.editor().setSelection({1, 1});
  replaceAll(editor, prompted("aa", "b"), "No matches were replaced.");
  expectBeeps(1);
  EXPECT_FALSE(editor->isBusy());
  expectPlace(editor, 1, {1, 1});
}

TEST_F(WindowPromptedReplace, cancelKeepsWhatWasAccepted) {
  auto editor = makeEditor("a.a.a");
  expectQuestion("00000000", 1, "Replace");
  expectQuestion("00000002", 1, "Cancel");
  replaceAll(editor, prompted("a", "xyz"), "1 occurrence(s) replaced.");
  EXPECT_EQ(editor.text(), "xyz.a.a");
  expectPlace(editor, 3, {});
}

TEST_F(WindowPromptedReplace, cancelAtOnceReplacesNothing) {
  auto editor = makeEditor("a.a.a");
  expectQuestion("00000000", 1, "Cancel");
  replaceAll(editor, prompted("a", "b"), "No matches were replaced.");
  expectBeeps(1);
  EXPECT_EQ(editor.text(), "a.a.a");
  EXPECT_FALSE(editor.document->isDocumentEdited());
}

TEST_F(WindowPromptedReplace, withoutMatchesAsksNothing) {
  auto editor = makeEditor("abc");
  replaceAll(editor, prompted("x", "y"), "No matches were replaced.");
  expectBeeps(1);
}

TEST_F(WindowPromptedReplace, beepsAtUnusableTexts) {
  auto editor = makeEditor("\x01");
  SearchRequest request = integer("1", "300");
  request.promptOnReplace = true;
  editor->commands().replacing().performReplaceAll(request);
  expectBeeps(1);
  editor->commands().replacing().performReplaceAll(prompted("", "x"));
  expectBeeps(2);
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowPromptedReplace, endsBeforeTheDocumentGrowsTooLarge) {
  auto editor = makeEditor("aaa");
  editor.editor().setMaximumByteCount(5);
  expectQuestion("00000000", 1, "Replace");
  expectQuestion("00000001", 1, "Replace");
  expectQuestion("00000002", 1, "Replace");
  platform.alerts.expect("Replace All",
                         "Replacement stopped before the document could grow beyond the safe limit "
                         "of 2 additional bytes for the current document.");
  replaceAll(editor, prompted("a", "bb"), "2 occurrence(s) replaced.");
  EXPECT_EQ(editor.text(), "bbbba");
}

TEST_F(WindowPromptedReplace, carriesBookmarks) {
  auto editor = makeEditor("a.a.a");
  for (const std::int64_t offset : {1, 3, 5}) bookmark(editor, offset);
  expectQuestion("00000000", 1, "Skip");
  expectQuestion("00000002", 1, "Replace");
  expectQuestion("00000004", 1, "Skip");
  replaceAll(editor, prompted("a", "xyz"), "1 occurrence(s) replaced.");
  EXPECT_EQ(editor->bookmarks().offsets(), (std::vector<std::int64_t>{1, 5, 7}));
}

TEST_F(WindowPromptedReplace, stopLeavesTheDocumentUntouched) {
  auto editor = makeEditor("a.a");
  editor.editor().setCaretOffset(1);
  expectQuestion("00000000", 1, "Replace");
  platform.alerts.duringNext([&] { editor->stopCurrentOperation(); });
  editor->commands().replacing().performReplaceAll(prompted("a", "b"));
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "a.a");
  EXPECT_FALSE(editor->isBusy());
  expectPlace(editor, 1, {});
}

TEST_F(WindowPromptedReplace, isSilentWhenTheWindowHasGone) {
  auto editor = makeEditor("a.a");
  editor->commands().replacing().performReplaceAll(prompted("a", "b"));
  editor.window->closeWindow();
  platform.executor.runAll();
  EXPECT_TRUE(platform.alerts.shown().empty());
}

TEST_F(WindowPromptedReplace, isSilentWhenTheWindowGoesDuringAQuestion) {
  auto editor = makeEditor("a.a");
  expectQuestion("00000000", 1, "Replace");
  platform.alerts.duringNext([&] { editor.window->closeWindow(); });
  editor->commands().replacing().performReplaceAll(prompted("a", "b"));
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "a.a");
  EXPECT_FALSE(editor->isBusy());
}

TEST_F(WindowPromptedReplace, saysThatItFailed) {
  auto editor = makeEditor("a.a");
  editor.editor().setCaretOffset(1);
  expectQuestion("00000000", 1, "Replace");
  expectQuestion("00000002", 1, "Cancel");
  platform.alerts.duringNext([this] {
    // The first question is answered; the next work but one makes the new document.
    platform.alerts.duringNext([this] {
      platform.executor.aroundNextWork([](const std::function<void()>& work) {
        const NoMoreAddressSpace none;
        work();
      });
    });
  });
  platform.alerts.expect("Replace All Failed", "Cannot allocate memory");
  editor->commands().replacing().performReplaceAll(
      prompted("a", std::string(maxTextInputCharacters, 'b')));
  platform.executor.runAll();
  EXPECT_EQ(editor.text(), "a.a");
  EXPECT_FALSE(editor->isBusy());
  expectPlace(editor, 1, {});
}

}  // namespace
}  // namespace quillmor::test
