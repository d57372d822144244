#pragma once

#include <QDialog>
#include <optional>
#include <vector>

#include "platform/AlertPresenter.h"

class QDialogButtonBox;
class QFormLayout;
class QLabel;

namespace quillmor {

/// An alert with a form: labelled text fields and pop-ups between its texts and its buttons. The
/// field that the alert names, else the first text field, has the focus, and its text is selected.
/// The notes under the fields follow the input. Return presses the default button, Escape the
/// cancel button; without one, Escape and the window's close button do nothing. Main thread only.
class AlertFormDialog : public QDialog {
 public:
  /// `alert` is normalized (see `AlertButtons::normalized`) and has fields.
  AlertFormDialog(const Alert& alert, QWidget* parent);

  /// The answer, once `exec` has returned.
  AlertResponse response() const;

  void reject() override;

 private:
  QWidget* makeForm();
  QWidget* makeField(const FormField& field);
  void addNote(const FormField& field, QWidget& widget, QFormLayout& layout);
  void updateNotes();
  void focusField();
  QDialogButtonBox* makeButtons();
  void finish(std::size_t button);

  Alert alert_;
  std::vector<QWidget*> fieldWidgets_;
  std::vector<QLabel*> noteLabels_;  ///< one per field; null without a note
  std::optional<std::size_t> pressedButton_;
};

}  // namespace quillmor
