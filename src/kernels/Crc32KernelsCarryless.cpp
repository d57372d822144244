// CRC-32 by carry-less multiplication, after V. Gopal et al., "Fast CRC Computation for Generic
// Polynomials Using PCLMULQDQ Instruction", Intel white paper, December 2009. Bytes far ahead of
// the end are replaced by their remainder times a power of x, added to bytes nearer to the end;
// that leaves the remainder of the whole as it is.

#include "kernels/Crc32Kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

namespace quillmor {
namespace {

constexpr std::size_t kLane = 16;
constexpr std::size_t kLanes = 4;

/// x to the power of `exponent` modulo the polynomial, in the form in which the product of two
/// reflected factors comes out reflected: its 32 bits are moved up by one.
constexpr std::int64_t power(int exponent) {
  std::uint32_t remainder = std::uint32_t{1} << 31;
  for (int i = 0; i < exponent; ++i) {
    remainder = remainder >> 1 ^ ((remainder & 1) != 0 ? kCrc32Polynomial : 0);
  }
  return static_cast<std::int64_t>(std::uint64_t{remainder} << 1);
}

/// Moves 16 bytes ahead by `distance` bits: their first half, in the low 64 bits, lies 64 bits
/// further from the end than the second. A factor of 33 bits takes 32 off each.
template <int distance>
[[gnu::target("pclmul,sse4.1")]] inline __m128i folded(__m128i lane, __m128i onto) {
  const __m128i factors = _mm_set_epi64x(power(distance - 32), power(distance + 32));
  const __m128i first = _mm_clmulepi64_si128(lane, factors, 0x00);
  const __m128i second = _mm_clmulepi64_si128(lane, factors, 0x11);
  return _mm_xor_si128(_mm_xor_si128(first, second), onto);
}

static_assert(power(4 * 128 + 32) == 0x154442BD4 && power(4 * 128 - 32) == 0x1C6E41596);
static_assert(power(128 + 32) == 0x1751997D0 && power(128 - 32) == 0x0CCAA009E);

[[gnu::target("pclmul,sse4.1")]] inline __m128i laneAt(const std::uint8_t* bytes,
                                                       std::size_t index) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes) + index);
}

/// Four lanes at a time hide the latency of the multiplications. What remains, 16 bytes that have
/// the same remainder as all before them, is left to the tables.
[[gnu::target("pclmul,sse4.1")]] std::uint32_t update(std::uint32_t shiftRegister,
                                                      const std::uint8_t* bytes,
                                                      std::size_t count) {
  constexpr std::size_t kBlock = kLanes * kLane;
  if (count < kBlock) return portableCrc32Kernel.update(shiftRegister, bytes, count);
  __m128i first =
      _mm_xor_si128(laneAt(bytes, 0), _mm_cvtsi32_si128(static_cast<int>(shiftRegister)));
  __m128i second = laneAt(bytes, 1);
  __m128i third = laneAt(bytes, 2);
  __m128i fourth = laneAt(bytes, 3);
  for (bytes += kBlock, count -= kBlock; count >= kBlock; bytes += kBlock, count -= kBlock) {
    first = folded<4 * 128>(first, laneAt(bytes, 0));
    second = folded<4 * 128>(second, laneAt(bytes, 1));
    third = folded<4 * 128>(third, laneAt(bytes, 2));
    fourth = folded<4 * 128>(fourth, laneAt(bytes, 3));
  }
  __m128i rest = folded<128>(folded<128>(folded<128>(first, second), third), fourth);
  for (; count >= kLane; bytes += kLane, count -= kLane) rest = folded<128>(rest, laneAt(bytes, 0));

  alignas(kLane) std::uint8_t remaining[kLane];
  _mm_store_si128(reinterpret_cast<__m128i*>(remaining), rest);
  const auto updatePortably = portableCrc32Kernel.update;
  return updatePortably(updatePortably(0, remaining, kLane), bytes, count);
}

}  // namespace

constinit const Crc32Kernel carrylessCrc32Kernel = {.name = "PCLMULQDQ", .update = update};

}  // namespace quillmor

#else

namespace quillmor {
constinit const Crc32Kernel carrylessCrc32Kernel = {};
}  // namespace quillmor

#endif
