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

/// Bytes as they are read in one direction and compared, from a first one on.
template <bool kFolds, Direction kDirection>
class Reading {
 public:
  explicit Reading(const std::uint8_t* first) : first_(first) {}

  /// All of `needle`.
  explicit Reading(Bytes needle)
      : first_(kDirection == Direction::forward ? needle.data()
                                                : needle.data() + needle.size() - 1) {}

  std::uint8_t operator[](std::int64_t index) const {
    const std::uint8_t byte = *(kDirection == Direction::forward ? first_ + index : first_ - index);
    return kFolds ? kFolded[byte] : byte;
  }

 private:
  const std::uint8_t* first_;
};

/// Calls `work(begin, end)` for one part of 0...`count` after the other until it returns true, and
/// runs `check` before each of them.
template <class Work>
void forEachPart(std::int64_t count, StopCheck check, const Work& work) {
  for (std::int64_t begin = 0; begin < count; begin += StopCheck::kInterval) {
    check();
    if (work(begin, std::min(begin + StopCheck::kInterval, count))) return;
  }
}

/// How many bytes of the needle match up to and including `byte`, when `matched` did before it.
template <class Needle>
std::int64_t advanced(const Needle& needle, const std::uint32_t* table, std::int64_t matched,
                      std::uint8_t byte) {
  while (matched > 0 && needle[matched] != byte) matched = table[matched - 1];
  return needle[matched] == byte ? matched + 1 : matched;
}

template <bool kFolds, Direction kDirection>
FailureTable makeTable(Bytes bytes, StopCheck check) {
  const Reading<kFolds, kDirection> needle(bytes);
  const std::int64_t length = std::ssize(bytes);
  FailureTable table;
  table.reserve(bytes.size());
  std::int64_t border = 0;  // the longest proper prefix of the bytes read that also ends them
  forEachPart(length, check, [&](std::int64_t begin, std::int64_t end) {
    for (std::int64_t i = begin; i < end; ++i) {
      if (i > 0) border = advanced(needle, table.data(), border, needle[i]);
      const bool failsAlike = border > 0 && i + 1 < length && needle[border] == needle[i + 1];
      table.push_back(failsAlike ? table[static_cast<std::size_t>(border - 1)]
                                 : static_cast<std::uint32_t>(border));
    }
    return false;
  });
  return table;
}

/// Reads `count` bytes of the haystack from `start` on. Returns the index of the byte that
/// completes the first match that `accepting(index)` returns true for.
template <bool kFolds, Direction kDirection, class Accepting>
std::optional<std::int64_t> completion(Bytes bytes, const FailureTable& table,
                                       const std::uint8_t* start, std::int64_t count,
                                       const Accepting& accepting, StopCheck check) {
  const Reading<kFolds, kDirection> needle(bytes);
  const Reading<kFolds, kDirection> haystack(start);
  const std::int64_t length = std::ssize(bytes);
  std::int64_t matchedBefore = 0;
  std::optional<std::int64_t> found;
  forEachPart(count, check, [&](std::int64_t begin, std::int64_t end) {
    std::int64_t matched = matchedBefore;
    for (std::int64_t i = begin; i < end; ++i) {
      matched = advanced(needle, table.data(), matched, haystack[i]);
      if (matched < length) continue;
      if (accepting(i)) {
        found = i;
        return true;
      }
      matched = table.back();
    }
    matchedBefore = matched;
    return false;
  });
  return found;
}

template <bool kFolds>
std::optional<std::int64_t> firstMatch(Bytes needle, const FailureTable& table, Bytes haystack,
                                       std::int64_t from, std::int64_t through,
                                       const std::function<bool(std::int64_t)>& accepting,
                                       StopCheck check) {
  const std::int64_t toPosition = from - std::ssize(needle) + 1;
  const auto found = completion<kFolds, Direction::forward>(
      needle, table, haystack.data() + from, through + std::ssize(needle) - from,
      [&](std::int64_t i) { return accepting(toPosition + i); }, check);
  if (!found) return std::nullopt;
  return toPosition + *found;
}

template <bool kFolds>
std::optional<std::int64_t> lastMatch(Bytes needle, const FailureTable& table, Bytes haystack,
                                      std::int64_t from, std::int64_t through, StopCheck check) {
  const std::int64_t last = through + std::ssize(needle) - 1;
  const auto found = completion<kFolds, Direction::backward>(
      needle, table, haystack.data() + last, last - from + 1, [](std::int64_t) { return true; },
      check);
  if (!found) return std::nullopt;
  return last - *found;
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

std::optional<std::int64_t> first(Bytes needle, const FailureTable& forward, bool folds,
                                  Bytes haystack, std::int64_t from, std::int64_t through,
                                  const std::function<bool(std::int64_t)>& accepting,
                                  StopCheck check) {
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
