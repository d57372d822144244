#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/// UTF-8 read as Unicode scalar values. Nothing here allocates, throws or keeps state, and no text
/// is too broken to be read: every byte sequence that is not UTF-8 reads as U+FFFD, one for each
/// maximal part of a sequence (the practice the Unicode Standard recommends in its chapter 3.9).
namespace quillmor::Unicode {

inline constexpr char32_t kReplacementScalar = 0xFFFD;

struct DecodedScalar {
  char32_t scalar = kReplacementScalar;
  std::size_t length = 0;  ///< bytes read, 1 to 4
  bool isValid = false;    ///< false when the bytes are not UTF-8 and `scalar` is U+FFFD for them
};

/// The scalar at the start of `text`, which must not be empty.
DecodedScalar decodeFirst(std::string_view text);

/// Whether all of `text` is UTF-8.
bool isValid(std::string_view text);

/// The White_Space property of the Unicode Character Database (PropList.txt).
bool isWhiteSpace(char32_t scalar);

/// Whether `text` has more than `limit` scalars; reads no further than that needs.
bool hasMoreScalarsThan(std::string_view text, std::int64_t limit);

/// The first `maxScalars` scalars of `text`; all of it when it has no more, nothing of it when
/// `maxScalars` is not positive.
std::string_view prefixOfScalars(std::string_view text, std::int64_t maxScalars);

/// `text` without the white space at both ends.
std::string_view trimmedOfWhiteSpace(std::string_view text);

}  // namespace quillmor::Unicode
