#include "window/FoldedLines.h"

#include <algorithm>

namespace quillmor {

namespace {

bool isLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

}  // namespace

FoldedLines::FoldedLines(std::u16string_view text, std::int64_t maximumLength) {
  const auto longest = static_cast<std::size_t>(maximumLength);
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find(u'\n', start), text.size());
    while (end - start > longest) {
      start += isLowSurrogate(text[start + longest]) ? longest - 1 : longest;
      breaks_.push_back(static_cast<std::int64_t>(start));
    }
    start = end + 1;
  }
}

std::u16string FoldedLines::folded(std::u16string_view text) const {
  std::u16string folded;
  folded.reserve(text.size() + breaks_.size());
  std::size_t start = 0;
  for (const std::int64_t place : breaks_) {
    const auto end = static_cast<std::size_t>(place);
    folded.append(text.substr(start, end - start));
    folded.push_back(u'\n');
    start = end;
  }
  folded.append(text.substr(start));
  return folded;
}

std::int64_t FoldedLines::toFolded(std::int64_t place) const {
  return place + (std::upper_bound(breaks_.begin(), breaks_.end(), place) - breaks_.begin());
}

std::int64_t FoldedLines::toOriginal(std::int64_t place) const {
  // The line feed of the break with index i stands at breaks_[i] + i.
  std::int64_t low = 0;
  auto high = static_cast<std::int64_t>(breaks_.size());
  while (low < high) {
    const std::int64_t middle = low + (high - low) / 2;
    if (breaks_[static_cast<std::size_t>(middle)] + middle < place) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return place - low;
}

}  // namespace quillmor
