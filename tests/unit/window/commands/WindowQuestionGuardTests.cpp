// Whatever happens while a command asks: every command of the menus that shows an alert or a file
// panel looks again at its window before it goes on.

#include <functional>
#include <map>

#include "app/MainMenu.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

/// Answers every question as a user does who wants the command to go on, and gives up a form whose
/// answer was refused.
class WillingAlerts : public AlertPresenter {
 public:
  AlertResponse runModal(const Alert& alert) override {
    ++count;
    lastTitle = alert.messageText;
    lastText = alert.informativeText;
    AlertResponse response;
    const bool isAskedAgain = !alert.fields.empty() && alert.informativeText == lastForm_;
    if (!alert.fields.empty()) lastForm_ = alert.informativeText;
    if (isAskedAgain) response.button = alert.buttons.size() - 1;
    for (const FormField& field : alert.fields) {
      response.selectedChoices.push_back(0);
      response.texts.push_back(field.label == "Bits:" ? "00000001" : "12");
    }
    if (during) std::exchange(during, nullptr)();
    return response;
  }

  /// A command begins.
  void forget() { lastForm_.clear(); }

  int count = 0;
  std::string lastTitle;
  std::string lastText;
  std::function<void()> during;

 private:
  std::string lastForm_;
};

/// Chooses a file in every panel.
class WillingPanels : public FilePanels {
 public:
  explicit WillingPanels(TemporaryFolder& folder) : folder_(folder) {}

  std::vector<FileLocation> runOpenPanel(const std::string&, bool,
                                         const std::optional<FileLocation>&) override {
    ++count;
    if (during) std::exchange(during, nullptr)();
    return {folder_.location("chosen.bin")};
  }

  std::optional<FileLocation> runSavePanel(const std::string&, const std::string&,
                                           const std::optional<FileLocation>&) override {
    ++count;
    if (during) std::exchange(during, nullptr)();
    return folder_.location("output.bin");
  }

  int count = 0;
  std::function<void()> during;

 private:
  TemporaryFolder& folder_;
};

class WindowQuestionGuards : public WindowFixture {
 protected:
  static constexpr const char* kOnDisk = "abcdefghijklmnopqrstuvwxyz";
  static constexpr const char* kContent = "Abcdefghijklmnopqrstuvwxyz";

  EditorUnderTest makeAskingEditor() {
    folder.write("chosen.bin", "123");
    EditorUnderTest made;
    made.document = documents.makeUntitledDocument(platform.executor);
    made.document->read(folder.write("data.bin", kOnDisk));
    made.window = windows_.emplace_back(std::make_shared<FakeEditorWindow>());
    const PlatformServices scripted = platform.services();
    const PlatformServices services{alerts,
                                    panels,
                                    scripted.pasteboard,
                                    scripted.defaults,
                                    scripted.beeper,
                                    scripted.workspace,
                                    scripted.executor,
                                    scripted.fileWatcher};
    made.document->makeWindowControllers([&](HexDocument&) {
      made.controller = std::make_shared<HexWindowController>(
          made.document, EditorEnvironment{services, documents, saver});
      return made.controller;
    });
    made.window->controller = made.controller.get();
    made.controller->attachWindow(*made.window);
    // The mode is kept in the settings, and another command may have changed it.
    made.editor().setInsertMode(false);
    // An unsaved change, so that replacing the document asks.
    type(made, "A");
    made.editor().setSelection({1, 8});
    alerts.count = panels.count = 0;
    alerts.forget();
    return made;
  }

  /// Runs every command of the menus on an editor of its own. `during` happens while its first
  /// question is on screen, `check` looks at what the command has made of it. Returns how many
  /// commands have asked.
  int sweep(const std::function<void(const EditorUnderTest&)>& during,
            const std::function<void(const EditorUnderTest&)>& check) {
    int asked = 0;
    for (const Menu& menu : mainMenu()) {
      for (const MenuItem& item : menu.items) {
        if (!EditorCommands::find(item.action)) continue;
        SCOPED_TRACE(std::string(item.action));
        auto editor = makeAskingEditor();
        bool hasAsked = false;
        const auto once = [&] {
          if (std::exchange(hasAsked, true)) return;
          during(editor);
        };
        alerts.during = once;
        panels.during = once;
        action = item.action;
        editor->perform(action);
        alerts.during = nullptr;
        panels.during = nullptr;
        if (hasAsked) {
          ++asked;
          check(editor);
        }
        platform.executor.runAll();
        editor.window->closeWindow();
      }
    }
    return asked;
  }

