#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/HexSelection.h"
#include "platform/AlertPresenter.h"

namespace quillmor {

/// Asks for one offset of 0 or more. Absent when cancelled or, after an alert saying "Enter a valid
/// offset.", when the answer is none.
std::optional<std::int64_t> askForOffset(AlertPresenter& alerts, const std::string& title,
                                         const std::string& message);

/// Asks for a start and a length of 0 or more, in that order; not yet clipped to any document.
/// Absent when cancelled or, after an alert saying "Enter a valid start offset and length.", when
/// an answer is none; of negative answers the alert says `negative`.
std::optional<HexSelection> askForRange(
    AlertPresenter& alerts, const std::string& title, const std::string& message,
    const std::string& negative = "Enter a valid start offset and length.");

/// Asks for a number of 1 or more, offering `offered`. Absent when cancelled or, after an alert
/// saying "Enter a number of 1 or more.", when the answer is none.
std::optional<std::int64_t> askForPositiveInteger(AlertPresenter& alerts, const std::string& title,
                                                  const std::string& message, std::int64_t offered);

/// Asks for one text in `field`. Absent when cancelled.
std::optional<std::string> askForText(AlertPresenter& alerts, const std::string& title,
                                      const std::string& message, FormField field);

/// A byte pattern as typed, and a number beside it.
struct PatternAndNumber {
  std::vector<std::uint8_t> pattern;
  std::int64_t number = 0;
};

/// Asks for a byte pattern of one byte or more, typed as text or as hexadecimal bytes. Absent when
/// cancelled or, after an alert saying "Enter a valid byte pattern.", when the answer is none.
std::optional<std::vector<std::uint8_t>> promptBytePattern(AlertPresenter& alerts,
                                                           const std::string& title,
                                                           const std::string& message);

/// The same with a number, of any sign, in `numberField`; `invalidNumber` is said of what is none.
std::optional<PatternAndNumber> promptBytePatternAndNumber(AlertPresenter& alerts,
                                                           const std::string& title,
                                                           const std::string& message,
                                                           FormField numberField,
                                                           const std::string& invalidNumber);

}  // namespace quillmor
