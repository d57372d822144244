#include "tools/Adler32Kernels.h"

#include <array>

namespace quillmor {
namespace {

constexpr std::size_t kColumns = 16;

/// Adds up the columns of rows of 16 bytes, which the compiler turns into vector code, and what
/// each column had come to before every row. A byte's weight is 16 for each row that follows its
/// own, and its distance from the end of its row.
Adler32Sums sums(const std::uint8_t* bytes, std::size_t count) {
  std::array<std::uint32_t, kColumns> columns{};
  std::array<std::uint32_t, kColumns> before{};
  for (; count >= kColumns; bytes += kColumns, count -= kColumns) {
    for (std::size_t i = 0; i < kColumns; ++i) before[i] += columns[i];
    for (std::size_t i = 0; i < kColumns; ++i) columns[i] += bytes[i];
  }
  Adler32Sums result;
  for (std::size_t i = 0; i < kColumns; ++i) {
    result.bytes += columns[i];
    result.weighted += static_cast<std::uint32_t>(kColumns) * before[i] +
                       static_cast<std::uint32_t>(kColumns - i) * columns[i];
  }
  for (; count > 0; ++bytes, --count) {
    result.bytes += *bytes;
    result.weighted += result.bytes;
  }
  return result;
}

constexpr Adler32Kernel kPortable = {.name = "portable", .sums = sums};

}  // namespace

const Adler32Kernel& portableAdler32Kernel() {
  return kPortable;
}

const Adler32Kernel& fastestAdler32Kernel() {
  static const Adler32Kernel& fastest = *availableAdler32Kernels().back();
  return fastest;
}

std::vector<const Adler32Kernel*> availableAdler32Kernels() {
  std::vector<const Adler32Kernel*> available = {&kPortable};
  if (const Adler32Kernel* avx2 = avx2Adler32Kernel()) available.push_back(avx2);
  return available;
}

}  // namespace quillmor
