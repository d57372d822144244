#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "document/HexSelection.h"
#include "platform/AlertPresenter.h"

namespace quillmor {

/// Asks for one offset of 0 or more. Absent when cancelled or, after an alert saying "Enter a valid
/// offset.", when the answer is none.
std::optional<std::int64_t> askForOffset(AlertPresenter& alerts, const std::string& title,
                                         const std::string& message);

/// Asks for a start and a length of 0 or more, in that order; not yet clipped to any document.
/// Absent when cancelled or, after an alert saying "Enter a valid start offset and length.", when
/// an answer is none.
std::optional<HexSelection> askForRange(AlertPresenter& alerts, const std::string& title,
                                        const std::string& message);

/// Asks for one text in `field`. Absent when cancelled.
std::optional<std::string> askForText(AlertPresenter& alerts, const std::string& title,
                                      const std::string& message, FormField field);

}  // namespace quillmor
