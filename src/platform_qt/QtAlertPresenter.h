#pragma once

#include "platform/AlertPresenter.h"

namespace quillmor {

/// Shows alerts as dialogs of the active window. Main thread only. Texts are shown as they are,
/// never read as markup. When the window goes while its alert is shown, the answer is the button
/// for cancelling (else the last one) with the form as it was given.
class QtAlertPresenter : public AlertPresenter {
 public:
  AlertResponse runModal(const Alert& alert) override;
};

}  // namespace quillmor
