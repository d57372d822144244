// Built with AVX2 instructions where the processor knows them. Whatever it includes must not be
// shared with other files as a function of its own.
#include "kernels/Adler32Kernels.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace quillmor {
namespace {

constexpr std::size_t kRow = 32;

inline std::uint32_t sumOfLanes(__m256i lanes) {
  __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(lanes), _mm256_extracti128_si256(lanes, 1));
  sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, _MM_SHUFFLE(1, 0, 3, 2)));
  sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, _MM_SHUFFLE(2, 3, 0, 1)));
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(sum));
}

inline __m256i rowAt(const std::uint8_t* bytes, std::size_t index) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes) + index);
}

/// As the portable kernel, in rows of 32 bytes and two of them at a time: a byte's weight within
/// its row comes by a multiplication, what the rows before had come to is added up.
Adler32Sums sums(const std::uint8_t* bytes, std::size_t count) {
  const __m256i weights =
      _mm256_setr_epi8(32, 31, 30, 29, 28, 27, 26, 25, 24, 23, 22, 21, 20, 19, 18, 17, 16, 15, 14,
                       13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
  const __m256i ones = _mm256_set1_epi16(1);
  const __m256i zero = _mm256_setzero_si256();
  __m256i total = zero;
  __m256i beforePairs = zero;
  __m256i firstsOfPairs = zero;
  __m256i weighted = zero;
  for (; count >= 2 * kRow; bytes += 2 * kRow, count -= 2 * kRow) {
    const __m256i first = rowAt(bytes, 0);
    const __m256i second = rowAt(bytes, 1);
    // Each comes to 255 * (32 + 31) at most, and both together to what 16 bits with a sign hold.
    const __m256i products = _mm256_add_epi16(_mm256_maddubs_epi16(first, weights),
                                              _mm256_maddubs_epi16(second, weights));
    weighted = _mm256_add_epi32(weighted, _mm256_madd_epi16(products, ones));
    const __m256i sumOfFirst = _mm256_sad_epu8(first, zero);
    beforePairs = _mm256_add_epi32(beforePairs, total);
    firstsOfPairs = _mm256_add_epi32(firstsOfPairs, sumOfFirst);
    total = _mm256_add_epi32(total, _mm256_add_epi32(sumOfFirst, _mm256_sad_epu8(second, zero)));
  }
  const std::uint32_t rowsBefore = 2 * sumOfLanes(beforePairs) + sumOfLanes(firstsOfPairs);
  const Adler32Sums rest = portableAdler32Kernel.sums(bytes, count);
  Adler32Sums result;
  result.bytes = sumOfLanes(total);
  result.weighted = sumOfLanes(weighted) + std::uint32_t{kRow} * rowsBefore +
                    static_cast<std::uint32_t>(count) * result.bytes + rest.weighted;
  result.bytes += rest.bytes;
  return result;
}

}  // namespace

constinit const Adler32Kernel avx2Adler32Kernel = {.name = "AVX2", .sums = sums};

}  // namespace quillmor

#else

namespace quillmor {
constinit const Adler32Kernel avx2Adler32Kernel = {};
}  // namespace quillmor

#endif
