#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quillmor {

/// Writes a number at `at`, lowest byte first. The bytes lie within `bytes`.
template <class Number>
void putLittleEndian(std::span<std::uint8_t> bytes, std::size_t at, Number number) {
  auto rest = static_cast<std::uint64_t>(number);
  for (std::uint8_t& byte : bytes.subspan(at, sizeof(Number))) {
    byte = static_cast<std::uint8_t>(rest & 0xFF);
    rest >>= 8;
  }
}

/// Reads the number at `at`, lowest byte first. The bytes lie within `bytes`.
template <class Number>
Number littleEndian(std::span<const std::uint8_t> bytes, std::size_t at) {
  std::uint64_t number = 0;
  const auto field = bytes.subspan(at, sizeof(Number));
  for (std::size_t index = field.size(); index > 0; --index)
    number = (number << 8) | field[index - 1];
  return static_cast<Number>(number);
}

}  // namespace quillmor
