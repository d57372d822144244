// Built with AVX2 instructions where the processor knows them. Whatever it includes must not be
// shared with other files as a function of its own.
#include "kernels/LineKernels.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace quillmor {
namespace {

/// The same part of two lines, one in each half.
using TwoLines = __m256i;

constexpr std::size_t kBytesPerLine = LineKernels::kBytesPerLine;
/// The place of a zero in a shuffle.
constexpr char kGap = -1;

inline TwoLines inBoth(__m128i half) {
  return _mm256_broadcastsi128_si256(half);
}

inline TwoLines load(const std::uint8_t* bytes) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

/// A single line, in both halves.
inline TwoLines loadLast(const std::uint8_t* bytes) {
  return inBoth(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)));
}

template <int kLine>
inline void store(char* to, TwoLines text) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_extracti128_si256(text, kLine));
}

/// Asks for the memory that comes up soon. Neither the text, which is larger than the first cache,
/// nor the bytes are there by themselves when they are needed: this alone gains half the speed.
inline void prefetch(const char* out, const std::uint8_t* bytes) {
  constexpr std::size_t kCacheLine = 64;
  constexpr std::size_t kBytesAhead = 2048;
  constexpr std::size_t kTextAhead = 512;
  __builtin_prefetch(bytes + kBytesAhead);
  for (std::size_t i = 0; i < 3; ++i) __builtin_prefetch(out + kTextAhead + i * kCacheLine, 1);
}

/// The offsets of two lines that follow each other.
inline TwoLines offsetsFrom(std::uint32_t offset) {
  const auto first = static_cast<int>(offset);
  const auto second = static_cast<int>(offset + kBytesPerLine);
  return _mm256_setr_epi32(first, 0, 0, 0, second, 0, 0, 0);
}

inline TwoLines offsetsAfter(TwoLines offsets) {
  return _mm256_add_epi32(offsets, _mm256_set1_epi32(2 * kBytesPerLine));
}

/// The 32 digits of the 16 bytes of each line.
struct Digits {
  TwoLines first;
  TwoLines last;
};

inline Digits digitsOf(TwoLines bytes) {
  const TwoLines nibbles = _mm256_set1_epi8(0x0F);
  const TwoLines digits = inBoth(_mm_setr_epi8('0', '1', '2', '3', '4', '5', '6', '7', '8', '9',
                                               'A', 'B', 'C', 'D', 'E', 'F'));
  const TwoLines high =
      _mm256_shuffle_epi8(digits, _mm256_and_si256(_mm256_srli_epi16(bytes, 4), nibbles));
  const TwoLines low = _mm256_shuffle_epi8(digits, _mm256_and_si256(bytes, nibbles));
  return {_mm256_unpacklo_epi8(high, low), _mm256_unpackhi_epi8(high, low)};
}

/// Characters moved to `places`, with spaces in its gaps.
inline TwoLines spread(TwoLines text, __m128i places) {
  const __m128i gaps = _mm_cmpgt_epi8(_mm_setzero_si128(), places);
  return _mm256_or_si256(_mm256_shuffle_epi8(text, inBoth(places)),
                         inBoth(_mm_and_si128(gaps, _mm_set1_epi8(' '))));
}

/// The bytes with "." for all but 0x20...0x7E. Seen as signed, bytes above 0x7F are below 0x20.
inline TwoLines printable(TwoLines bytes) {
  const TwoLines keep = _mm256_andnot_si256(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(0x7F)),
                                            _mm256_cmpgt_epi8(bytes, _mm256_set1_epi8(0x1F)));
  return _mm256_blendv_epi8(_mm256_set1_epi8('.'), bytes, keep);
}

/// Two lines of a dump in pieces of 16 characters, which overlap where they do not fill a line.
struct DumpLines {
  TwoLines offset;
  TwoLines spaced[3];
  TwoLines text[2];
};

