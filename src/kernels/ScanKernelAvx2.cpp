// The only file built with AVX2 instructions where the processor knows them. Whatever it includes
// must not be shared with other files as a function of its own.
#include "kernels/ScanKernel.h"

#if defined(__AVX2__)

#include <immintrin.h>

#include "kernels/ScanLoops.h"

namespace quillmor {

namespace {

struct Avx2Lanes {
  static constexpr std::int64_t kCount = 32;
  /// Not the vector itself, whose attributes a template argument or an operator would lose.
  struct Block {
    __m256i bytes;
  };

  static Block all(std::uint8_t value) { return {_mm256_set1_epi8(static_cast<char>(value))}; }
  static Block load(const std::uint8_t* at) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(at))};
  }
  static Block loadAligned(const std::uint8_t* at) {
    return {_mm256_load_si256(reinterpret_cast<const __m256i*>(at))};
  }
  static Block both(Block a, Block b) { return {_mm256_and_si256(a.bytes, b.bytes)}; }
  static Block either(Block a, Block b) { return {_mm256_or_si256(a.bytes, b.bytes)}; }
  static Block differing(Block a, Block b) { return {_mm256_xor_si256(a.bytes, b.bytes)}; }
  static Block zeros(Block block) {
    return {_mm256_cmpeq_epi8(block.bytes, _mm256_setzero_si256())};
  }
  static bool anyZero(Block a, Block b, Block c, Block d) {
    const __m256i least =
        _mm256_min_epu8(_mm256_min_epu8(a.bytes, b.bytes), _mm256_min_epu8(c.bytes, d.bytes));
    return bits(zeros({least})) != 0;
  }
  static std::uint32_t bits(Block zeros) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(zeros.bytes));
  }
};

}  // namespace

constinit const ScanKernel avx2ScanKernel = ScanLoops<Avx2Lanes>::kernel("avx2");

}  // namespace quillmor

#else

namespace quillmor {
constinit const ScanKernel avx2ScanKernel = {};
}  // namespace quillmor

#endif
