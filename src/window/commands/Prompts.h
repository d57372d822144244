#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "document/HexSelection.h"
#include "platform/AlertPresenter.h"

namespace quillmor {

// The forms of the commands. A refused answer costs no typing: an alert says why, then the form is
// shown again as it was filled in, until the answer is accepted or the user cancels. Every result
// is absent when the user cancels. A note under a text field shows how its text will be read.

/// The reason why an answer is refused, and the field to correct.
struct AnswerRefusal {
  std::string message;
  std::size_t field = 0;
};

/// Alerts `refusal` under the form's title, then fills the form in as it was and puts the focus
/// into the refused field.
void refuseAnswer(AlertPresenter& alerts, Alert& form, const AlertResponse& response,
                  const AnswerRefusal& refusal);

/// Shows `form`, whose first button accepts, until `read` makes a value of what was filled in.
template <class Value>
std::optional<Value> askUntilRead(
    AlertPresenter& alerts, Alert form,
    const std::function<std::variant<Value, AnswerRefusal>(const AlertResponse&)>& read) {
  for (;;) {
    const AlertResponse response = alerts.runModal(form);
    if (response.button != 0) return std::nullopt;
    auto answer = read(response);
    if (auto* value = std::get_if<Value>(&answer)) return std::move(*value);
    refuseAnswer(alerts, form, response, std::get<AnswerRefusal>(answer));
  }
}

/// Asks for one offset of 0 or more; anything else is refused with "Enter a valid offset.".
std::optional<std::int64_t> askForOffset(AlertPresenter& alerts, const std::string& title,
                                         const std::string& message);

/// Asks for a start and a length of 0 or more, in that order; not yet clipped to a document. Text
/// that is not a number is refused with "Enter a valid start offset and length.", a negative number
/// with `negative`.
std::optional<HexSelection> askForRange(
    AlertPresenter& alerts, const std::string& title, const std::string& message,
    const std::string& negative = "Enter a valid start offset and length.");

/// Asks for a number of 1 or more, offering `offered`; anything else is refused with "Enter a
/// number of 1 or more.".
std::optional<std::int64_t> askForPositiveInteger(AlertPresenter& alerts, const std::string& title,
                                                  const std::string& message, std::int64_t offered);

/// Asks for a text in `field`; `refusalOf` says why a text is refused, and is absent for a good
/// one.
std::optional<std::string> askForText(
    AlertPresenter& alerts, const std::string& title, const std::string& message, FormField field,
    const std::function<std::optional<std::string>(const std::string&)>& refusalOf);

/// How the bytes of a pattern may be typed.
enum class PatternInput {
  autoHexOrText,  ///< a pop-up offers Auto, Hex and Text; in Auto one unbroken word is text
  hexUnlessText,  ///< hexadecimal bytes, one unbroken word too, unless the pop-up is set to Text
};

/// Asks for a pattern of one byte or more; anything else is refused with "Enter a valid byte
/// pattern.".
std::optional<std::vector<std::uint8_t>> promptBytePattern(AlertPresenter& alerts,
                                                           const std::string& title,
                                                           const std::string& message,
                                                           PatternInput input);

/// A byte pattern as typed, and a number beside it.
struct PatternAndNumber {
  std::vector<std::uint8_t> pattern;
  std::int64_t number = 0;
};

/// A number beside a byte pattern.
struct NumberPrompt {
  FormField field;
  std::string invalid;  ///< the refusal of text that is not a number
  /// Why a pattern and a number are refused; absent for good ones.
  std::function<std::optional<std::string>(const PatternAndNumber&)> refusalOf;
};

/// Asks for a byte pattern, in Auto, Hex or Text, and a number of any sign.
std::optional<PatternAndNumber> promptBytePatternAndNumber(AlertPresenter& alerts,
                                                           const std::string& title,
                                                           const std::string& message,
                                                           NumberPrompt number);

}  // namespace quillmor
