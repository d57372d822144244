#pragma once

#include <QDialogButtonBox>
#include <QString>
#include <cstddef>
#include <optional>

#include "platform/AlertPresenter.h"

/// Facts about an alert's buttons that both kinds of alert dialogs need.
namespace quillmor::AlertButtons {

/// Returns `alert` with at least one button and a default button that exists.
Alert normalized(Alert alert);

/// The button that Escape presses: the named one, else "Cancel", else the only one.
std::optional<std::size_t> cancelButton(const Alert& alert);

/// The answer when the dialog was destroyed before a button was pressed.
std::size_t buttonOfLostDialog(const Alert& alert);

/// The role that places a button as the desktop expects. A button that is neither the default nor
/// the one for Escape is the risky way out when the alert warns, or when Escape is the default.
QDialogButtonBox::ButtonRole role(const Alert& alert, std::size_t button);

/// Returns a title for the toolkit, which takes a lone "&" for the mark of a shortcut.
QString title(const std::string& text);

}  // namespace quillmor::AlertButtons
