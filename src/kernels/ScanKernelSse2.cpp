#include "kernels/ScanKernel.h"

#if defined(__SSE2__)

#include <emmintrin.h>

#include "kernels/ScanLoops.h"

namespace quillmor {

namespace {

struct Sse2Lanes {
  static constexpr std::int64_t kCount = 16;
  /// Not the vector itself, whose attributes a template argument or an operator would lose.
  struct Block {
    __m128i bytes;
  };

  static Block all(std::uint8_t value) { return {_mm_set1_epi8(static_cast<char>(value))}; }
  static Block load(const std::uint8_t* at) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))};
  }
  static Block loadAligned(const std::uint8_t* at) {
    return {_mm_load_si128(reinterpret_cast<const __m128i*>(at))};
  }
  static Block both(Block a, Block b) { return {_mm_and_si128(a.bytes, b.bytes)}; }
  static Block either(Block a, Block b) { return {_mm_or_si128(a.bytes, b.bytes)}; }
  static Block differing(Block a, Block b) { return {_mm_xor_si128(a.bytes, b.bytes)}; }
  static Block zeros(Block block) { return {_mm_cmpeq_epi8(block.bytes, _mm_setzero_si128())}; }
  static bool anyZero(Block a, Block b, Block c, Block d) {
    const __m128i least =
        _mm_min_epu8(_mm_min_epu8(a.bytes, b.bytes), _mm_min_epu8(c.bytes, d.bytes));
    return bits(zeros({least})) != 0;
  }
  static std::uint32_t bits(Block zeros) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(zeros.bytes));
  }
};

}  // namespace

constinit const ScanKernel sse2ScanKernel = ScanLoops<Sse2Lanes>::kernel("sse2");

}  // namespace quillmor

#else

namespace quillmor {
constinit const ScanKernel sse2ScanKernel = {};
}  // namespace quillmor

#endif
