#include "tools/checksum/BasicSums.h"

#include <algorithm>

#include "kernels/Adler32Kernels.h"

namespace quillmor::Checksum {
namespace {

/// The largest prime below 65,536 (RFC 1950).
constexpr std::uint32_t kAdlerModulus = 65'521;

/// The kernels are fastest on whole groups of 64 bytes.
constexpr std::size_t kBlock = Adler32Kernel::kMaximumBlock / 64 * 64;

}  // namespace

void BasicSums::add(std::span<const std::uint8_t> bytes) {
  // Block by block, so that the second look at a block finds it in the nearest cache.
  while (!bytes.empty()) {
    const auto block = bytes.first(std::min(bytes.size(), kBlock));
    addBlock(block);
    bytes = bytes.subspan(block.size());
  }
}

void BasicSums::addBlock(std::span<const std::uint8_t> block) {
  crc32_.add(block);
  const Adler32Sums sums = fastestAdler32Kernel().sums(block.data(), block.size());
  const auto count = static_cast<std::uint32_t>(block.size());
  adlerHigh_ = (adlerHigh_ + count * adlerLow_ + sums.weighted) % kAdlerModulus;
  adlerLow_ = (adlerLow_ + sums.bytes) % kAdlerModulus;
  sum_ += sums.bytes;
}

BasicValues BasicSums::values() const {
  return {.crc32 = crc32_.value(),
          .adler32 = adlerHigh_ << 16 | adlerLow_,
          .sum8 = static_cast<std::uint8_t>(sum_),
          .sum16 = static_cast<std::uint16_t>(sum_),
          .sum32 = sum_};
}

}  // namespace quillmor::Checksum
