#include "app/AppDelegate.h"

#include <algorithm>
#include <utility>

#include "app/ApplicationCommands.h"
#include "app/MainMenu.h"
#include "platform/RunInBackground.h"

namespace quillmor {

AppDelegate::AppDelegate(const PlatformServices& platform, ApplicationSurface& surface,
                         const RecordStore* records, Traces traces)
    : platform_(platform),
      surface_(surface),
      records_(records),
      traces_(traces),
      saver_(platform_.executor, documents_,
             records != nullptr ? std::make_shared<SaveRecords>(*records) : nullptr) {
  if (records == nullptr) return;
  recovery_ = std::make_unique<RecoveryController>(
      platform_, documents_, surface_, *records,
      RecoveryController::Editors{
          .current = [this] { return currentHexWindowController(); },
          .makeNew = [this] { return showNewEditorWindow(/*isPendingInitialLoad=*/false); }});
  documents_.setOpenObserver(
      [this](const FileLocation& location) { recovery_->offerFor(location); });
}

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
  const bool hasEditor = origin.editor && origin.editor->hasWindow();
  return hasEditor ? origin.editor : currentHexWindowController();
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
  if (const auto editor = editorFor(origin))
    editor->context().messages().noteReason(result.error());
  platform_.alerts.runModal({.messageText = commandTitle(action) + " Failed",
                             .informativeText = result.error().message()});
}

void AppDelegate::route(std::string_view action, const CommandOrigin& origin) {
  if (performTextAction(action, origin)) return;
  if (origin.editor) editorWindowDidBecomeKey(*origin.editor);
  if (const auto* own = findRow(applicationCommands(), action))
    return own->perform(*this, surface_, origin);
  if (const auto editor = editorFor(origin)) editor->perform(action);
}

/// True if a text view with the focus takes the command.
bool AppDelegate::performTextAction(std::string_view action, const CommandOrigin& origin) {
  const TextCommand* const command = findTextCommand(action);
  if (!command) return false;
  const auto focus = surface_.focusedTextView(origin);
  if (!focus) return false;
  const bool isUndo = command->textAction == TextAction::undo;
  const bool isRedo = command->textAction == TextAction::redo;
  if ((isUndo && !focus->canUndo) || (isRedo && !focus->canRedo)) {
    const auto editor = editorFor(origin);
    if (!editor) return platform_.beeper.beep(), true;
    editor->context().messages().refuse(isUndo ? EditCommands::kNothingToUndo
                                               : EditCommands::kNothingToRedo);
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
  context.hasFile = controller->document().location().has_value();
  context.canUndo = controller->document().undoManager().canUndo();
  context.canRedo = controller->document().undoManager().canRedo();
  context.hasBookmarks = !controller->bookmarks().offsets().empty();
  context.hasSelection = controller->session().selectedRange().length > 0;
  context.hasBytes = controller->session().byteCount() > 0;
  return context;
}

bool AppDelegate::validateMenuItem(std::string_view action, const CommandOrigin& origin) const {
  const Command* const command = findCommand(action);
  return command && isEnabled(*command, enablingContext(origin));
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
          document,
          EditorEnvironment{.platform = platform_,
                            .documents = documents_,
                            .saver = saver_,
                            .records = records_,
                            .traces = traces_,
                            .openUntitled = [this](ByteBuffer bytes, EditorPlaces places) {
                              openUntitled(std::move(bytes), std::move(places));
                            }});
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

void AppDelegate::openUntitled(ByteBuffer bytes, EditorPlaces places) {
  requireDocumentByteCount(bytes.size());
  const auto controller = showNewEditorWindow(/*isPendingInitialLoad=*/false);
  controller->commands().replacement().showRecovered(
      {.bytes = std::move(bytes), .places = std::move(places)});
}

void AppDelegate::newDocument() {
  showNewEditorWindow(/*isPendingInitialLoad=*/false);
}

void AppDelegate::openUntitledDocumentIfNeeded() {
  if (documents_.documents().empty()) return newDocument();
  documents_.documents().front()->activateOpenWindows();
}

void AppDelegate::openDocument(const CommandOrigin& origin) {
  const auto controller = editorFor(origin);
  const auto directory = controller ? controller->context().documentDirectory() : std::nullopt;
  const auto locations =
      platform_.filePanels.runOpenPanel("Open", /*allowsMultipleSelection=*/true, directory);
  // The panel ran the event loop, in which another window may have come to the front.
  if (locations.empty()) return;
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
