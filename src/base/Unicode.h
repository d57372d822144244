#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// UTF-8 read as Unicode scalar values. Nothing here allocates, throws or keeps state, and any
/// bytes can be read. Bytes that are not UTF-8 read as U+FFFD, one for each maximal part of a
/// sequence, as the Unicode Standard recommends in its chapter 3.9.
namespace quillmor::Unicode {

inline constexpr char32_t kReplacementScalar = 0xFFFD;

struct DecodedScalar {
  char32_t scalar = kReplacementScalar;
  std::size_t length = 0;  ///< bytes read, 1 to 4
  bool isValid = false;    ///< false when the bytes are not UTF-8 and `scalar` is U+FFFD for them
};

/// The scalar at the start of `text`, which must not be empty.
DecodedScalar decodeFirst(std::string_view text);

/// True if every byte of `text` is ASCII.
bool isASCII(std::string_view text);

/// True if all of `text` is UTF-8.
bool isValid(std::string_view text);

/// True if the scalar has the White_Space property of the Unicode Character Database
/// (PropList.txt).
bool isWhiteSpace(char32_t scalar);

/// True if `text` has more than `limit` scalars. Reads no further than that needs.
bool hasMoreScalarsThan(std::string_view text, std::int64_t limit);

/// Returns the first `maxScalars` scalars of `text`: all of it when it has no more, nothing when
/// `maxScalars` is not positive.
std::string_view prefixOfScalars(std::string_view text, std::int64_t maxScalars);

/// Returns `text` without the white space at both ends.
std::string_view trimmedOfWhiteSpace(std::string_view text);

}  // namespace quillmor::Unicode
