// What comes between a command on patches, presets or bookmark files and its end: a request to
// stop, another operation, the end of the window.

#include <string>
#include <utility>
#include <vector>

#include "app/MainMenu.h"
#include "support/FaultySystemCalls.h"
#include "support/FileAccessTest.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr const char* kContent = "abcdef";

/// A command that would change the document, its bookmarks or the folder.
struct Command {
  const char* action;
  const char* input;  ///< the content of the file it reads; null when it writes one
};

constexpr Command kCommands[] = {
    {"forwardApplyHexPatch:", "QuillmorPatch 1\nOFFSET 0\nDATA 58\n"},
    {"forwardDryRunJSONPreset:", R"({"rules": [{"find": "61", "replace": "58"}]})"},
    {"forwardApplyJSONPreset:", R"({"rules": [{"find": "61", "replace": "58"}]})"},
    {"forwardImportBookmarks:", "[1]"},
    {"forwardExportHexPatch:", nullptr},
    {"forwardExportBookmarks:", nullptr},
};

class WindowFormatsInterrupted : public WindowFixture {
 protected:
  EditorUnderTest makeBookmarkedEditor() {
    auto editor = makeEditor(kContent);
    platform.alerts.expect("Bookmarks", "Added bookmark at 0x00000003.");
    editor.editor().setCaretOffset(3);
    editor->perform("forwardAddBookmark:");
    shownBefore = platform.alerts.shown().size();
    return editor;
  }

  void perform(const EditorUnderTest& editor, const Command& command) {
    if (command.input != nullptr) {
      platform.filePanels.openAnswers.push_back({folder.write("input", command.input)});
    } else {
      platform.filePanels.saveAnswers.emplace_back(folder.location("output"));
    }
    namesBefore = folder.names();
    editor->perform(command.action);
    EXPECT_TRUE(platform.filePanels.openAnswers.empty());
    EXPECT_TRUE(platform.filePanels.saveAnswers.empty());
  }

  void expectNothingHappened(const EditorUnderTest& editor, std::size_t alerts = 0) {
    EXPECT_EQ(editor.document->storage()->bytes, ByteBuffer(bytesOf(kContent)));
    EXPECT_EQ(editor->bookmarks().offsets(), std::vector<std::int64_t>{3});
    EXPECT_FALSE(editor.document->isDocumentEdited());
    EXPECT_FALSE(editor.document->undoManager().canUndo());
    EXPECT_TRUE(editor.window->reports.empty());
    EXPECT_EQ(folder.names(), namesBefore);
    EXPECT_EQ(platform.alerts.shown().size(), shownBefore + alerts);
  }

  std::size_t shownBefore = 0;
  std::vector<std::string> namesBefore;
};

TEST_F(WindowFormatsInterrupted, leaveEverythingAsItWasWhenStopped) {
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.action);
    auto editor = makeBookmarkedEditor();
    perform(editor, command);
    editor->stopCurrentOperation();
    platform.executor.runAll();
    EXPECT_FALSE(editor->isBusy());
    expectNothingHappened(editor);
  }
}

TEST_F(WindowFormatsInterrupted, leaveEverythingAsItWasWhenStoppedWhileTheyReadOrWrite) {
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.action);
    auto editor = makeBookmarkedEditor();
    perform(editor, command);
    const bool reads = command.input != nullptr;
    FaultySystemCalls calls;
    const ScopedSystemCalls scope(calls);
    calls.before(reads ? SystemCall::pread : SystemCall::fsync, 1,
                 [&editor] { editor->stopCurrentOperation(); });
    platform.executor.runAll();
    expectNothingHappened(editor);
  }
}

TEST_F(WindowFormatsInterrupted, parseNothingMoreWhenStopped) {
  // What is wrong with the file is not found, as the stop comes when it has been read.
  const Command commands[] = {{"forwardApplyHexPatch:", "QuillmorPatch 2"},
                              {"forwardDryRunJSONPreset:", "{"},
                              {"forwardApplyJSONPreset:", "{"},
                              {"forwardImportBookmarks:", "["}};
  for (const Command& command : commands) {
    SCOPED_TRACE(command.action);
    auto editor = makeBookmarkedEditor();
    perform(editor, command);
    FaultySystemCalls calls;
    const ScopedSystemCalls scope(calls);
    calls.before(SystemCall::pread, 2, [&editor] { editor->stopCurrentOperation(); });
    platform.executor.runAll();
    EXPECT_EQ(calls.count(SystemCall::pread), 2);
    expectNothingHappened(editor);
  }
}

TEST_F(WindowFormatsInterrupted, giveWayToAnOperationThatBeginsWhileAPanelIsShown) {
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.action);
    auto editor = makeBookmarkedEditor();
    BusyScope busy;
    platform.filePanels.duringNext = [&] {
      busy = editor->context().frame().beginBusyStatus("Working…");
      ASSERT_TRUE(busy);
    };
    platform.alerts.expect(
        commandTitle(command.action),
        "Another operation is already running. Wait for it to finish before editing.");
    perform(editor, command);
    EXPECT_FALSE(platform.executor.hasWork());
    EXPECT_TRUE(editor->isBusy());
    EXPECT_EQ(editor.window->statusText, "Working…");
    busy.end();
    expectNothingHappened(editor, 1);
  }
}

TEST_F(WindowFormatsInterrupted, doNothingForAWindowThatClosesWhileAPanelIsShown) {
  for (const Command& command : kCommands) {
    SCOPED_TRACE(command.action);
    auto editor = makeBookmarkedEditor();
    platform.filePanels.duringNext = [&editor] { editor.window->closeWindow(); };
    perform(editor, command);
    EXPECT_TRUE(editor.window->closed);
    EXPECT_FALSE(platform.executor.hasWork());
    EXPECT_FALSE(editor->isBusy());
    EXPECT_EQ(folder.names(), namesBefore);
    EXPECT_EQ(platform.alerts.shown().size(), shownBefore);
  }
}

TEST_F(WindowFormatsInterrupted, countTheRulesOfAPresetAndNotItsFile) {
  auto editor = makeEditor("aaaa");
  editor.editor().setMaximumByteCount(4);
  // The second of two rules fails, so half of the work is done.
  platform.filePanels.openAnswers.push_back(
      {folder.write("input", R"({"rules": [{"find": "61", "replace": "62"},
                                           {"find": "62", "replace": "63 64"}]})")});
  editor->perform("forwardApplyJSONPreset:");
  ASSERT_TRUE(platform.executor.runOneWork());
  platform.executor.advance(std::chrono::milliseconds(300));
  EXPECT_TRUE(editor.window->progressVisible);
  EXPECT_EQ(editor.window->fraction, 0.5);
  platform.alerts.expect("Apply JSON Preset Failed",
                         "JSON preset output would grow too much to process safely.");
  platform.executor.runAll();
}

}  // namespace
}  // namespace quillmor::test
