#pragma once

#include <cstdint>
#include <numeric>
#include <string_view>
#include <vector>

namespace quillmor::test {

/// `signature`, the four bytes of `length` and zeros: `size` bytes in all, at least 8.
inline std::vector<std::uint8_t> acpiStructure(std::string_view signature, std::uint32_t length,
                                               std::size_t size) {
  std::vector<std::uint8_t> bytes(size);
  for (std::size_t i = 0; i < 4; ++i) {
    bytes.at(i) = static_cast<std::uint8_t>(signature.at(i));
    bytes.at(i + 4) = static_cast<std::uint8_t>(length >> (8 * i));
  }
  return bytes;
}

/// A table of `length` bytes with `checksum`, the last of which makes them add up to `sum`.
inline std::vector<std::uint8_t> acpiTable(std::string_view signature, std::uint32_t length,
                                           std::uint8_t checksum, std::uint8_t sum) {
  std::vector<std::uint8_t> bytes = acpiStructure(signature, length, length);
  bytes.at(9) = checksum;
  const int others = std::accumulate(bytes.begin(), bytes.end(), 0);
  bytes.back() = static_cast<std::uint8_t>(sum - others);
  return bytes;
}

}  // namespace quillmor::test
