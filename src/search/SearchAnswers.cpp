#include "search/SearchAnswers.h"

#include "base/Unicode.h"
#include "search/TypedInput.h"

namespace quillmor {

std::string foundText(std::int64_t count) {
  return count > 0 ? std::to_string(count) + " occurrence(s) found." : "No matches found.";
}

std::string replacedText(std::int64_t count) {
  return count > 0 ? std::to_string(count) + " occurrence(s) replaced."
                   : "No matches were replaced.";
}

Result<WildcardHexPattern> typedWildcardPattern(std::string_view text) {
  if (Unicode::hasMoreScalarsThan(text, maxTextInputCharacters))
    return Error::quillmor(2202, "Pattern is too large to process safely.");
  if (auto pattern = WildcardHexPattern::parse(text)) return *std::move(pattern);
  return Error::quillmor(2203, "Invalid pattern. Use byte tokens such as DE AD ?? EF.");
}

}  // namespace quillmor
