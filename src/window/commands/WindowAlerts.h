#pragma once

#include <functional>
#include <utility>

#include "platform/AlertPresenter.h"

namespace quillmor {

/// The alerts of one window. Once the window has gone nothing is shown any more, and every question
/// counts as cancelled, also one that was on screen. Main thread only.
class WindowAlerts final : public AlertPresenter {
 public:
  /// `alerts` and what `hasWindow` looks at outlive this object.
  WindowAlerts(AlertPresenter& alerts, std::function<bool()> hasWindow)
      : alerts_(alerts), hasWindow_(std::move(hasWindow)) {}

  AlertResponse runModal(const Alert& alert) override {
    AlertResponse response{.button = alert.buttons.size(), .texts = {}, .selectedChoices = {}};
    if (hasWindow_()) response = alerts_.runModal(alert);
    if (!hasWindow_()) response.button = alert.buttons.size();
    return response;
  }

 private:
  AlertPresenter& alerts_;
  std::function<bool()> hasWindow_;
};

}  // namespace quillmor
