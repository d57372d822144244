#pragma once

#include <QDialogButtonBox>
#include <QString>
#include <cstddef>
#include <optional>

#include "platform/AlertPresenter.h"

/// What both kinds of alert dialogs need to know about an alert's buttons.
namespace quillmor::AlertButtons {

/// `alert` with at least one button and a default button that exists.
Alert normalized(Alert alert);

/// The button that Escape presses: the named one, else "Cancel", else the only one.
std::optional<std::size_t> cancelButton(const Alert& alert);

/// The answer when the dialog was taken away before a button was pressed.
std::size_t buttonOfLostDialog(const Alert& alert);

/// The role that places a button as the desktop expects. A button that is neither the default nor
/// the one for Escape is the risky way out when the alert warns, or when Escape is the default.
QDialogButtonBox::ButtonRole role(const Alert& alert, std::size_t button);

/// A title as the toolkit wants it, where a lone "&" would mark a shortcut.
QString title(const std::string& text);

}  // namespace quillmor::AlertButtons
