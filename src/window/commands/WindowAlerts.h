#pragma once

#include <functional>
#include <utility>

#include "platform/AlertPresenter.h"

namespace quillmor {

/// The alerts of one window: once the window has gone nothing is shown any more, and every question
/// counts as cancelled. Main thread only.
class WindowAlerts final : public AlertPresenter {
 public:
  /// `alerts` and what `hasWindow` looks at outlive this object.
  WindowAlerts(AlertPresenter& alerts, std::function<bool()> hasWindow)
      : alerts_(alerts), hasWindow_(std::move(hasWindow)) {}

  AlertResponse runModal(const Alert& alert) override {
    if (hasWindow_()) return alerts_.runModal(alert);
    return {.button = alert.buttons.size(), .texts = {}, .selectedChoices = {}};
  }

 private:
  AlertPresenter& alerts_;
  std::function<bool()> hasWindow_;
};

}  // namespace quillmor
