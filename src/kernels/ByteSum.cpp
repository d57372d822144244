#include "kernels/ByteSum.h"

namespace quillmor {

std::uint8_t byteSum(std::span<const std::uint8_t> bytes) {
  std::uint32_t sum = 0;
  for (const std::uint8_t byte : bytes) sum += byte;
  return static_cast<std::uint8_t>(sum);
}

}  // namespace quillmor
