#pragma once

#include <memory>
#include <optional>

#include "app/MenuEnabling.h"
#include "window/HexWindowController.h"

namespace quillmor {

class RecoveryController;

/// The place where a command was chosen.
struct CommandOrigin {
  /// The editor that the window of the menu belongs to; null for the current one.
  std::shared_ptr<HexWindowController> editor;
  /// The window as the surface knows it; null for the one with the keyboard.
  void* window = nullptr;
};

/// The toolkit's application, as far as the application delegate needs it. Main thread only.
class ApplicationSurface {
 public:
  virtual ~ApplicationSurface() = default;

  /// Makes a window for the controller, attaches it and shows it in front.
  virtual void showEditorWindow(const std::shared_ptr<HexWindowController>& controller) = 0;

  /// The text view with the keyboard focus of the origin's window; absent when something else has
  /// it.
  virtual std::optional<TextFocus> focusedTextView(const CommandOrigin& origin) const = 0;

  /// Sends the action to that text view; false when there is none.
  virtual bool sendTextAction(TextAction action, const CommandOrigin& origin) = 0;

  /// Closes the origin's window after asking about unsaved changes.
  virtual void performClose(const CommandOrigin& origin) = 0;

  virtual void showAboutWindow() = 0;

  /// Shows the list of documents that can be recovered, or brings it to the front, with what the
  /// controller has now. The controller outlives the list.
  virtual void showRecoveryList(RecoveryController& recovery) = 0;

  /// The list that is shown, if one is, follows its controller; without content it closes.
  virtual void refreshRecoveryList() = 0;

  /// Closes every window without asking and ends the event loop.
  virtual void terminate() = 0;
};

}  // namespace quillmor
