#include "tools/analysis/AnalysisText.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "base/HexText.h"

namespace quillmor {

std::string fixedDecimal(double value, int fractionDigits) {
  std::array<char, 32> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::fixed, fractionDigits);
  return {text.data(), end.ptr};
}

std::string bitsPerByteText(double entropy) {
  return fixedDecimal(entropy, 4) + " bits/byte";
}

std::string offsetRangeText(HexSelection range) {
  const std::int64_t last = std::max(range.start + range.length - 1, range.start);
  return offsetText(range.start) + " - " + offsetText(last);
}

}  // namespace quillmor
