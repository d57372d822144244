#include "kernels/SpacedHexKernel.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstddef>

namespace quillmor {
namespace {

constexpr std::size_t kBlock = 16;

/// 48 characters for 16 bytes: the digits are looked up with one shuffle for all high and one for
/// all low halves, interleaved, and moved apart by three shuffles that leave zeros for separators.
[[gnu::target("ssse3")]] void writeBlock(char* out, const std::uint8_t* in, __m128i digits,
                                         __m128i separators) {
  const __m128i nibbles = _mm_set1_epi8(0x0F);
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
  const __m128i high = _mm_shuffle_epi8(digits, _mm_and_si128(_mm_srli_epi16(bytes, 4), nibbles));
  const __m128i low = _mm_shuffle_epi8(digits, _mm_and_si128(bytes, nibbles));
  const __m128i first = _mm_unpacklo_epi8(high, low);
  const __m128i last = _mm_unpackhi_epi8(high, low);
  const __m128i middle = _mm_alignr_epi8(last, first, 8);
  constexpr char kGap = -1;
  const __m128i places[3] = {
      _mm_setr_epi8(0, 1, kGap, 2, 3, kGap, 4, 5, kGap, 6, 7, kGap, 8, 9, kGap, 10),
      _mm_setr_epi8(3, kGap, 4, 5, kGap, 6, 7, kGap, 8, 9, kGap, 10, 11, kGap, 12, 13),
      _mm_setr_epi8(kGap, 6, 7, kGap, 8, 9, kGap, 10, 11, kGap, 12, 13, kGap, 14, 15, kGap)};
  const __m128i sources[3] = {first, middle, last};
  for (std::size_t i = 0; i < 3; ++i) {
    const __m128i gaps = _mm_cmpgt_epi8(_mm_setzero_si128(), places[i]);
    const __m128i text =
        _mm_or_si128(_mm_shuffle_epi8(sources[i], places[i]), _mm_and_si128(gaps, separators));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out) + i, text);
  }
}

/// Whole blocks here, the rest in the portable kernel.
[[gnu::target("ssse3")]] char* write(char* out, std::span<const std::uint8_t> bytes,
                                     std::string_view digits, char separator) {
  const __m128i digitTable = _mm_loadu_si128(reinterpret_cast<const __m128i*>(digits.data()));
  const __m128i separators = _mm_set1_epi8(separator);
  std::size_t done = 0;
  for (; bytes.size() - done >= kBlock; done += kBlock) {
    writeBlock(out + 3 * done, bytes.data() + done, digitTable, separators);
  }
  return portableSpacedHexKernel.write(out + 3 * done, bytes.subspan(done), digits, separator);
}

}  // namespace

constinit const SpacedHexKernel ssse3SpacedHexKernel = {.name = "SSSE3", .write = write};

}  // namespace quillmor

#else

namespace quillmor {
constinit const SpacedHexKernel ssse3SpacedHexKernel = {};
}  // namespace quillmor

#endif
