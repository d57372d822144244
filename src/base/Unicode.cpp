#include "base/Unicode.h"

#include <algorithm>
#include <cstring>

namespace quillmor::Unicode {

namespace {

/// What a lead byte promises: the length of its sequence, its own payload, and the range of the
/// second byte, which is narrower than 80...BF where longer forms, surrogates or values above
/// U+10FFFF begin.
struct Lead {
  std::size_t length;
  char32_t payload;
  unsigned char secondMin;
  unsigned char secondMax;
};

constexpr Lead leadOf(unsigned char byte) {
  if (byte < 0x80) return {1, byte, 0, 0};
  if (byte < 0xC2) return {0, 0, 0, 0};
  if (byte < 0xE0) return {2, byte & 0x1FU, 0x80, 0xBF};
  if (byte == 0xE0) return {3, 0, 0xA0, 0xBF};
  if (byte == 0xED) return {3, 0xD, 0x80, 0x9F};
  if (byte < 0xF0) return {3, byte & 0x0FU, 0x80, 0xBF};
  if (byte == 0xF0) return {4, 0, 0x90, 0xBF};
  if (byte < 0xF4) return {4, byte & 0x07U, 0x80, 0xBF};
  if (byte == 0xF4) return {4, 4, 0x80, 0x8F};
  return {0, 0, 0, 0};
}

/// The bytes after the first `limit` scalars, or after all when `text` has fewer.
std::string_view droppingScalars(std::string_view text, std::int64_t limit) {
  for (; limit > 0 && !text.empty(); --limit) text.remove_prefix(decodeFirst(text).length);
  return text;
}

/// The length in bytes of the white space that `text` ends with, one scalar of it; 0 when it ends
/// with none. No reading from the front is needed: a lead byte begins a scalar wherever it stands.
std::size_t lastWhiteSpaceLength(std::string_view text) {
  constexpr std::size_t kLongestWhiteSpace = 3;
  for (std::size_t length = 1; length <= std::min(kLongestWhiteSpace, text.size()); ++length) {
    const DecodedScalar last = decodeFirst(text.substr(text.size() - length));
    if (last.length == length && isWhiteSpace(last.scalar)) return length;
  }
  return 0;
}

/// How many bytes at the start of `text` are ASCII, in steps of eight: long texts are mostly ASCII.
std::size_t asciiBlocksLength(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080'8080'8080'8080;
  std::size_t length = 0;
  for (std::uint64_t block = 0; text.size() - length >= sizeof block; length += sizeof block) {
    std::memcpy(&block, text.data() + length, sizeof block);
    if ((block & kHighBits) != 0) break;
  }
  return length;
}

}  // namespace

DecodedScalar decodeFirst(std::string_view text) {
  const Lead lead = leadOf(static_cast<unsigned char>(text.front()));
  if (lead.length == 0) return {kReplacementScalar, 1, false};
  char32_t scalar = lead.payload;
  for (std::size_t i = 1; i < lead.length; ++i) {
    const unsigned byte = i < text.size() ? static_cast<unsigned char>(text[i]) : 0U;
    const unsigned char low = i == 1 ? lead.secondMin : 0x80;
    const unsigned char high = i == 1 ? lead.secondMax : 0xBF;
    if (byte < low || byte > high) return {kReplacementScalar, i, false};
    scalar = scalar << 6 | (byte & 0x3FU);
  }
  return {scalar, lead.length, true};
}

bool isASCII(std::string_view text) {
  text.remove_prefix(asciiBlocksLength(text));
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isValid(std::string_view text) {
  while (!text.empty()) {
    text.remove_prefix(asciiBlocksLength(text));
    if (text.empty()) break;
    const DecodedScalar next = decodeFirst(text);
    if (!next.isValid) return false;
    text.remove_prefix(next.length);
  }
  return true;
}

bool isWhiteSpace(char32_t scalar) {
  if (scalar < 0x80) return scalar == 0x20 || (scalar >= 0x09 && scalar <= 0x0D);
  if (scalar < 0x1680) return scalar == 0x85 || scalar == 0xA0;
  return scalar == 0x1680 || (scalar >= 0x2000 && scalar <= 0x200A) || scalar == 0x2028 ||
         scalar == 0x2029 || scalar == 0x202F || scalar == 0x205F || scalar == 0x3000;
}

bool hasMoreScalarsThan(std::string_view text, std::int64_t limit) {
  if (limit < 0) return true;
  // A scalar takes at least one byte, so a short text needs no decoding.
  if (text.size() <= static_cast<std::uint64_t>(limit)) return false;
  return !droppingScalars(text, limit).empty();
}

std::string_view prefixOfScalars(std::string_view text, std::int64_t maxScalars) {
  const std::string_view rest = droppingScalars(text, maxScalars);
  return text.substr(0, text.size() - rest.size());
}

std::string_view trimmedOfWhiteSpace(std::string_view text) {
  while (!text.empty()) {
    const DecodedScalar first = decodeFirst(text);
    if (!isWhiteSpace(first.scalar)) break;
    text.remove_prefix(first.length);
  }
  while (const std::size_t length = lastWhiteSpaceLength(text)) text.remove_suffix(length);
  return text;
}

}  // namespace quillmor::Unicode
