#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "document/DocumentWindow.h"
#include "recovery/UnsavedChanges.h"
#include "window/OutsideChanges.h"
#include "window/commands/CommandContext.h"
#include "window/commands/EditorCommands.h"

namespace quillmor {

/// The controller of one editor window: its life from the document's window to the window's close,
/// and the way to its commands. Knows no toolkit; main thread only.
class HexWindowController : public DocumentWindow,
                            public std::enable_shared_from_this<HexWindowController> {
 public:
  /// What the environment holds outlives the controller.
  HexWindowController(std::shared_ptr<HexDocument> document, const EditorEnvironment& environment);

  /// Attaches the window, which outlives its use until `windowWillClose`, and shows the first
  /// status.
  void attachWindow(EditorWindowSurface& window);

  /// True from `attachWindow` until the window closes. Work under way may keep the controller alive
  /// for longer.
  bool hasWindow() const { return context_.hasWindow(); }

  EditSession& session() { return context_.session(); }
  HexDocument& document() { return context_.document(); }
  HexEditorState& editor() { return context_.editor(); }
  const Bookmarks& bookmarks() { return context_.session().bookmarks(); }
  UnsavedChanges& unsavedChanges() { return context_.unsavedChanges(); }

  // Commands.

  CommandContext& context() { return context_; }
  EditorCommands& commands() { return commands_; }
  OutsideChanges& outsideChanges() { return outsideChanges_; }

  /// Carries out the command of this menu action ("forwardGoToOffset:").
  void perform(std::string_view action) { commands_.perform(action); }

  bool isBusy() const { return context_.isBusy(); }
  void stopCurrentOperation() { context_.frame().requestStop(); }

  // Closing.

  /// True if the window may close now. While an operation runs: alerts and returns false.
  bool windowShouldClose();

  /// Asks about unsaved changes as far as needed, saves on request, and reports whether closing may
  /// go on.
  void requestClose(std::function<void(bool)> completion);

  /// Closes the window without asking, because its document could not be opened.
  void closeUnusedWindow();

  /// To be called when the window has closed or is about to. Unsaved changes that the user did not
  /// decide to lose stay in their records.
  void windowWillClose();

  /// The process ends without asking: whatever the user has answered before, the records stay.
  void leaveRecordsBehind() { unwantedState_.reset(); }

  // DocumentWindow

  void documentStorageDidReload() override;
  void documentIdentityDidChange() override;
  void activate() override;

 private:
  void followFileWithLock();

  CommandContext context_;
  EditorCommands commands_{context_};
  OutsideChanges outsideChanges_{context_};
  /// The state of the document that the user does not want to be saved.
  std::optional<ChangeCount::Token> unwantedState_;
};

}  // namespace quillmor
