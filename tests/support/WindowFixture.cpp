#include "support/WindowFixture.h"

#include <new>

namespace quillmor::test {

namespace {

ByteBuffer bytesOf(std::string_view text) {
  return ByteBuffer(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

}  // namespace

void FakeEditorWindow::setIdentity(const std::string& displayName,
                                   const std::optional<FileLocation>& location, bool edited) {
  if (identityFailures > 0 && identityFailures-- > 0) throw std::bad_alloc();
  title = displayName;
  represented = location;
  isEdited = edited;
}

void FakeEditorWindow::setStatusText(const std::string& text) {
  statusText = text;
  statusHistory.push_back(text);
}

void FakeEditorWindow::showProgress(double part, bool stoppable) {
  progressVisible = true;
  fraction = part;
  canStop = stoppable;
}

void FakeEditorWindow::closeWindow() {
  closed = true;
  if (controller != nullptr) controller->windowWillClose();
}

std::string EditorUnderTest::text() const {
  const auto bytes = document->storage()->bytes.span();
  return {bytes.begin(), bytes.end()};
}

WindowFixture::~WindowFixture() {
  // Documents and their windows hold each other until the window closes.
  const auto open = documents.documents();
  for (const auto& document : open) {
    const auto windows = document->windowControllers();
    for (const auto& window : windows) {
      std::dynamic_pointer_cast<HexWindowController>(window)->windowWillClose();
    }
  }
}

EditorUnderTest WindowFixture::makeEditor(std::string_view content) {
  EditorUnderTest made;
  made.document = documents.makeUntitledDocument(platform.executor);
  made.document->readData(bytesOf(content));
  made.window = windows_.emplace_back(std::make_shared<FakeEditorWindow>());
  made.document->makeWindowControllers([&](HexDocument&) {
    made.controller = std::make_shared<HexWindowController>(
        made.document, EditorEnvironment{platform.services(), documents, saver, records, traces});
    return made.controller;
  });
  made.window->controller = made.controller.get();
  made.controller->attachWindow(*made.window);
  return made;
}

EditorUnderTest WindowFixture::openEditor(const FileLocation& location) {
  EditorUnderTest made = makeEditor();
  made.controller->commands().replacement().openURLInCurrentWindow(location,
                                                                   [](OpenCurrentResult) {});
  platform.executor.runAll();
  return made;
}

EditorUnderTest WindowFixture::openEdited(const FileLocation& location) {
  EditorUnderTest made = openEditor(location);
  type(made, "J");
  return made;
}

void WindowFixture::type(const EditorUnderTest& editor, std::string_view text) {
  editor.editor().setEditingArea(EditingArea::ascii);
  for (const char c : text) editor.editor().handleTextInput(std::string_view(&c, 1));
}

void WindowFixture::typeHex(const EditorUnderTest& editor, std::string_view digits) {
  editor.editor().setEditingArea(EditingArea::hex);
  for (const char c : digits) editor.editor().handleTextInput(std::string_view(&c, 1));
}

}  // namespace quillmor::test
