#pragma once

#include <QDialog>
#include <optional>
#include <vector>

#include "platform/AlertPresenter.h"

class QDialogButtonBox;

namespace quillmor {

/// An alert with a form: labelled text fields and pop-ups between its texts and its buttons.
/// Return presses the default button, Escape the one for cancelling; without one, Escape and the
/// window's close button do nothing. Main thread only.
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
  QDialogButtonBox* makeButtons();
  void finish(std::size_t button);

  Alert alert_;
  std::vector<QWidget*> fieldWidgets_;
  std::optional<std::size_t> pressedButton_;
};

}  // namespace quillmor
