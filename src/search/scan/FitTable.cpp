#include "search/scan/FitTable.h"

#include <algorithm>
#include <cstddef>

namespace quillmor {

FitTable::FitTable(const PatternView& pattern) {
  std::array<std::size_t, 256> rowOf{};  // row 0 is that of the bytes not asked for
  std::size_t rowCount = 1;
  for (std::int64_t at = 0; at < pattern.length; ++at) {
    std::size_t& row = rowOf[pattern.values[at]];
    if (pattern.masks[at] != 0 && row == 0) row = rowCount++;
  }
  const auto wordCount = static_cast<std::size_t>((pattern.length + 3 * kFitMargin) / 64 + 1);
  words_.assign(wordCount, ~std::uint64_t{0});
  const auto forEachByte = [&](const auto& work) {
    for (std::int64_t at = 0; at < pattern.length; ++at) {
      const auto bit = static_cast<std::size_t>(pattern.length - 1 - at + kFitMargin);
      if (pattern.masks[at] != 0) work(at, bit / 64, std::uint64_t{1} << (bit % 64));
    }
  };
  forEachByte([&](std::int64_t, std::size_t word, std::uint64_t bit) { words_[word] &= ~bit; });
  words_.resize(rowCount * wordCount);
  for (std::size_t row = 1; row < rowCount; ++row) {
    std::copy_n(words_.begin(), wordCount,
                words_.begin() + static_cast<std::ptrdiff_t>(row * wordCount));
  }
  forEachByte([&](std::int64_t at, std::size_t word, std::uint64_t bit) {
    words_[rowOf[pattern.values[at]] * wordCount + word] |= bit;
  });
  std::ranges::transform(rowOf, rows_.begin(),
                         [&](std::size_t row) { return words_.data() + row * wordCount; });
}

}  // namespace quillmor
