#include "kernels/ByteMasks.h"

#if defined(__SSE2__)

#include <emmintrin.h>

#include "kernels/ByteMaskLoops.h"

namespace quillmor {

namespace {

struct Sse2Lanes {
  static constexpr std::size_t kCount = 16;
  /// Not the vector itself, whose attributes a template argument would lose.
  struct Block {
    __m128i bytes;
  };

  static Block zero() { return {_mm_setzero_si128()}; }
  static Block load(const std::uint8_t* at) {
    return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))};
  }

  /// Taken as signed numbers, 0x20...0x7E are those that are above 0x20 when increased by one.
  static std::uint64_t printableBits(Block block) {
    const __m128i increased = _mm_add_epi8(block.bytes, _mm_set1_epi8(1));
    return bits(_mm_cmpgt_epi8(increased, _mm_set1_epi8(0x20)));
  }

  static std::uint64_t equalBits(Block a, Block b) {
    return bits(_mm_cmpeq_epi8(a.bytes, b.bytes));
  }

  static Block counted(Block counts, Block a, Block b) {
    return {_mm_sub_epi8(counts.bytes, _mm_cmpeq_epi8(a.bytes, b.bytes))};
  }

  static std::size_t sum(Block counts) {
    std::array<std::uint64_t, kCount / 8> sums{};
    _mm_storeu_si128(reinterpret_cast<__m128i*>(sums.data()),
                     _mm_sad_epu8(counts.bytes, zero().bytes));
    std::uint64_t all = 0;
    for (const std::uint64_t sum : sums) all += sum;
    return all;
  }

 private:
  static std::uint64_t bits(__m128i lanes) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(lanes));
  }
};

}  // namespace

constinit const ByteMaskKernels sse2ByteMaskKernels = ByteMaskLoops<Sse2Lanes>::kernels("SSE2");

}  // namespace quillmor

#else

namespace quillmor {
constinit const ByteMaskKernels sse2ByteMaskKernels = {};
}  // namespace quillmor

#endif