inline DumpLines dumpLines(TwoLines bytes, TwoLines offsets) {
  const TwoLines bigEndian =
      _mm256_shuffle_epi8(offsets, inBoth(_mm_setr_epi8(3, 2, 1, 0, kGap, kGap, kGap, kGap, kGap,
                                                        kGap, kGap, kGap, kGap, kGap, kGap, kGap)));
  const Digits digits = digitsOf(bytes);
  const TwoLines middle = _mm256_alignr_epi8(digits.last, digits.first, 8);
  const TwoLines characters = printable(bytes);
  const TwoLines before = inBoth(_mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ' ', '|'));
  const TwoLines after = inBoth(_mm_setr_epi8('|', '\n', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
  return {.offset = _mm256_unpacklo_epi64(digitsOf(bigEndian).first, _mm256_set1_epi8(' ')),
          .spaced = {spread(digits.first, _mm_setr_epi8(0, 1, kGap, 2, 3, kGap, 4, 5, kGap, 6, 7,
                                                        kGap, 8, 9, kGap, 10)),
                     spread(middle, _mm_setr_epi8(3, kGap, 4, 5, kGap, 6, 7, kGap, 8, 9, kGap, 10,
                                                  11, kGap, 12, 13)),
                     spread(digits.last, _mm_setr_epi8(kGap, 6, 7, kGap, 8, 9, kGap, 10, 11, kGap,
                                                       12, 13, kGap, 14, 15, kGap))},
          .text = {_mm256_alignr_epi8(characters, before, 14),
                   _mm256_alignr_epi8(after, characters, 2)}};
}

template <int kLine>
inline char* storeDumpLine(char* out, const DumpLines& lines) {
  store<kLine>(out, lines.offset);
  store<kLine>(out + 10, lines.spaced[0]);
  store<kLine>(out + 26, lines.spaced[1]);
  store<kLine>(out + 42, lines.spaced[2]);
  store<kLine>(out + 58, lines.text[0]);
  store<kLine>(out + 62, lines.text[1]);
  return out + LineKernels::kHexDumpLineLength;
}

char* hexDump(char* out, const std::uint8_t* bytes, std::size_t lineCount, std::uint32_t offset) {
  TwoLines offsets = offsetsFrom(offset);
  for (; lineCount >= 2; lineCount -= 2, bytes += 2 * kBytesPerLine) {
    prefetch(out, bytes);
    const DumpLines lines = dumpLines(load(bytes), offsets);
    out = storeDumpLine<1>(storeDumpLine<0>(out, lines), lines);
    offsets = offsetsAfter(offsets);
  }
  return lineCount == 0 ? out : storeDumpLine<0>(out, dumpLines(loadLast(bytes), offsets));
}

/// Two records in pieces of 16 characters, which overlap.
struct Records {
  TwoLines head;
  TwoLines digits;
  TwoLines moreDigits;
  TwoLines tail;
};

/// The bytes of a record around its data (length, address, type and checksum) become digits
/// together.
inline Records records(TwoLines bytes, TwoLines offsets) {
  const TwoLines zero = _mm256_setzero_si256();
  const TwoLines address = _mm256_shuffle_epi8(
      offsets, inBoth(_mm_setr_epi8(kGap, 1, 0, kGap, kGap, kGap, kGap, kGap, kGap, kGap, kGap,
                                    kGap, kGap, kGap, kGap, kGap)));
  const TwoLines header = _mm256_or_si256(address, inBoth(_mm_cvtsi32_si128(kBytesPerLine)));
  const TwoLines halves = _mm256_sad_epu8(bytes, zero);
  const TwoLines sum = _mm256_add_epi64(
      _mm256_add_epi64(halves, _mm256_shuffle_epi32(halves, _MM_SHUFFLE(1, 0, 3, 2))),
      _mm256_sad_epu8(header, zero));
  const TwoLines checksum = _mm256_slli_epi64(_mm256_sub_epi64(zero, sum), 32);
  const TwoLines around = digitsOf(_mm256_or_si256(header, checksum)).first;
  const TwoLines colon = inBoth(_mm_setr_epi8(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, ':'));
  const TwoLines end = _mm256_or_si256(
      _mm256_shuffle_epi8(
          around, inBoth(_mm_setr_epi8(8, 9, kGap, kGap, kGap, kGap, kGap, kGap, kGap, kGap, kGap,
                                       kGap, kGap, kGap, kGap, kGap))),
      inBoth(_mm_setr_epi8(0, 0, '\n', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0)));
  const Digits digits = digitsOf(bytes);
  return {.head = _mm256_alignr_epi8(around, colon, 15),
          .digits = digits.first,
          .moreDigits = digits.last,
          .tail = _mm256_alignr_epi8(end, digits.last, 3)};
}

template <int kLine>
inline char* storeRecord(char* out, const Records& records) {
  store<kLine>(out, records.head);
  store<kLine>(out + 9, records.digits);
  store<kLine>(out + 25, records.moreDigits);
  store<kLine>(out + 28, records.tail);
  return out + LineKernels::kIntelHexLineLength;
}

char* intelHex(char* out, const std::uint8_t* bytes, std::size_t lineCount, std::uint32_t offset) {
  TwoLines offsets = offsetsFrom(offset);
  for (; lineCount >= 2; lineCount -= 2, bytes += 2 * kBytesPerLine) {
    prefetch(out, bytes);
    const Records both = records(load(bytes), offsets);
    out = storeRecord<1>(storeRecord<0>(out, both), both);
    offsets = offsetsAfter(offsets);
  }
  return lineCount == 0 ? out : storeRecord<0>(out, records(loadLast(bytes), offsets));
}

}  // namespace

constinit const LineKernels avx2LineKernels = {
    .name = "AVX2", .hexDump = hexDump, .intelHex = intelHex};

}  // namespace quillmor

#else

namespace quillmor {
constinit const LineKernels avx2LineKernels = {};
}  // namespace quillmor

#endif
