// The window is closed while one of its questions is on screen: nothing changes, nothing is said.

#include <functional>
#include <utility>

#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kContent = "abcdef";
constexpr const char* kPatternMessage =
    "Enter a byte pattern. The pattern is repeated across the active selection.";
constexpr const char* kFillQuestion = "Enter a pattern to repeat across the selected bytes.";
constexpr const char* kFillInsertQuestion =
    "No selection is active. Enter a pattern and length to insert filled bytes at the current "
    "offset.";
constexpr const char* kInsertQuestion = "Enter bytes to insert at the current offset.";

class WindowClosedDuringQuestions : public WindowFixture {
 protected:
  EditorUnderTest editorWithSelection(HexSelection selection) {
    auto editor = makeEditor(kContent);
    editor.editor().setSelection(selection);
    return editor;
  }

  /// Closes the window while the question is on screen, which is then answered all the same.
  void expectQuestion(const EditorUnderTest& editor, const std::string& title,
                      const std::string& message, const std::string& button,
                      std::vector<std::string> answers) {
    platform.alerts.expect(title, message, button, std::move(answers));
    platform.alerts.duringNext([window = editor.window] { window->closeWindow(); });
  }

  /// Runs the command, which asks its one question, and all it may have started.
  void runAndExpectNothing(const EditorUnderTest& editor, std::string_view command) {
    const std::size_t shownBefore = platform.alerts.shown().size();
    editor->perform(command);
    EXPECT_FALSE(platform.executor.hasWork());
    platform.executor.runAll();
    EXPECT_TRUE(editor.window->closed);
    EXPECT_EQ(platform.alerts.shown().size(), shownBefore + 1);
    EXPECT_EQ(editor.text(), kContent);
    EXPECT_FALSE(editor.document->undoManager().canUndo());
  }
};

TEST_F(WindowClosedDuringQuestions, patternsCombineNothing) {
  const std::pair<const char*, std::string_view> commands[] = {
      {"XOR Selection", "forwardXorSelection:"},
      {"AND Selection", "forwardAndSelection:"},
      {"OR Selection", "forwardOrSelection:"},
  };
  for (const auto& [title, command] : commands) {
    auto editor = editorWithSelection({1, 3});
    expectQuestion(editor, title, kPatternMessage, "OK", {"", "0x12"});
    runAndExpectNothing(editor, command);
  }
}

TEST_F(WindowClosedDuringQuestions, theSelectionIsNotFilled) {
  auto editor = editorWithSelection({1, 3});
  expectQuestion(editor, "Fill Selection", kFillQuestion, "OK", {"", "0x12"});
  runAndExpectNothing(editor, "forwardFillSelection:");
}

TEST_F(WindowClosedDuringQuestions, noFillIsInserted) {
  for (const char* length : {"2", "0", "268435457", "0x100000"}) {
    auto editor = editorWithSelection({});
    expectQuestion(editor, "Fill Selection", kFillInsertQuestion, "OK", {"", "0x12", length});
    runAndExpectNothing(editor, "forwardFillSelection:");
  }
}

TEST_F(WindowClosedDuringQuestions, noBytesAreInserted) {
  for (const char* count : {"2", "0", "-1", "268435457", "0x100000"}) {
    auto editor = editorWithSelection({});
    expectQuestion(editor, "Insert Bytes", kInsertQuestion, "OK", {"", "0x12", count});
    runAndExpectNothing(editor, "forwardInsertBytes:");
  }
}

TEST_F(WindowClosedDuringQuestions, nothingIsCropped) {
  auto editor = editorWithSelection({1, 3});
  expectQuestion(editor, "Crop to Selection",
                 "Keep only the selected 3 byte(s) and remove everything else?", "Crop", {});
  runAndExpectNothing(editor, "forwardCropToSelection:");
}

TEST_F(WindowClosedDuringQuestions, noValueIsWrittenOrRefused) {
  for (const char* value : {"0x12", "0x1FF", ""}) {
    auto editor = editorWithSelection({});
    expectQuestion(editor, "Edit Current Value", "Select a type and enter a value.", "Apply",
                   {"", value});
    runAndExpectNothing(editor, "forwardEditCurrentValue:");
  }
}

TEST_F(WindowClosedDuringQuestions, noBitsAreWrittenOrRefused) {
  for (const char* bits : {"00000001", "2", "000000001"}) {
    auto editor = editorWithSelection({});
    expectQuestion(editor, "Bit Editor", "Enter 8 bits for the current byte.", "OK", {bits});
    runAndExpectNothing(editor, "forwardBitEditor:");
  }
}

/// File panels during which the window closes.
class ClosingFilePanels : public ScriptedFilePanels {
 public:
  std::function<void()> during;

  std::vector<FileLocation> runOpenPanel(const std::string& title, bool allowsMultipleSelection,
                                         const std::optional<FileLocation>& directory) override {
    if (during) std::exchange(during, nullptr)();
    return ScriptedFilePanels::runOpenPanel(title, allowsMultipleSelection, directory);
  }
};

class WindowClosedDuringPanels : public WindowFixture {
 protected:
  /// An editor whose file panels are `panels`.
  EditorUnderTest makeEditorWithPanels() {
    EditorUnderTest made;
    made.document = documents.makeUntitledDocument(platform.executor);
    made.document->readData(ByteBuffer{'a', 'b', 'c'});
    made.window = std::make_shared<FakeEditorWindow>();
    made.document->makeWindowControllers([&](HexDocument&) {
      const PlatformServices scripted = platform.services();
      const PlatformServices services{scripted.alerts,     panels,
                                      scripted.pasteboard, scripted.defaults,
                                      scripted.beeper,     scripted.workspace,
                                      scripted.executor,   scripted.fileWatcher};
      made.controller = std::make_shared<HexWindowController>(
          made.document, EditorEnvironment{services, documents, saver});
      return made.controller;
    });
    made.window->controller = made.controller.get();
    made.controller->attachWindow(*made.window);
    return made;
  }

  ClosingFilePanels panels;
};

TEST_F(WindowClosedDuringPanels, noFileIsInserted) {
  for (const std::string_view command : {"forwardInsertFileAtOffset:", "forwardAppendFileToEnd:"}) {
    auto editor = makeEditorWithPanels();
    panels.openAnswers.push_back({folder.write("part.bin", "123")});
    panels.during = [window = editor.window] { window->closeWindow(); };
    editor->perform(command);
    EXPECT_TRUE(editor.window->closed);
    EXPECT_FALSE(platform.executor.hasWork());
    EXPECT_EQ(editor.text(), "abc");
    EXPECT_TRUE(platform.alerts.shown().empty());
  }
}

}  // namespace
}  // namespace quillmor::test
