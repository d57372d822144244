#include "search/typed/HexParser.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>

#include "base/HexText.h"
#include "base/Unicode.h"
#include "search/typed/AsciiHexBytes.h"
#include "search/typed/IntegerText.h"

namespace quillmor::HexParser {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Classes of characters; values below 16 are those of hexadecimal digits.
constexpr std::uint8_t kSeparator = 16;
constexpr std::uint8_t kPrefixLetter = 17;
constexpr std::uint8_t kInvalid = 18;

/// How much is read between two looks at the stop request.
constexpr std::int64_t kScalarsBetweenLooks = 65'536;

constexpr bool isDigit(std::uint8_t characterClass) {
  return characterClass < kSeparator;
}

std::uint8_t classOf(char32_t scalar) {
  if (Unicode::isWhiteSpace(scalar)) return kSeparator;
  if (scalar >= 0x80) return kInvalid;
  const char character = static_cast<char>(scalar);
  if (isAsciiSeparator(character)) return kSeparator;
  if (character == 'x' || character == 'X') return kPrefixLetter;
  return hexDigitValue(character).value_or(kInvalid);
}

std::uint64_t byteLimit(std::optional<std::int64_t> maxOutputBytes) {
  if (!maxOutputBytes) return std::numeric_limits<std::uint64_t>::max();
  return static_cast<std::uint64_t>(*maxOutputBytes);
}

/// The grammar of the byte list, fed one character class at a time.
class ByteCollector {
 public:
  ByteCollector(std::size_t textLength, std::optional<std::int64_t> maxOutputBytes)
      : limit_(byteLimit(maxOutputBytes)) {
    const std::size_t longest = textLength / 2 + textLength % 2;
    bytes_.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(longest, limit_)));
  }

  /// False when the character makes the whole text invalid.
  bool accept(std::uint8_t characterClass) {
    if (isDigit(characterClass)) return acceptDigit(characterClass);
    if (characterClass == kSeparator) return endToken();
    return characterClass == kPrefixLetter && acceptPrefix();
  }

  std::optional<Bytes> finish() {
    if (!endToken() || bytes_.empty()) return std::nullopt;
    return std::move(bytes_);
  }

 private:
  bool acceptDigit(std::uint8_t value) {
    const bool completesPair = digitCount_++ % 2 == 1;
    if (completesPair) return append(static_cast<std::uint8_t>(pendingDigit_ << 4 | value));
    pendingDigit_ = value;
    return true;
  }

  bool acceptPrefix() {
    if (hasPrefix_ || digitCount_ != 1 || pendingDigit_ != 0) return false;
    hasPrefix_ = true;
    digitCount_ = 0;
    return true;
  }

  bool endToken() {
    if (digitCount_ == 0) return !hasPrefix_;
    if (digitCount_ == 1 && !append(pendingDigit_)) return false;
    if (digitCount_ > 1 && digitCount_ % 2 == 1) return false;
    digitCount_ = 0;
    hasPrefix_ = false;
    return true;
  }

  bool append(std::uint8_t byte) {
    if (bytes_.size() >= limit_) return false;
    bytes_.push_back(byte);
    return true;
  }

  Bytes bytes_;
  std::uint64_t limit_;
  std::size_t digitCount_ = 0;
  std::uint8_t pendingDigit_ = 0;
  bool hasPrefix_ = false;
};

/// `parseHexBytes` for text with characters outside ASCII: scalar by scalar, with every Unicode
/// white space as a separator.
std::optional<Bytes> parseHexBytesUnicode(std::string_view text,
                                          std::optional<std::int64_t> maxOutputBytes,
                                          std::optional<std::int64_t> maxInputCharacters,
                                          const TaskProgress* progress) {
  ByteCollector collector(text.size(), maxOutputBytes);
  std::int64_t scalarsRead = 0;
  while (!text.empty()) {
    if (maxInputCharacters && scalarsRead == *maxInputCharacters) return std::nullopt;
    if (progress != nullptr && scalarsRead % kScalarsBetweenLooks == 0) progress->checkpoint();
    ++scalarsRead;
    const Unicode::DecodedScalar next = Unicode::decodeFirst(text);
    if (!collector.accept(classOf(next.scalar))) return std::nullopt;
    text.remove_prefix(next.length);
  }
  return collector.finish();
}

/// The text between the white space at its ends, as long as it is one run of at most 128 ASCII
/// characters. Other characters are part of no accepted form, so they end the search at once.
class OffsetText {
 public:
  /// False when `text` cannot be an offset.
  bool read(std::string_view text) {
    bool hasEnded = false;
    while (!text.empty()) {
      const Unicode::DecodedScalar next = Unicode::decodeFirst(text);
      text.remove_prefix(next.length);
      if (Unicode::isWhiteSpace(next.scalar)) {
        hasEnded = length_ > 0;
      } else if (hasEnded || next.scalar >= 0x80 || length_ == characters_.size()) {
        return false;
      } else {
        characters_[length_++] = static_cast<char>(next.scalar);
      }
    }
    return length_ > 0;
  }

  std::string_view view() const { return {characters_.data(), length_}; }

 private:
  std::array<char, 128> characters_{};
  std::size_t length_ = 0;
};

}  // namespace

std::optional<Bytes> parseHexBytes(std::string_view text,
                                   std::optional<std::int64_t> maxOutputBytes,
                                   std::optional<std::int64_t> maxInputCharacters,
                                   const TaskProgress* progress) {
  if (maxInputCharacters && *maxInputCharacters < 0) return std::nullopt;
  if (maxOutputBytes && *maxOutputBytes < 1) return std::nullopt;
  if (!isAscii(text)) {
    return parseHexBytesUnicode(text, maxOutputBytes, maxInputCharacters, progress);
  }
  if (maxInputCharacters && text.size() > static_cast<std::uint64_t>(*maxInputCharacters)) {
    return std::nullopt;
  }
  return parseAsciiHexBytes(text, byteLimit(maxOutputBytes), progress);
}

std::optional<std::int64_t> parseOffset(std::string_view text) {
  OffsetText kept;
  if (!kept.read(text)) return std::nullopt;
  const std::string_view t = kept.view();
  if (t.starts_with("0x") || t.starts_with("0X"))
    return integerFromText<std::int64_t>(t.substr(2), 16);
  if (t.ends_with('h') && isHexDigits(t.substr(0, t.size() - 1))) {
    return integerFromText<std::int64_t>(t.substr(0, t.size() - 1), 16);
  }
  if (isHexDigits(t) && hasHexLetter(t)) return integerFromText<std::int64_t>(t, 16);
  return integerFromText<std::int64_t>(t, 10);
}

}  // namespace quillmor::HexParser
