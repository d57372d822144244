#include "recovery/Crc32c.h"

#include <array>

namespace quillmor {

namespace {

constexpr std::uint32_t kReversedPolynomial = 0x82F63B78;

constexpr std::array<std::uint32_t, 256> makeTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t remainder = byte;
    for (int bit = 0; bit < 8; ++bit)
      remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? kReversedPolynomial : 0);
    table[byte] = remainder;
  }
  return table;
}

constexpr std::array<std::uint32_t, 256> kTable = makeTable();

}  // namespace

std::uint32_t crc32c(std::span<const std::uint8_t> bytes, std::uint32_t before) {
  std::uint32_t value = ~before;
  for (const std::uint8_t byte : bytes) value = (value >> 8) ^ kTable[(value ^ byte) & 0xFF];
  return ~value;
}

}  // namespace quillmor
