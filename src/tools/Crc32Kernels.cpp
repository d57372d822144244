#include "tools/Crc32Kernels.h"

#include <bit>
#include <cstring>

namespace quillmor {
namespace {

constexpr std::size_t kSlices = 16;

using SliceTables = std::array<std::array<std::uint32_t, 256>, kSlices>;

/// Table n holds what a byte becomes when n more bytes follow it, so that the tables answer for
/// sixteen bytes at once, where one table would have to wait for each byte's result.
constexpr SliceTables kTables = [] {
  SliceTables tables{};
  tables[0] = crc32ByteTable();
  for (std::size_t slice = 1; slice < kSlices; ++slice) {
    for (std::size_t value = 0; value < 256; ++value) {
      const std::uint32_t before = tables[slice - 1][value];
      tables[slice][value] = before >> 8 ^ tables[0][before & 0xFF];
    }
  }
  return tables;
}();

std::uint64_t loadLittleEndian(const std::uint8_t* from) {
  std::uint64_t word = 0;
  std::memcpy(&word, from, sizeof word);
  if constexpr (std::endian::native == std::endian::big) word = __builtin_bswap64(word);
  return word;
}

/// What the eight bytes of `word`, the first in its lowest byte, become when `following` more bytes
/// come after them.
template <std::size_t following>
std::uint32_t shiftedOut(std::uint64_t word) {
  std::uint32_t result = 0;
  for (std::size_t i = 0; i < 8; ++i) {
    result ^= kTables[following + 7 - i][word >> (8 * i) & 0xFF];
  }
  return result;
}

std::uint32_t update(std::uint32_t shiftRegister, const std::uint8_t* bytes, std::size_t count) {
  for (; count >= kSlices; bytes += kSlices, count -= kSlices) {
    shiftRegister = shiftedOut<8>(loadLittleEndian(bytes) ^ shiftRegister) ^
                    shiftedOut<0>(loadLittleEndian(bytes + 8));
  }
  for (; count > 0; ++bytes, --count) {
    shiftRegister = kTables[0][(shiftRegister ^ *bytes) & 0xFF] ^ shiftRegister >> 8;
  }
  return shiftRegister;
}

constexpr Crc32Kernel kPortable = {.name = "portable", .update = update};

}  // namespace

const Crc32Kernel& portableCrc32Kernel() {
  return kPortable;
}

const Crc32Kernel& fastestCrc32Kernel() {
  static const Crc32Kernel& fastest = *availableCrc32Kernels().back();
  return fastest;
}

std::vector<const Crc32Kernel*> availableCrc32Kernels() {
  std::vector<const Crc32Kernel*> available = {&kPortable};
  if (const Crc32Kernel* carryless = carrylessCrc32Kernel()) available.push_back(carryless);
  return available;
}

}  // namespace quillmor
