#include "app/AppDelegate.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

struct TextCommand {
  std::string_view menuAction;
  TextAction textAction;
};

constexpr auto kTextCommands = std::to_array<TextCommand>({
    {"forwardUndo:", TextAction::undo},
    {"forwardRedo:", TextAction::redo},
    {"forwardCut:", TextAction::cut},
    {"forwardCopy:", TextAction::copy},
    {"forwardPaste:", TextAction::paste},
    {"forwardDeleteSelection:", TextAction::delete_},
    {"forwardSelectAll:", TextAction::selectAll},
});

struct ApplicationCommand {
  std::string_view action;
  void (*perform)(AppDelegate&, ApplicationSurface&, const CommandOrigin&);
};

constexpr auto kApplicationCommands = std::to_array<ApplicationCommand>({
    {"showAbout:", [](auto&, auto& surface, auto&) { surface.showAboutWindow(); }},
    {"showPreferences:", [](auto& app, auto&, auto&) { app.showPreferences(); }},
    {"requestQuit:", [](auto& app, auto&, auto&) { app.requestQuit(); }},
    {"newDocument:", [](auto& app, auto&, auto&) { app.newDocument(); }},
    {"forwardOpenDocument:", [](auto& app, auto&, auto&) { app.openDocument(); }},
    {"performClose:", [](auto&, auto& surface, auto& origin) { surface.performClose(origin); }},
});

template <class Table>
auto findAction(const Table& table, std::string_view action) {
  return std::find_if(table.begin(), table.end(),
                      [action](const auto& entry) { return entry.action == action; });
}

}  // namespace

AppDelegate::AppDelegate(const PlatformServices& platform, ApplicationSurface& surface)
    : platform_(platform), surface_(surface), saver_(platform_.executor, documents_) {}

std::vector<std::shared_ptr<HexWindowController>> AppDelegate::editorControllers() const {
  std::vector<std::shared_ptr<HexWindowController>> controllers;
  for (const auto& held : windowOrder_) {
    auto controller = held.lock();
    if (controller && controller->hasWindow()) controllers.push_back(std::move(controller));
  }
  return controllers;
}

std::shared_ptr<HexWindowController> AppDelegate::currentHexWindowController() const {
  const auto controllers = editorControllers();
  return controllers.empty() ? nullptr : controllers.front();
}

std::shared_ptr<HexWindowController> AppDelegate::editorFor(const CommandOrigin& origin) const {
  return origin.editor ? origin.editor : currentHexWindowController();
}

void AppDelegate::editorWindowDidBecomeKey(const HexWindowController& controller) {
  std::erase_if(windowOrder_, [](const auto& held) { return held.expired(); });
  const auto isIt = [&](const auto& held) { return held.lock().get() == &controller; };
  const auto found = std::find_if(windowOrder_.begin(), windowOrder_.end(), isIt);
  if (found != windowOrder_.end()) std::rotate(windowOrder_.begin(), found, found + 1);
}

void AppDelegate::perform(std::string_view action, const CommandOrigin& origin) {
  const auto work = [&] { return route(action, origin), Done(); };
  const auto result = resultOf(work);
  if (result.isOk()) return;
  if (const auto editor = editorFor(origin)) editor->noteReason(result.error());
  platform_.alerts.runModal({.messageText = commandTitle(action) + " Failed",
                             .informativeText = result.error().message()});
}

void AppDelegate::route(std::string_view action, const CommandOrigin& origin) {
  if (performTextAction(action, origin)) return;
  if (origin.editor) editorWindowDidBecomeKey(*origin.editor);
  const auto own = findAction(kApplicationCommands, action);
  if (own != kApplicationCommands.end()) return own->perform(*this, surface_, origin);
  if (const auto controller = currentHexWindowController()) controller->perform(action);
}