  bool wroteNothing() const {
    return folder.names() == std::vector<std::string>{"chosen.bin", "data.bin"} &&
           folder.read("data.bin") == kOnDisk;
  }

  WillingAlerts alerts;
  WillingPanels panels{folder};
  /// The command that `sweep` runs.
  std::string_view action;

 private:
  std::vector<std::shared_ptr<FakeEditorWindow>> windows_;
};

/// Fewer would mean that the sweep does not reach the questions.
constexpr int kAskingCommands = 25;

TEST_F(WindowQuestionGuards, aWindowThatHasClosedMeansSilence) {
  const int asked = sweep([](const EditorUnderTest& editor) { editor.window->closeWindow(); },
                          [&](const EditorUnderTest& editor) {
                            EXPECT_EQ(alerts.count + panels.count, 1);
                            EXPECT_FALSE(platform.executor.hasWork());
                            EXPECT_EQ(editor.text(), kContent);
                            EXPECT_TRUE(editor.window->reports.empty());
                            EXPECT_TRUE(wroteNothing());
                          });
  EXPECT_GE(asked, kAskingCommands);
}

/// The title under which a command is refused when its window has become busy.
std::string refusalTitleOf(std::string_view action) {
  static const std::map<std::string_view, std::string> kOthers = {
      {"forwardApplyRx580MacOSPreset:", "Apply Preset"},
      {"forwardApplyRx580MacOSPresetAndFixChecksum:", "Apply Preset"},
      {"forwardOpenCompareWindow:", "Compare Window"},
  };
  const auto other = kOthers.find(action);
  return other != kOthers.end() ? other->second : commandTitle(action);
}

TEST_F(WindowQuestionGuards, aWindowThatHasBecomeBusyStartsNothing) {
  BusyScope busy;
  const int asked = sweep(
      [&](const EditorUnderTest& editor) {
        busy = editor->context().frame().beginBusyStatus("Working…");
        ASSERT_TRUE(busy);
      },
      [&](const EditorUnderTest& editor) {
        EXPECT_LE(alerts.count + panels.count, 2) << "the question, and that the window is busy";
        if (alerts.count + panels.count == 2) {
          EXPECT_EQ(alerts.lastTitle, refusalTitleOf(action));
          EXPECT_EQ(alerts.lastText,
                    "Another operation is already running. Wait for it to finish before editing.");
        }
        EXPECT_FALSE(platform.executor.hasWork());
        EXPECT_TRUE(editor->isBusy());
        busy.end();
        EXPECT_EQ(editor.text(), kContent);
        EXPECT_TRUE(wroteNothing());
      });
  EXPECT_GE(asked, kAskingCommands);
}

TEST_F(WindowQuestionGuards, aDocumentThatHasShrunkKeepsACompleteHistory) {
  const int asked = sweep(
      [](const EditorUnderTest& editor) {
        editor.editor().setSelection({1, 25});
        editor->perform("forwardDeleteSelection:");
        ASSERT_EQ(editor.text(), "A");
        editor.editor().setSelection({0, 90});
      },
      [&](const EditorUnderTest& editor) {
        platform.executor.runAll();
        if (editor.document->location()->lastPathComponent() != "data.bin") return;
        EXPECT_LE(editor.editor().caretOffset(), editor.document->storage()->count());
        // Saved or read again.
        if (editor.text() == folder.read("data.bin")) return;
        while (editor.document->undoManager().canUndo()) editor->perform("forwardUndo:");
        EXPECT_EQ(editor.text(), kOnDisk);
      });
  EXPECT_GE(asked, kAskingCommands);
}

}  // namespace
}  // namespace quillmor::test
