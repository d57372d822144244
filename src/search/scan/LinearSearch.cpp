#include "search/scan/LinearSearch.h"

#include <algorithm>
#include <array>

namespace quillmor::LinearSearch {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// A table, since each step waits for the one before: a look-up takes less time than a comparison
/// and a choice.
constexpr std::array<std::uint8_t, 256> kFolded = [] {
  std::array<std::uint8_t, 256> folded{};
  for (std::size_t byte = 0; byte < folded.size(); ++byte) {
    folded[byte] = static_cast<std::uint8_t>(byte >= 'A' && byte <= 'Z' ? byte | 0x20 : byte);
  }
  return folded;
}();

template <bool kFolds>
std::uint8_t comparable(std::uint8_t byte) {
  return kFolds ? kFolded[byte] : byte;
}

/// Calls `work(begin, end)` for one part of 0...`count` after the other until it returns true, and
/// asks `check` before each of them.
template <class Work>
void forEachPart(std::int64_t count, StopCheck check, const Work& work) {
  for (std::int64_t begin = 0; begin < count; begin += StopCheck::kInterval) {
    check();
    if (work(begin, std::min(begin + StopCheck::kInterval, count))) return;
  }
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
FailureTable makeTable(Bytes bytes, StopCheck check) {
  const DirectedNeedle<kFolds, kDirection> needle(bytes);
  FailureTable table;
  table.reserve(bytes.size());
  table.push_back(0);
  forEachPart(std::ssize(bytes), check, [&](std::int64_t, std::int64_t end) {
    std::size_t matched = table.back();
    for (std::size_t i = table.size(); i < static_cast<std::size_t>(end); ++i) {
      matched = advanced(needle, table.data(), matched, needle[i]);
      table.push_back(static_cast<std::uint32_t>(matched));
    }
    return false;
  });
  return table;
}

/// After `length` bytes the needle goes on as it does after `border` bytes, so a byte that differed
/// in the one place differs in the other. Entries of shorter lengths are shortcuts already.
template <bool kFolds, Direction kDirection>
void shorten(FailureTable& table, Bytes bytes, StopCheck check) {
  const DirectedNeedle<kFolds, kDirection> needle(bytes);
  forEachPart(std::ssize(table) - 1, check, [&](std::int64_t begin, std::int64_t end) {
    for (auto i = static_cast<std::size_t>(begin); i < static_cast<std::size_t>(end); ++i) {
      const std::uint32_t border = table[i];
      if (border > 0 && needle[border] == needle[i + 1]) table[i] = table[border - 1];
    }
    return false;
  });
}

template <bool kFolds>
std::optional<std::int64_t> firstMatch(Bytes bytes, const FailureTable& table, Bytes haystack,
                                       std::int64_t from, std::int64_t through,
                                       PositionPredicate accepting, StopCheck check) {
  const DirectedNeedle<kFolds, Direction::forward> needle(bytes);
  const std::int64_t length = std::ssize(bytes);
  const std::uint8_t* const start = haystack.data() + from;
  std::size_t matchedBefore = 0;
  std::optional<std::int64_t> found;
  forEachPart(through + length - from, check, [&](std::int64_t begin, std::int64_t end) {
    std::size_t matched = matchedBefore;
    for (std::int64_t i = begin; i < end; ++i) {
      matched = advanced(needle, table.data(), matched, comparable<kFolds>(start[i]));
      if (matched < bytes.size()) continue;
      const std::int64_t position = from + i - length + 1;
      if (accepting(position)) {
        found = position;
        return true;
      }
      matched = table[matched - 1];
    }
    matchedBefore = matched;
    return false;
  });
  return found;
}

template <bool kFolds>
std::optional<std::int64_t> lastMatch(Bytes bytes, const FailureTable& table, Bytes haystack,
                                      std::int64_t from, std::int64_t through, StopCheck check) {
  const DirectedNeedle<kFolds, Direction::backward> needle(bytes);
  const std::int64_t last = through + std::ssize(bytes) - 1;
  const std::uint8_t* const start = haystack.data() + last;
  std::size_t matchedBefore = 0;
  std::optional<std::int64_t> found;
  forEachPart(last - from + 1, check, [&](std::int64_t begin, std::int64_t end) {
    std::size_t matched = matchedBefore;
    for (std::int64_t i = begin; i < end; ++i) {
      matched = advanced(needle, table.data(), matched, comparable<kFolds>(*(start - i)));
      if (matched < bytes.size()) continue;
      found = last - i;
      return true;
    }
    matchedBefore = matched;
    return false;
  });
  return found;
}

}  // namespace

FailureTable failureTable(Bytes needle, bool folds, Direction direction, StopCheck check) {
  if (direction == Direction::forward) {
    return folds ? makeTable<true, Direction::forward>(needle, check)
                 : makeTable<false, Direction::forward>(needle, check);
  }
  return folds ? makeTable<true, Direction::backward>(needle, check)
               : makeTable<false, Direction::backward>(needle, check);
}

void addShortcuts(FailureTable& table, Bytes needle, bool folds, Direction direction,
                  StopCheck check) {
  if (direction == Direction::forward) {
    return folds ? shorten<true, Direction::forward>(table, needle, check)
                 : shorten<false, Direction::forward>(table, needle, check);
  }
  return folds ? shorten<true, Direction::backward>(table, needle, check)
               : shorten<false, Direction::backward>(table, needle, check);
}

std::optional<std::int64_t> first(Bytes needle, const FailureTable& forward, bool folds,
                                  Bytes haystack, std::int64_t from, std::int64_t through,
                                  PositionPredicate accepting, StopCheck check) {
  return folds ? firstMatch<true>(needle, forward, haystack, from, through, accepting, check)
               : firstMatch<false>(needle, forward, haystack, from, through, accepting, check);
}

std::optional<std::int64_t> last(Bytes needle, const FailureTable& backward, bool folds,
                                 Bytes haystack, std::int64_t from, std::int64_t through,
                                 StopCheck check) {
  return folds ? lastMatch<true>(needle, backward, haystack, from, through, check)
               : lastMatch<false>(needle, backward, haystack, from, through, check);
}

}  // namespace quillmor::LinearSearch
