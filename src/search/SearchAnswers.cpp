#include "search/SearchAnswers.h"

#include "base/Unicode.h"
#include "search/typed/TypedInput.h"

namespace quillmor {

namespace {

/// What a text should have been, as the end of a sentence.
std::string_view expectedBy(SearchMode mode) {
  switch (mode) {
    case SearchMode::textString:
      return "text in that encoding.";
    case SearchMode::hexValues:
      return "hexadecimal bytes.";
    case SearchMode::integerNumber:
      return "an integer.";
    case SearchMode::floatingPointNumber:
      return "a floating-point number.";
  }
  return {};
}

}  // namespace

std::string foundText(std::int64_t count) {
  return count > 0 ? std::to_string(count) + " occurrence(s) found." : "No matches found.";
}

std::string replacedText(std::int64_t count) {
  return count > 0 ? std::to_string(count) + " occurrence(s) replaced."
                   : "No matches were replaced.";
}

std::string refusalOfSearch(const SearchRequest& request) {
  if (request.searchText.empty()) return std::string(kNothingToSearchFor);
  return unreadableText("The search text", request.mode);
}

std::string refusalOfReplacement(SearchMode mode) {
  const bool isNumber =
      mode == SearchMode::integerNumber || mode == SearchMode::floatingPointNumber;
  // A number of the right form may still need more bytes than the match has.
  if (isNumber) return "The replacement is not a number that fits in the place of the match.";
  return unreadableText("The replacement", mode);
}

std::string unreadableText(std::string_view input, SearchMode mode) {
  return std::string(input) + " cannot be read as " + std::string(expectedBy(mode));
}

Result<WildcardHexPattern> typedWildcardPattern(std::string_view text) {
  if (Unicode::hasMoreScalarsThan(text, maxTextInputCharacters))
    return Error::quillmor(2202, "Pattern is too large to process safely.");
  if (auto pattern = WildcardHexPattern::parse(text)) return *std::move(pattern);
  return Error::quillmor(2203, "Invalid pattern. Use byte tokens such as DE AD ?? EF.");
}

}  // namespace quillmor
