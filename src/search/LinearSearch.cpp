#include "search/LinearSearch.h"

namespace quillmor::LinearSearch {

namespace {

using Bytes = std::span<const std::uint8_t>;

template <bool kFolds>
std::uint8_t comparable(std::uint8_t byte) {
  if constexpr (!kFolds) return byte;
  return byte >= 'A' && byte <= 'Z' ? static_cast<std::uint8_t>(byte | 0x20) : byte;
}

/// A needle as it is read in one direction.
template <bool kFolds, Direction kDirection>
class DirectedNeedle {
 public:
  explicit DirectedNeedle(Bytes needle)
      : begin_(kDirection == Direction::forward ? needle.data()
                                                : needle.data() + needle.size() - 1) {}

  std::uint8_t operator[](std::size_t index) const {
    const auto step = static_cast<std::ptrdiff_t>(index);
    return comparable<kFolds>(*(kDirection == Direction::forward ? begin_ + step : begin_ - step));
  }

 private:
  const std::uint8_t* begin_;
};

/// How many bytes of the needle the haystack ends with, after one more byte of it.
template <class Needle>
std::size_t advanced(const Needle& needle, const std::uint32_t* table, std::size_t matched,
                     std::uint8_t byte) {
  while (matched > 0 && needle[matched] != byte) matched = table[matched - 1];
  return needle[matched] == byte ? matched + 1 : matched;
}

template <bool kFolds, Direction kDirection>
FailureTable makeTable(Bytes bytes) {
  const DirectedNeedle<kFolds, kDirection> needle(bytes);
  FailureTable table(bytes.size());
  std::size_t matched = 0;
  for (std::size_t i = 1; i < table.size(); ++i) {
    matched = advanced(needle, table.data(), matched, needle[i]);
    table[i] = static_cast<std::uint32_t>(matched);
  }
  return table;
}

/// After `length` bytes the needle goes on as it does after `border` bytes, so a byte that differed
/// in the one place differs in the other. Entries of shorter lengths are shortcuts already.
template <bool kFolds, Direction kDirection>
void shorten(FailureTable& table, Bytes bytes) {
  const DirectedNeedle<kFolds, kDirection> needle(bytes);
  for (std::size_t length = 1; length < table.size(); ++length) {
    const std::uint32_t border = table[length - 1];
    if (border > 0 && needle[border] == needle[length]) table[length - 1] = table[border - 1];
  }
}

template <bool kFolds>
std::optional<std::int64_t> firstMatch(Bytes bytes, const FailureTable& table, Bytes haystack,
                                       std::int64_t from, std::int64_t through,
                                       PositionPredicate accepting) {
  const DirectedNeedle<kFolds, Direction::forward> needle(bytes);
  const std::int64_t length = std::ssize(bytes);
  std::size_t matched = 0;
  for (std::int64_t at = from; at < through + length; ++at) {
    const std::uint8_t byte = comparable<kFolds>(haystack[static_cast<std::size_t>(at)]);
    matched = advanced(needle, table.data(), matched, byte);
    if (matched < bytes.size()) continue;
    if (accepting(at - length + 1)) return at - length + 1;
    matched = table[matched - 1];
  }
  return std::nullopt;
}

template <bool kFolds>
std::optional<std::int64_t> lastMatch(Bytes bytes, const FailureTable& table, Bytes haystack,
                                      std::int64_t from, std::int64_t through) {
  const DirectedNeedle<kFolds, Direction::backward> needle(bytes);
  std::size_t matched = 0;
  for (std::int64_t at = through + std::ssize(bytes) - 1; at >= from; --at) {
    const std::uint8_t byte = comparable<kFolds>(haystack[static_cast<std::size_t>(at)]);
    matched = advanced(needle, table.data(), matched, byte);
    if (matched == bytes.size()) return at;
  }
  return std::nullopt;
}

}  // namespace

FailureTable failureTable(Bytes needle, bool folds, Direction direction) {
  if (direction == Direction::forward) {
    return folds ? makeTable<true, Direction::forward>(needle)
                 : makeTable<false, Direction::forward>(needle);
  }
  return folds ? makeTable<true, Direction::backward>(needle)
               : makeTable<false, Direction::backward>(needle);
}

void addShortcuts(FailureTable& table, Bytes needle, bool folds, Direction direction) {
  if (direction == Direction::forward) {
    return folds ? shorten<true, Direction::forward>(table, needle)
                 : shorten<false, Direction::forward>(table, needle);
  }
  return folds ? shorten<true, Direction::backward>(table, needle)
               : shorten<false, Direction::backward>(table, needle);
}

std::optional<std::int64_t> first(Bytes needle, const FailureTable& forward, bool folds,
                                  Bytes haystack, std::int64_t from, std::int64_t through,
                                  PositionPredicate accepting) {
  return folds ? firstMatch<true>(needle, forward, haystack, from, through, accepting)
               : firstMatch<false>(needle, forward, haystack, from, through, accepting);
}

std::optional<std::int64_t> last(Bytes needle, const FailureTable& backward, bool folds,
                                 Bytes haystack, std::int64_t from, std::int64_t through) {
  return folds ? lastMatch<true>(needle, backward, haystack, from, through)
               : lastMatch<false>(needle, backward, haystack, from, through);
}

}  // namespace quillmor::LinearSearch
