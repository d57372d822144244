#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillmor {

/// CRC-32 of IEEE 802.3 (RFC 1952, section 8), once per kind of processor.
struct Crc32Kernel {
  const char* name = nullptr;  ///< null where the program was built for another processor

  /// Returns the shift register after `count` more bytes. It starts as `kInitialRegister`, and its
  /// complement is the CRC-32 of the bytes so far. Any alignment; 0 bytes are fine. Any thread.
  std::uint32_t (*update)(std::uint32_t shiftRegister, const std::uint8_t* bytes,
                          std::size_t count) = nullptr;

  static constexpr std::uint32_t kInitialRegister = 0xFFFFFFFF;
};

/// The reflected polynomial: the coefficient of the highest power in the lowest bit.
inline constexpr std::uint32_t kCrc32Polynomial = 0xEDB88320;

/// Returns what each value of the register's lowest byte becomes when it is shifted out.
constexpr std::array<std::uint32_t, 256> crc32ByteTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t value = 0; value < table.size(); ++value) {
    std::uint32_t remainder = value;
    for (int bit = 0; bit < 8; ++bit) {
      remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? kCrc32Polynomial : 0);
    }
    table[value] = remainder;
  }
  return table;
}

/// The best kernel this processor runs, chosen on first use.
const Crc32Kernel& fastestCrc32Kernel();

/// All kernels this processor runs; first the portable one, which every processor runs.
std::vector<const Crc32Kernel*> availableCrc32Kernels();

/// The kernels themselves.
extern const Crc32Kernel portableCrc32Kernel;
extern const Crc32Kernel carrylessCrc32Kernel;

}  // namespace quillmor