bool AppDelegate::performTextAction(std::string_view action, const CommandOrigin& origin) {
  const auto command =
      std::find_if(kTextCommands.begin(), kTextCommands.end(),
                   [action](const TextCommand& entry) { return entry.menuAction == action; });
  if (command == kTextCommands.end()) return false;
  const auto focus = surface_.focusedTextView(origin);
  if (!focus) return false;
  const bool nothingToUndo = (command->textAction == TextAction::undo && !focus->canUndo) ||
                             (command->textAction == TextAction::redo && !focus->canRedo);
  if (nothingToUndo) {
    const bool isUndo = command->textAction == TextAction::undo;
    const auto editor = editorFor(origin);
    if (!editor) return platform_.beeper.beep(), true;
    editor->refuse(isUndo ? HexWindowController::kNothingToUndo
                          : HexWindowController::kNothingToRedo);
    return true;
  }
  return surface_.sendTextAction(command->textAction, origin);
}

EnablingContext AppDelegate::enablingContext(const CommandOrigin& origin) const {
  EnablingContext context;
  context.textFocus = surface_.focusedTextView(origin);
  const auto controller = editorFor(origin);
  if (!controller) return context;
  context.hasController = true;
  context.isBusy = controller->isBusy();
  context.hasFile = controller->hasFileURLForMenu();
  context.canUndo = controller->document().undoManager().canUndo();
  context.canRedo = controller->document().undoManager().canRedo();
  context.hasBookmarks = !controller->bookmarks().offsets().empty();
  const std::int64_t count = controller->document().storage()->count();
  context.hasSelection = controller->editor().selection().normalized(count).length > 0;
  context.hasBytes = count > 0;
  return context;
}

bool AppDelegate::validateMenuItem(std::string_view action, const CommandOrigin& origin) const {
  const auto hasCommand = [](std::string_view name) {
    return findAction(kApplicationCommands, name) != kApplicationCommands.end() ||
           HexWindowController::hasCommand(name);
  };
  return isEnabled(action, enablingContext(origin), hasCommand);
}

std::shared_ptr<HexWindowController> AppDelegate::showNewEditorWindow(bool isPendingInitialLoad) {
  const auto document = documents_.makeUntitledDocument(platform_.executor);
  document->isPendingInitialLoad = isPendingInitialLoad;
  return showEditorWindow(document);
}

std::shared_ptr<HexWindowController> AppDelegate::showEditorWindow(
    const std::shared_ptr<HexDocument>& document) {
  std::shared_ptr<HexWindowController> controller;
  try {
    document->makeWindowControllers([&](HexDocument&) {
      controller = std::make_shared<HexWindowController>(
          document, EditorEnvironment{platform_, documents_, saver_});
      return controller;
    });
    windowOrder_.insert(windowOrder_.begin(), controller);
    surface_.showEditorWindow(controller);
  } catch (...) {
    // No document stays open without a window in which to close it.
    if (controller) controller->closeUnusedWindow();
    if (controller) document->removeWindowController(controller.get());
    documents_.close(document.get());
    throw;
  }
  return controller;
}

void AppDelegate::newDocument() {
  showNewEditorWindow(/*isPendingInitialLoad=*/false);
}

void AppDelegate::openUntitledDocumentIfNeeded() {
  if (documents_.documents().empty()) return newDocument();
  documents_.documents().front()->activateOpenWindows();
}

void AppDelegate::openDocument() {
  const auto controller = currentHexWindowController();
  std::optional<FileLocation> directory;
  if (controller && controller->document().location())
    directory = controller->document().location()->directory();
  auto locations =
      platform_.filePanels.runOpenPanel("Open", /*allowsMultipleSelection=*/true, directory);
  // The panel ran the event loop, in which another window may have come to the front.
  if (!locations.empty())
    openFiles(
        locations, [](bool) {}, controller);
}

void AppDelegate::showPreferences() {
  platform_.alerts.runModal(
      {.messageText = "Quillmor Preferences",
       .informativeText =
           "Dark metallic UI. Bytes per row and Insert/Overwrite mode are now saved per user and "
           "restored for new windows."});
}

}  // namespace quillmor
