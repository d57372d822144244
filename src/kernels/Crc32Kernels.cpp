#include "kernels/Crc32Kernels.h"

#include "kernels/ByteWords.h"
#include "kernels/Cpu.h"

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

/// What the byte at `index` of sixteen becomes.
std::uint32_t shiftedOut(std::uint8_t byte, std::size_t index) {
  return kTables[kSlices - 1 - index][byte];
}

/// What the last twelve of sixteen bytes become.
std::uint32_t lastTwelveShiftedOut(const std::uint8_t* bytes) {
  const std::uint64_t first = loadWord(bytes);
  const std::uint64_t second = loadWord(bytes + 8);
  std::uint32_t result = 0;
  for (std::size_t i = 4; i < 8; ++i) result ^= shiftedOut(byteOf(first, i), i);
  for (std::size_t i = 0; i < 8; ++i) result ^= shiftedOut(byteOf(second, i), 8 + i);
  return result;
}

/// What the first four of sixteen bytes, with the register added to them, become.
std::uint32_t firstFourShiftedOut(std::uint32_t shiftRegister, const std::uint8_t* bytes) {
  const std::uint64_t word = loadWord(bytes) ^ shiftRegister;
  std::uint32_t result = 0;
  for (std::size_t i = 0; i < 4; ++i) result ^= shiftedOut(byteOf(word, i), i);
  return result;
}

std::uint32_t updateBytewise(std::uint32_t shiftRegister, const std::uint8_t* bytes,
                             std::size_t count) {
  for (; count > 0; ++bytes, --count) {
    shiftRegister = kTables[0][(shiftRegister ^ *bytes) & 0xFF] ^ shiftRegister >> 8;
  }
  return shiftRegister;
}

/// Only four bytes of sixteen have to wait for the register. The others are looked up one step
/// ahead, which keeps the compiler from adding them to the chain that waits.
std::uint32_t update(std::uint32_t shiftRegister, const std::uint8_t* bytes, std::size_t count) {
  if (count < kSlices) return updateBytewise(shiftRegister, bytes, count);
  std::uint32_t ahead = lastTwelveShiftedOut(bytes);
  for (; count >= 2 * kSlices; bytes += kSlices, count -= kSlices) {
    const std::uint32_t next = lastTwelveShiftedOut(bytes + kSlices);
    shiftRegister = firstFourShiftedOut(shiftRegister, bytes) ^ ahead;
    ahead = next;
  }
  shiftRegister = firstFourShiftedOut(shiftRegister, bytes) ^ ahead;
  return updateBytewise(shiftRegister, bytes + kSlices, count - kSlices);
}

constexpr KernelVariant<Crc32Kernel> kVariants[] = {
    {portableCrc32Kernel}, {carrylessCrc32Kernel, CpuFeature::carrylessMultiplication}};

}  // namespace

constinit const Crc32Kernel portableCrc32Kernel = {.name = "portable", .update = update};

const Crc32Kernel& fastestCrc32Kernel() {
  static const Crc32Kernel& fastest = fastestOf(kVariants);
  return fastest;
}

std::vector<const Crc32Kernel*> availableCrc32Kernels() {
  return availableOf(kVariants);
}

}  // namespace quillmor
