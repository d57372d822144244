#include "tools/LineKernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include <cstring>

namespace quillmor {
namespace {

constexpr std::size_t kBytesPerLine = LineKernels::kBytesPerLine;
constexpr char kGap = -1;

__m128i load(const void* from) {
  return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

void store(char* to, __m128i text) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), text);
}

void store2(char* to, const char (&text)[3]) {
  std::memcpy(to, text, 2);
}

/// The 32 digits of 16 bytes.
struct Digits {
  __m128i first;
  __m128i last;
};

[[gnu::target("ssse3")]] inline Digits digitsOf(__m128i bytes) {
  const __m128i nibbles = _mm_set1_epi8(0x0F);
  const __m128i digits =
      _mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9', 'A', 'B', 'C', 'D', 'E', 'F');
  const __m128i high = _mm_shuffle_epi8(digits, _mm_and_si128(_mm_srli_epi16(bytes, 4), nibbles));
  const __m128i low = _mm_shuffle_epi8(digits, _mm_and_si128(bytes, nibbles));
  return {_mm_unpacklo_epi8(high, low), _mm_unpackhi_epi8(high, low)};
}

/// 48 characters: digits moved apart by shuffles that leave zeros, which become spaces.
[[gnu::target("ssse3")]] inline void storeSpaced(char* out, const Digits& digits) {
  const __m128i places[3] = {
      _mm_setr_epi8(0, 1, kGap, 2, 3, kGap, 4, 5, kGap, 6, 7, kGap, 8, 9, kGap, 10),
      _mm_setr_epi8(3, kGap, 4, 5, kGap, 6, 7, kGap, 8, 9, kGap, 10, 11, kGap, 12, 13),
      _mm_setr_epi8(kGap, 6, 7, kGap, 8, 9, kGap, 10, 11, kGap, 12, 13, kGap, 14, 15, kGap)};
  const __m128i middle = _mm_alignr_epi8(digits.last, digits.first, 8);
  const __m128i sources[3] = {digits.first, middle, digits.last};
  for (std::size_t i = 0; i < 3; ++i) {
    const __m128i gaps = _mm_cmpgt_epi8(_mm_setzero_si128(), places[i]);
    const __m128i spaces = _mm_and_si128(gaps, _mm_set1_epi8(' '));
    store(out + 16 * i, _mm_or_si128(_mm_shuffle_epi8(sources[i], places[i]), spaces));
  }
}

/// The bytes with "." for all but 0x20...0x7E. Seen as signed, bytes above 0x7F are below 0x20.
[[gnu::target("ssse3")]] inline __m128i printable(__m128i bytes) {
  const __m128i keep = _mm_and_si128(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(0x1F)),
                                     _mm_cmpgt_epi8(_mm_set1_epi8(0x7F), bytes));
  return _mm_or_si128(_mm_and_si128(keep, bytes), _mm_andnot_si128(keep, _mm_set1_epi8('.')));
}

[[gnu::target("ssse3")]] inline std::uint32_t sumOf(__m128i bytes) {
  const __m128i sums = _mm_sad_epu8(bytes, _mm_setzero_si128());
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(sums)) +
         static_cast<std::uint32_t>(_mm_extract_epi16(sums, 4));
}

[[gnu::target("ssse3")]] char* hexDump(char* out, const std::uint8_t* bytes, std::size_t lineCount,
                                       std::uint32_t offset) {
  for (std::size_t line = 0; line < lineCount; ++line) {
    const __m128i data = load(bytes);
    // Eight digits and two spaces; what is stored behind them is overwritten.
    const auto bigEndian = static_cast<int>(__builtin_bswap32(offset));
    const __m128i digits = digitsOf(_mm_cvtsi32_si128(bigEndian)).first;
    store(out, _mm_unpacklo_epi64(digits, _mm_set1_epi8(' ')));
    storeSpaced(out + 10, digitsOf(data));
    store2(out + 58, " |");
    store(out + 60, printable(data));
    store2(out + 76, "|\n");
    out += LineKernels::kHexDumpLineLength;
    bytes += kBytesPerLine;
    offset += static_cast<std::uint32_t>(kBytesPerLine);
  }
  return out;
}

[[gnu::target("ssse3")]] char* intelHex(char* out, const std::uint8_t* bytes, std::size_t lineCount,
                                        std::uint32_t offset) {
  const HexPairs& pairs = hexPairs();
  for (std::size_t line = 0; line < lineCount; ++line) {
    const __m128i data = load(bytes);
    const std::uint32_t high = offset >> 8 & 0xFF;
    const std::uint32_t low = offset & 0xFF;
    const std::uint32_t sum = static_cast<std::uint32_t>(kBytesPerLine) + high + low + sumOf(data);
    std::memcpy(out, ":10000000", 9);
    std::memcpy(out + 3, pairs[high].data(), 2);
    std::memcpy(out + 5, pairs[low].data(), 2);
    const Digits digits = digitsOf(data);
    store(out + 9, digits.first);
    store(out + 25, digits.last);
    std::memcpy(out + 41, pairs[(0U - sum) & 0xFF].data(), 2);
    out[43] = '\n';
    out += LineKernels::kIntelHexLineLength;
    bytes += kBytesPerLine;
    offset += static_cast<std::uint32_t>(kBytesPerLine);
  }
  return out;
}

constexpr LineKernels kSsse3 = {.name = "SSSE3", .hexDump = hexDump, .intelHex = intelHex};

}  // namespace

const LineKernels* ssse3LineKernels() {
  return __builtin_cpu_supports("ssse3") ? &kSsse3 : nullptr;
}

}  // namespace quillmor

#else

namespace quillmor {

const LineKernels* ssse3LineKernels() {
  return nullptr;
}

}  // namespace quillmor

#endif
