#include "search/typed/NumberBytes.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "base/Check.h"

namespace quillmor {

namespace {

static_assert(std::numeric_limits<float>::is_iec559 && std::numeric_limits<double>::is_iec559);

void checkIntegerWidth(int width) {
  checkPrecondition(width == 1 || width == 2 || width == 4 || width == 8,
                    "Integers are 1, 2, 4 or 8 bytes wide");
}

/// True if `value` is one of -2^(8w-1)...2^(8w-1)-1: dropping all bits but those of the sign and
/// the magnitude leaves nothing but copies of the sign.
bool fitsSigned(std::int64_t value, int width) {
  const std::int64_t copiesOfSign = value >> (8 * width - 1);
  return copiesOfSign == 0 || copiesOfSign == -1;
}

/// True if `value` is one of 0...2^(8w)-1.
bool fitsUnsigned(std::uint64_t value, int width) {
  return width == 8 || value >> (8 * width) == 0;
}

}  // namespace

std::optional<std::vector<std::uint8_t>> integerBytes(std::int64_t value, int width, bool isSigned,
                                                      Endianness endianness) {
  checkIntegerWidth(width);
  const auto bits = static_cast<std::uint64_t>(value);
  if (!isSigned) return value < 0 ? std::nullopt : integerBytes(bits, width, endianness);
  if (!fitsSigned(value, width)) return std::nullopt;
  return rawIntegerBytes(bits, width, endianness);
}

std::optional<std::vector<std::uint8_t>> integerBytes(std::uint64_t unsignedValue, int width,
                                                      Endianness endianness) {
  checkIntegerWidth(width);
  if (!fitsUnsigned(unsignedValue, width)) return std::nullopt;
  return rawIntegerBytes(unsignedValue, width, endianness);
}

std::vector<std::uint8_t> rawIntegerBytes(std::uint64_t rawValue, int width,
                                          Endianness endianness) {
  checkIntegerWidth(width);
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width));
  for (auto& byte : bytes) {
    byte = static_cast<std::uint8_t>(rawValue);
    rawValue >>= 8;
  }
  if (endianness == Endianness::big) std::reverse(bytes.begin(), bytes.end());
  return bytes;
}

std::optional<std::vector<std::uint8_t>> floatBytes(double value, int width,
                                                    Endianness endianness) {
  checkPrecondition(width == 4 || width == 8, "Floating-point numbers are 4 or 8 bytes wide");
  if (width == 4) {
    const auto rounded = static_cast<float>(value);
    if (!std::isfinite(rounded)) return std::nullopt;
    return rawIntegerBytes(std::bit_cast<std::uint32_t>(rounded), 4, endianness);
  }
  if (!std::isfinite(value)) return std::nullopt;
  return rawIntegerBytes(std::bit_cast<std::uint64_t>(value), 8, endianness);
}

}  // namespace quillmor
