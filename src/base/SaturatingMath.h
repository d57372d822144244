#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

namespace quillmor {

inline constexpr std::int64_t kMaxInt64 = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t kMinInt64 = std::numeric_limits<std::int64_t>::min();

/// Returns `a + b`, or the nearest signed 64-bit value when the sum does not fit.
constexpr std::int64_t saturatingAdd(std::int64_t a, std::int64_t b) {
  std::int64_t sum = 0;
  if (!__builtin_add_overflow(a, b, &sum)) return sum;
  return b > 0 ? kMaxInt64 : kMinInt64;
}

/// Returns `a * b`, or the nearest signed 64-bit value when the product does not fit.
constexpr std::int64_t saturatingMultiply(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  if (!__builtin_mul_overflow(a, b, &product)) return product;
  return (a < 0) == (b < 0) ? kMaxInt64 : kMinInt64;
}

/// Returns `a * b`; nothing when either is negative or the product does not fit.
constexpr std::optional<std::int64_t> safeProduct(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  if (a < 0 || b < 0 || __builtin_mul_overflow(a, b, &product)) return std::nullopt;
  return product;
}

/// Returns `value` limited to 0...`count`; `count` is not negative.
constexpr std::int64_t clampedToCount(std::int64_t value, std::int64_t count) {
  return std::clamp<std::int64_t>(value, 0, count);
}

}  // namespace quillmor
