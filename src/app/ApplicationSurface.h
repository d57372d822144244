#pragma once

#include <memory>
#include <optional>

#include "app/MenuEnabling.h"
#include "window/HexWindowController.h"

namespace quillmor {

/// The standard commands that a focused text view carries out itself.
enum class TextAction { undo, redo, cut, copy, paste, delete_, selectAll };

/// What the application delegate needs of the toolkit's application. Main thread only.
class ApplicationSurface {
 public:
  virtual ~ApplicationSurface() = default;

  /// Makes a window for the controller, attaches it and shows it in front.
  virtual void showEditorWindow(const std::shared_ptr<HexWindowController>& controller) = 0;

  /// The text view with the keyboard focus in the key window; absent when something else has it.
  virtual std::optional<TextFocus> focusedTextView() const = 0;

  /// Sends the action to the focused text view; false when there is none.
  virtual bool sendTextAction(TextAction action) = 0;

  /// Closes the key window, after its questions.
  virtual void performClose() = 0;

  virtual void showAboutWindow() = 0;

  /// Closes every window without asking and ends the event loop.
  virtual void terminate() = 0;
};

}  // namespace quillmor
