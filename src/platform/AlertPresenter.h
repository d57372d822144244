#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillmor {

enum class AlertStyle { informational, warning, critical };

struct AlertResponse;

/// One labelled row of an alert's form: a text field, or a pop-up when `choices` is not empty.
struct FormField {
  std::string label = {};
  std::string placeholder = {};
  std::string text = {};                  ///< what the field holds at first
  std::vector<std::string> choices = {};  ///< titles of a pop-up, in order
  std::size_t selectedChoice = 0;
  /// Returns the line under a text field that says how its text will be read; empty for no line.
  /// Gets the form as it stands (`button` means nothing) whenever it changes, so it has to be
  /// quick. May be absent.
  std::function<std::string(const AlertResponse& form)> note = {};
};

/// A modal alert. All texts are UTF-8.
struct Alert {
  std::string messageText = {};
  std::string informativeText = {};
  AlertStyle style = AlertStyle::informational;
  std::vector<std::string> buttons{"OK"};
  std::size_t defaultButton = 0;
  std::size_t cancelButton =
      static_cast<std::size_t>(-1);  ///< Escape; by default the button "Cancel", else the only one
  std::vector<FormField> fields = {};
  std::optional<std::size_t> focusedField = {};  ///< by default the first text field
  int formWidth = 420;                           ///< points, as far as the screen has room
};

struct AlertResponse {
  std::size_t button = 0;                    ///< index into `Alert::buttons`
  std::vector<std::string> texts;            ///< one per field; of a pop-up the chosen title
  std::vector<std::size_t> selectedChoices;  ///< one per field; 0 for text fields
};

/// Shows alerts. Main thread only. A modal alert runs the event loop: the caller must read its own
/// state again afterwards.
class AlertPresenter {
 public:
  virtual ~AlertPresenter() = default;
  virtual AlertResponse runModal(const Alert& alert) = 0;
};

}  // namespace quillmor
