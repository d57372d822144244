// Built with AVX2 instructions where the processor knows them. Whatever it includes must not be
// shared with other files as a function of its own.
#include "kernels/ByteMasks.h"

#if defined(__AVX2__)

#include <immintrin.h>

#include "kernels/ByteMaskLoops.h"

namespace quillmor {

namespace {

struct Avx2Lanes {
  static constexpr std::size_t kCount = 32;
  /// Not the vector itself, whose attributes a template argument would lose.
  struct Block {
    __m256i bytes;
  };

  static Block zero() { return {_mm256_setzero_si256()}; }
  static Block load(const std::uint8_t* at) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(at))};
  }

  /// Taken as signed numbers, 0x20...0x7E are those that are above 0x20 when increased by one.
  static std::uint64_t printableBits(Block block) {
    const __m256i increased = _mm256_add_epi8(block.bytes, _mm256_set1_epi8(1));
    return bits(_mm256_cmpgt_epi8(increased, _mm256_set1_epi8(0x20)));
  }

  static std::uint64_t equalBits(Block a, Block b) {
    return bits(_mm256_cmpeq_epi8(a.bytes, b.bytes));
  }

  static Block counted(Block counts, Block a, Block b) {
    return {_mm256_sub_epi8(counts.bytes, _mm256_cmpeq_epi8(a.bytes, b.bytes))};
  }

  static std::size_t sum(Block counts) {
    std::array<std::uint64_t, kCount / 8> sums{};
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(sums.data()),
                        _mm256_sad_epu8(counts.bytes, zero().bytes));
    std::uint64_t all = 0;
    for (const std::uint64_t sum : sums) all += sum;
    return all;
  }

 private:
  static std::uint64_t bits(__m256i lanes) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(lanes));
  }
};

}  // namespace

constinit const ByteMaskKernels avx2ByteMaskKernels = ByteMaskLoops<Avx2Lanes>::kernels("AVX2");

}  // namespace quillmor

#else

namespace quillmor {
constinit const ByteMaskKernels avx2ByteMaskKernels = {};
}  // namespace quillmor

#endif
