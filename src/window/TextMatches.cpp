#include "window/TextMatches.h"

#include <algorithm>

namespace quillmor {

TextMatches::TextMatches(std::u16string_view text, std::u16string_view needle)
    : length_(static_cast<std::int64_t>(needle.size())) {
  if (needle.empty()) return;
  for (std::size_t place = text.find(needle); place != std::u16string_view::npos;
       place = text.find(needle, place + needle.size())) {
    starts_.push_back(static_cast<std::int32_t>(place));
  }
}

std::optional<std::int64_t> TextMatches::indexFrom(std::int64_t place) const {
  if (starts_.empty()) return std::nullopt;
  const auto found = std::lower_bound(starts_.begin(), starts_.end(), place);
  return found == starts_.end() ? 0 : found - starts_.begin();
}

std::optional<std::int64_t> TextMatches::indexBefore(std::int64_t place) const {
  if (starts_.empty()) return std::nullopt;
  const auto found = std::lower_bound(starts_.begin(), starts_.end(), place);
  return (found == starts_.begin() ? starts_.end() : found) - starts_.begin() - 1;
}

std::int64_t TextMatches::firstEndingBehind(std::int64_t place) const {
  return std::upper_bound(starts_.begin(), starts_.end(), place - length_) - starts_.begin();
}

}  // namespace quillmor
