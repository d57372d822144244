#pragma once

#include <cstdint>
#include <random>
#include <vector>

namespace quillmor::test {

/// `size` bytes that look random and are the same for the same `seed`.
inline std::vector<std::uint8_t> randomBytes(std::size_t size, std::uint64_t seed) {
  std::mt19937_64 random(seed);
  std::vector<std::uint8_t> bytes(size);
  for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random() >> 32);
  return bytes;
}

}  // namespace quillmor::test
