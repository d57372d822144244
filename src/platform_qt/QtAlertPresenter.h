#pragma once

#include "platform/AlertPresenter.h"

namespace quillmor {

/// Shows alerts as dialogs of the active window. Main thread only. Texts are shown as they are,
/// never read as markup. If the window closes while its alert is shown, the answer is the cancel
/// button (else the last one) with the form unchanged.
class QtAlertPresenter : public AlertPresenter {
 public:
  AlertResponse runModal(const Alert& alert) override;
};

}  // namespace quillmor
