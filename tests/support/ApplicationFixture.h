#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/AppDelegate.h"
#include "support/WindowFixture.h"

namespace quillmor::test {

/// An application without a toolkit: remembers its windows and what it was asked to do.
class FakeApplication : public ApplicationSurface {
 public:
  struct Window {
    std::shared_ptr<HexWindowController> controller;
    std::shared_ptr<FakeEditorWindow> window;
  };

  std::vector<Window> windows;
  std::optional<TextFocus> focus;
  bool textViewAnswers = true;
  std::vector<TextAction> sentActions;
  int closesPerformed = 0;
  int aboutWindowsShown = 0;
  int terminations = 0;
  /// What the list of documents to recover shows; null while there is none.
  RecoveryController* recovery = nullptr;
  int recoveryListsShown = 0;

  void showEditorWindow(const std::shared_ptr<HexWindowController>& controller) override;
  std::optional<TextFocus> focusedTextView(const CommandOrigin&) const override { return focus; }
  bool sendTextAction(TextAction action, const CommandOrigin& origin) override;
  void performClose(const CommandOrigin&) override { ++closesPerformed; }
  void showAboutWindow() override { ++aboutWindowsShown; }
  void showRecoveryList(RecoveryController& controller) override {
    recovery = &controller;
    ++recoveryListsShown;
  }
  void refreshRecoveryList() override {
    if (recovery != nullptr && !recovery->hasContent()) recovery = nullptr;
  }
  void terminate() override { ++terminations; }
};

/// The base of tests of the application's own decisions.
class ApplicationFixture : public testing::Test {
 protected:
  ~ApplicationFixture() override;

  /// The `index`th window shown so far.
  EditorUnderTest editorAt(std::size_t index) const;

  /// Opens a new untitled editor with unsaved changes and returns it.
  EditorUnderTest newEditedDocument(std::string_view typed);

  /// Opens files and runs everything; returns the reply.
  bool openFiles(std::vector<FileLocation> locations);

  /// How many editor windows are open.
  std::size_t openWindowCount() const;

  void expectSaveQuestion(const std::string& name, const std::string& answer);

  TemporaryFolder folder;
  TestPlatform platform;
  FakeApplication application;
  AppDelegate delegate{platform.services(), application};
};

}  // namespace quillmor::test
