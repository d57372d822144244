#include "kernels/Adler32Kernels.h"

#include <algorithm>

#include "kernels/ByteWords.h"
#include "kernels/Cpu.h"

namespace quillmor {
namespace {

constexpr std::size_t kRow = sizeof(std::uint64_t);

/// The largest number of rows whose sums fit 16 bits: 255 * (0 + 1 + ... + 22) is 64,515.
constexpr std::size_t kMaximumRows = 23;

/// Sums over the columns of rows of 8 bytes, 16 bits each: of columns 0, 2, 4, 6 and 1, 3, 5, 7.
struct Columns {
  std::uint64_t even = 0;
  std::uint64_t odd = 0;

  void add(const Columns& more) {
    even += more.even;
    odd += more.odd;
  }

  std::uint32_t at(std::size_t column) const {
    const std::uint64_t half = column % 2 == 0 ? even : odd;
    return static_cast<std::uint32_t>(half >> (8 * (column - column % 2)) & 0xFFFF);
  }
};

Columns columnsOf(std::uint64_t row) {
  constexpr std::uint64_t kEven = 0x00FF00FF00FF00FF;
  return {.even = row & kEven, .odd = row >> 8 & kEven};
}

/// Adds up the columns, and what each had come to before every row. A byte's weight is 8 for each
/// row that follows its own, and its distance from the end of its row.
Adler32Sums sumsOfRows(const std::uint8_t* bytes, std::size_t rows) {
  Columns columns;
  Columns before;
  for (; rows > 0; bytes += kRow, --rows) {
    before.add(columns);
    columns.add(columnsOf(loadWord(bytes)));
  }
  Adler32Sums result;
  for (std::size_t column = 0; column < kRow; ++column) {
    const auto distance = static_cast<std::uint32_t>(kRow - column);
    result.bytes += columns.at(column);
    result.weighted += std::uint32_t{kRow} * before.at(column) + distance * columns.at(column);
  }
  return result;
}

Adler32Sums sums(const std::uint8_t* bytes, std::size_t count) {
  Adler32Sums result;
  while (count >= kRow) {
    const std::size_t rows = std::min(count / kRow, kMaximumRows);
    const Adler32Sums part = sumsOfRows(bytes, rows);
    result.weighted += static_cast<std::uint32_t>(rows * kRow) * result.bytes + part.weighted;
    result.bytes += part.bytes;
    bytes += rows * kRow;
    count -= rows * kRow;
  }
  for (; count > 0; ++bytes, --count) {
    result.bytes += *bytes;
    result.weighted += result.bytes;
  }
  return result;
}

constexpr KernelVariant<Adler32Kernel> kVariants[] = {{portableAdler32Kernel},
                                                      {avx2Adler32Kernel, CpuFeature::avx2}};

}  // namespace

constinit const Adler32Kernel portableAdler32Kernel = {.name = "portable", .sums = sums};

const Adler32Kernel& fastestAdler32Kernel() {
  static const Adler32Kernel& fastest = fastestOf(kVariants);
  return fastest;
}

std::vector<const Adler32Kernel*> availableAdler32Kernels() {
  return availableOf(kVariants);
}

}  // namespace quillmor
