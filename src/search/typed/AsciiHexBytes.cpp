#include "search/typed/AsciiHexBytes.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "base/ByteUnits.h"
#include "base/HexText.h"
#include "base/HugePages.h"

namespace quillmor::HexParser {

namespace {

using Bytes = std::vector<std::uint8_t>;

/// The separators skipped between two looks at the stop request.
constexpr std::ptrdiff_t kMostSeparators = kMiB;

/// Marks what is no digit in the digit tables: beyond all bytes, whatever it is combined with.
constexpr std::uint16_t kNoDigit = 0x100;

struct CharacterTables {
  std::array<std::uint16_t, 256> highDigit{};  ///< 16 times a digit's value, or `kNoDigit`
  std::array<std::uint16_t, 256> lowDigit{};   ///< a digit's value, or `kNoDigit`
  std::array<bool, 256> isSeparator{};
};

constexpr CharacterTables kTables = [] {
  CharacterTables tables;
  for (std::size_t c = 0; c < 256; ++c) {
    const auto value = hexDigitValue(static_cast<char>(c));
    tables.highDigit[c] = value ? static_cast<std::uint16_t>(*value << 4) : kNoDigit;
    tables.lowDigit[c] = value ? *value : kNoDigit;
    tables.isSeparator[c] = c < 0x80 && isAsciiSeparator(static_cast<char>(c));
  }
  return tables;
}();

/// The value of the digits at `at` and after it, or `kNoDigit` and more.
unsigned pairAt(const char* at) {
  return static_cast<unsigned>(kTables.highDigit[static_cast<unsigned char>(at[0])] |
                               kTables.lowDigit[static_cast<unsigned char>(at[1])]);
}

bool isPair(unsigned pair) {
  return pair < kNoDigit;
}

unsigned digitAt(const char* at) {
  return kTables.lowDigit[static_cast<unsigned char>(*at)];
}

bool isSeparatorAt(const char* at) {
  return kTables.isSeparator[static_cast<unsigned char>(*at)];
}

/// Bytes on their way into the result, gathered in a small buffer: writing through a plain pointer
/// is several times faster than `push_back`, and unlike after `resize` nothing is written twice.
class Output {
 public:
  Output(std::size_t longest, std::uint64_t limit) : limit_(limit) {
    bytes_.reserve(static_cast<std::size_t>(std::min<std::uint64_t>(longest, limit)));
    preferHugePages(bytes_.data(), bytes_.capacity());
    openRoom();
  }

  /// Where the next byte goes and where the room for bytes ends.
  std::uint8_t* next() const { return next_; }
  const std::uint8_t* end() const { return end_; }
  void setNext(std::uint8_t* next) { next_ = next; }

  /// Makes room for one byte at least; false when the limit is reached.
  bool makeRoom() {
    if (next_ != end_) return true;
    bytes_.insert(bytes_.end(), buffer_.data(), next_);
    openRoom();
    return next_ != end_;
  }

  Bytes take() {
    bytes_.insert(bytes_.end(), buffer_.data(), next_);
    return std::move(bytes_);
  }

 private:
  void openRoom() {
    next_ = buffer_.data();
    end_ = next_ + std::min<std::uint64_t>(buffer_.size(), limit_ - bytes_.size());
  }

  Bytes bytes_;
  std::uint64_t limit_;
  std::array<std::uint8_t, 4096> buffer_;
  std::uint8_t* next_ = nullptr;
  const std::uint8_t* end_ = nullptr;
};

/// Reads one text. Its members work at a position and return the one after what they have read.
class Reader {
 public:
  Reader(std::string_view text, std::uint64_t limit, const TaskProgress* progress)
      : begin_(text.data()),
        end_(begin_ + text.size()),
        progress_(progress),
        output_(text.size() / 2 + text.size() % 2, limit) {}

