#pragma once

#include <cstdint>
#include <span>

#include "kernels/Crc32Kernels.h"

namespace quillmor {

/// The CRC-32 of IEEE 802.3 of bytes that come in pieces of any size. Used by one thread at a time.
class Crc32 {
 public:
  void add(std::span<const std::uint8_t> bytes) {
    register_ = fastestCrc32Kernel().update(register_, bytes.data(), bytes.size());
  }

  /// Returns the CRC-32 of all bytes so far; 0 for none.
  std::uint32_t value() const { return ~register_; }

 private:
  std::uint32_t register_ = Crc32Kernel::kInitialRegister;
};

}  // namespace quillmor
