#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace quillmor {

enum class AlertStyle { informational, warning, critical };

/// One labelled row of an alert's form: a text field, or a pop-up when `choices` is not empty.
struct FormField {
  std::string label = {};
  std::string placeholder = {};
  std::string text = {};                  ///< what the field holds at first
  std::vector<std::string> choices = {};  ///< titles of a pop-up, in order
  std::size_t selectedChoice = 0;

  bool operator==(const FormField&) const = default;
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
  int formWidth = 420;  ///< points

  bool operator==(const Alert&) const = default;
};

struct AlertResponse {
  std::size_t button = 0;                    ///< index into `Alert::buttons`
  std::vector<std::string> texts;            ///< one per field; of a pop-up the chosen title
  std::vector<std::size_t> selectedChoices;  ///< one per field; 0 for text fields
};

/// Shows alerts. Main thread only. A modal alert runs the event loop: whoever calls reads its state
/// again afterwards.
class AlertPresenter {
 public:
  virtual ~AlertPresenter() = default;
  virtual AlertResponse runModal(const Alert& alert) = 0;
};

}  // namespace quillmor
