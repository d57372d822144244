#include "kernels/ByteWords.h"
#include "kernels/ScanLoops.h"

namespace quillmor {

namespace {

/// Eight bytes in one machine word.
struct WordLanes {
  static constexpr std::int64_t kCount = 8;
  using Block = std::uint64_t;

  static Block all(std::uint8_t value) { return value * ByteWord::kOnes; }
  static Block load(const std::uint8_t* at) { return loadWord(at); }
  static Block loadAligned(const std::uint8_t* at) { return load(at); }
  static Block both(Block a, Block b) { return a & b; }
  static Block either(Block a, Block b) { return a | b; }
  static Block differing(Block a, Block b) { return a ^ b; }
  static Block zeros(Block block) { return ByteWord::zeroBytes(block); }
  static bool anyZero(Block a, Block b, Block c, Block d) {
    // Shorter than `zeros`, as it need not say which byte it is.
    const auto borrowed = [](Block block) { return (block - ByteWord::kOnes) & ~block; };
    return ((borrowed(a) | borrowed(b) | borrowed(c) | borrowed(d)) & ByteWord::kHighBits) != 0;
  }
  static std::uint32_t bits(Block zeros) {
    // Moves the high bit of byte i to bit 56 + i.
    return static_cast<std::uint32_t>((zeros >> 7) * 0x0102040810204080 >> 56);
  }
};

}  // namespace

constinit const ScanKernel portableScanKernel = ScanLoops<WordLanes>::kernel("portable");

}  // namespace quillmor
