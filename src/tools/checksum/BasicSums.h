#pragma once

#include <cstdint>
#include <span>

#include "kernels/Crc32.h"
#include "tools/checksum/Checksum.h"

namespace quillmor::Checksum {

/// Adds up the basic values of bytes that come in pieces of any size. Used by one thread at a time.
class BasicSums {
 public:
  void add(std::span<const std::uint8_t> bytes);

  /// Returns the values of all bytes so far.
  BasicValues values() const;

 private:
  void addBlock(std::span<const std::uint8_t> block);

  Crc32 crc32_;
  std::uint32_t adlerLow_ = 1;
  std::uint32_t adlerHigh_ = 0;
  std::uint32_t sum_ = 0;
};

}  // namespace quillmor::Checksum
