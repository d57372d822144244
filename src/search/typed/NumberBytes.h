#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace quillmor {

// Numbers as the bytes they are stored in. Integers are written in two's complement,
// floating-point numbers in the IEEE 754 binary32 and binary64 formats. `width` is in bytes: 1, 2,
// 4 or 8 for integers, 4 or 8 for floating-point numbers; any other is a programming fault. Pure
// functions, safe from any thread.

/// `little` puts the least significant byte first, `big` the most significant one.
enum class Endianness { little, big };

/// Returns `value` as an integer of `width` bytes, absent when it does not fit: signed ones hold
/// -2^(8w-1)...2^(8w-1)-1, unsigned ones 0...2^(8w)-1.
std::optional<std::vector<std::uint8_t>> integerBytes(std::int64_t value, int width, bool isSigned,
                                                      Endianness endianness);

/// The same for an unsigned value.
std::optional<std::vector<std::uint8_t>> integerBytes(std::uint64_t unsignedValue, int width,
                                                      Endianness endianness);

/// Returns the low `width` bytes of `rawValue`.
std::vector<std::uint8_t> rawIntegerBytes(std::uint64_t rawValue, int width, Endianness endianness);

/// Returns `value` rounded to the format of `width` bytes; absent when that is not finite.
std::optional<std::vector<std::uint8_t>> floatBytes(double value, int width, Endianness endianness);

}  // namespace quillmor
