#include "support/ApplicationFixture.h"

#include <algorithm>
#include <utility>

namespace quillmor::test {

void FakeApplication::showEditorWindow(const std::shared_ptr<HexWindowController>& controller) {
  auto window = std::make_shared<FakeEditorWindow>();
  window->controller = controller.get();
  windows.push_back({controller, window});
  controller->attachWindow(*window);
}

bool FakeApplication::sendTextAction(TextAction action, const CommandOrigin&) {
  if (textViewAnswers) sentActions.push_back(action);
  return textViewAnswers;
}

ApplicationFixture::~ApplicationFixture() {
  for (const auto& shown : application.windows) shown.controller->windowWillClose();
}

EditorUnderTest ApplicationFixture::editorAt(std::size_t index) const {
  const auto& shown = application.windows.at(index);
  EditorUnderTest editor;
  // The document's own pointer, shared with its window.
  editor.document = std::shared_ptr<HexDocument>(shown.controller, &shown.controller->document());
  editor.controller = shown.controller;
  editor.window = shown.window;
  return editor;
}

EditorUnderTest ApplicationFixture::newEditedDocument(std::string_view typed) {
  delegate.newDocument();
  auto editor = editorAt(application.windows.size() - 1);
  editor.editor().setEditingArea(EditingArea::ascii);
  for (const char c : typed) editor.editor().handleTextInput(std::string_view(&c, 1));
  return editor;
}

bool ApplicationFixture::openFiles(std::vector<FileLocation> locations) {
  std::optional<bool> answer;
  delegate.openFiles(std::move(locations), [&](bool everyFileOpened) { answer = everyFileOpened; });
  platform.executor.runAll();
  EXPECT_TRUE(answer.has_value());
  return answer.value_or(false);
}

std::size_t ApplicationFixture::openWindowCount() const {
  return static_cast<std::size_t>(std::ranges::count_if(
      application.windows,
      [](const FakeApplication::Window& shown) { return shown.controller->hasWindow(); }));
}

void ApplicationFixture::expectSaveQuestion(const std::string& name, const std::string& answer) {
  platform.alerts.expect("Do you want to save the changes you made to \"" + name + "\"?",
                         "Your changes will be lost if you don't save them.", answer);
}

}  // namespace quillmor::test