  std::optional<Bytes> read() {
    const char* at = begin_;
    while (at != end_) {
      checkpoint();
      const char* const begin = at;
      at = skipSeparators(at);
      at = readPairTokens(at);
      if (at != begin) continue;
      at = readToken(at);
      if (at == nullptr) return std::nullopt;
    }
    Bytes bytes = output_.take();
    if (bytes.empty()) return std::nullopt;
    return bytes;
  }

 private:
  void checkpoint() const {
    if (progress_ != nullptr) progress_->checkpoint();
  }

  /// The separators at `at`, or the first of very many.
  const char* skipSeparators(const char* at) const {
    const char* const end = at + std::min<std::ptrdiff_t>(end_ - at, kMostSeparators);
    while (at != end && isSeparatorAt(at)) ++at;
    return at;
  }

  bool endsTokenAt(const char* at) const { return at == end_ || isSeparatorAt(at); }

  bool hasPairAt(const char* at) const { return end_ - at >= 2 && isPair(pairAt(at)); }

  bool hasPrefixAt(const char* at) const {
    // The letter first: it is there in all tokens or in none, which the processor learns.
    return end_ - at >= 2 && (at[1] == 'x' || at[1] == 'X') && at[0] == '0';
  }

  /// Tokens of one pair, the commonest form, with a prefix or without, as long as there is room and
  /// the text goes on after them. `at` is where a token may begin; so is the result.
  const char* readPairTokens(const char* at) {
    constexpr std::ptrdiff_t kLongest = std::string_view("0xAA, ").size();
    std::uint8_t* next = output_.next();
    const std::uint8_t* const room = output_.end();
    while (end_ - at >= kLongest && next != room) {
      const char* const digits = hasPrefixAt(at) ? at + 2 : at;
      const unsigned pair = pairAt(digits);
      if (!isPair(pair) || !isSeparatorAt(digits + 2)) break;
      *next++ = static_cast<std::uint8_t>(pair);
      at = digits + 3;
      if (isSeparatorAt(at)) ++at;
    }
    output_.setNext(next);
    return at;
  }

  /// Pairs without anything between them, to the last one; null when they exceed the limit.
  const char* readJoinedPairs(const char* at) {
    while (hasPairAt(at)) {
      checkpoint();
      if (!output_.makeRoom()) return nullptr;
      std::uint8_t* next = output_.next();
      const std::uint8_t* const room = output_.end();
      for (; end_ - at >= 2 && next != room; at += 2) {
        const unsigned pair = pairAt(at);
        if (!isPair(pair)) break;
        *next++ = static_cast<std::uint8_t>(pair);
      }
      output_.setNext(next);
    }
    return at;
  }

  /// A token, which begins at `at`; null when it is not valid or exceeds the limit.
  const char* readToken(const char* at) {
    if (hasPrefixAt(at)) at += 2;
    const char* const afterPairs = readJoinedPairs(at);
    if (afterPairs == nullptr) return nullptr;
    if (afterPairs == at) return readSingleDigit(at);
    return endsTokenAt(afterPairs) ? afterPairs : nullptr;
  }

  const char* readSingleDigit(const char* at) {
    if (at == end_ || digitAt(at) == kNoDigit || !endsTokenAt(at + 1)) return nullptr;
    if (!output_.makeRoom()) return nullptr;
    *output_.next() = static_cast<std::uint8_t>(digitAt(at));
    output_.setNext(output_.next() + 1);
    return at + 1;
  }

  const char* begin_;
  const char* end_;
  const TaskProgress* progress_;
  Output output_;
};

}  // namespace

bool isAscii(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::uint64_t word = 0;
  for (; text.size() >= sizeof word; text.remove_prefix(sizeof word)) {
    std::memcpy(&word, text.data(), sizeof word);
    if ((word & kHighBits) != 0) return false;
  }
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::optional<Bytes> parseAsciiHexBytes(std::string_view text, std::uint64_t maxOutputBytes,
                                        const TaskProgress* progress) {
  return Reader(text, maxOutputBytes, progress).read();
}

}  // namespace quillmor::HexParser
