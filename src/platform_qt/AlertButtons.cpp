#include "platform_qt/AlertButtons.h"

#include <algorithm>

namespace quillmor::AlertButtons {

Alert normalized(Alert alert) {
  if (alert.buttons.empty()) alert.buttons.emplace_back("OK");
  if (alert.defaultButton >= alert.buttons.size()) alert.defaultButton = 0;
  return alert;
}

std::optional<std::size_t> cancelButton(const Alert& alert) {
  if (alert.cancelButton < alert.buttons.size()) return alert.cancelButton;
  const auto named = std::find(alert.buttons.begin(), alert.buttons.end(), "Cancel");
  if (named != alert.buttons.end()) {
    return static_cast<std::size_t>(named - alert.buttons.begin());
  }
  if (alert.buttons.size() == 1) return 0;
  return std::nullopt;
}

std::size_t buttonOfLostDialog(const Alert& alert) {
  return cancelButton(alert).value_or(alert.buttons.size() - 1);
}

QDialogButtonBox::ButtonRole role(const Alert& alert, std::size_t button) {
  const auto cancel = cancelButton(alert);
  if (alert.buttons.size() > 1 && button == cancel) return QDialogButtonBox::RejectRole;
  if (button == alert.defaultButton) return QDialogButtonBox::AcceptRole;
  const bool isRisky = alert.style != AlertStyle::informational || cancel == alert.defaultButton;
  return isRisky ? QDialogButtonBox::DestructiveRole : QDialogButtonBox::AcceptRole;
}

QString title(const std::string& text) {
  return QString::fromStdString(text).replace('&', "&&");
}

}  // namespace quillmor::AlertButtons
