#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace quillmor::fuzz {

using Bytes = std::vector<std::uint8_t>;

/// The image that `input` stands for, in memory that ends with it. The last byte of the input, when
/// it is odd, asks for zeros up to the 512-byte units that the byte at 2 counts, so that a short
/// input can be a whole image; above 8 units it gets none.
inline Bytes imageOf(std::span<const std::uint8_t> input) {
  if (input.empty()) return {};
  const bool isPadded = input.back() % 2 == 1;
  const auto given = input.first(input.size() - 1);
  const std::size_t units = isPadded && given.size() > 2 && given[2] <= 8 ? given[2] : 0;
  Bytes image(std::max(given.size(), units * 512));
  std::ranges::copy(given, image.begin());
  return image;
}

/// `bytes` with every one from `offset` on inverted.
inline Bytes invertedFrom(Bytes bytes, std::int64_t offset) {
  for (auto i = static_cast<std::size_t>(offset); i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(~bytes[i]);
  }
  return bytes;
}

}  // namespace quillmor::fuzz
