#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "search/scan/PatternScanner.h"
#include "search/scan/StopCheck.h"

namespace quillmor {

/// Finds one needle, forward and backward, as often as asked. Scans as long as that goes well, and
/// uses the linear search where data is made to slow the scan down. The time is in proportion to
/// the bytes looked at, whatever they are.
///
/// A position is that of a match's first byte. The haystack is passed with every call, so that it
/// may be searched in pieces: only positions are limited, and a match may end after the last one.
/// Any part of a range may lie outside the haystack. An empty needle is never found, nor is one of
/// more than 4,294,967,295 bytes.
///
/// `check` runs at every mebibyte or so of work. What it throws is passed on, and the call may be
/// repeated. Each search may throw std::bad_alloc: the linear search needs four bytes for each byte
/// of the needle. For one thread at a time.
class Matcher {
 public:
  using Bytes = std::span<const std::uint8_t>;

  /// Says whether a position is accepted.
  using Predicate = std::function<bool(std::int64_t position)>;

  /// The needle is not copied and outlives the matcher. With `caseInsensitiveASCII` a letter A...Z
  /// equals its lower-case form, in needle and haystack.
  Matcher(Bytes needle, bool caseInsensitiveASCII);

  std::int64_t needleLength() const { return std::ssize(needle_); }

  /// The smallest match position in `from`...`through`.
  std::optional<std::int64_t> first(Bytes haystack, std::int64_t from, std::int64_t through,
                                    StopCheck check = {});

  /// The greatest match position in `from`...`through`.
  std::optional<std::int64_t> last(Bytes haystack, std::int64_t from, std::int64_t through,
                                   StopCheck check = {});

  /// Replaces the contents of `list` by the first matches in `from`...`through` that do not
  /// overlap. These are all of them unless the list is full. Much faster than one call for each
  /// match where matches are frequent.
  void collect(Bytes haystack, std::int64_t from, std::int64_t through, MatchList& list,
               StopCheck check = {});

  /// The smallest match position in `from`...`through` that `accepting` returns true for. Every
  /// match is offered, overlapping ones too, in increasing order until one is accepted.
  std::optional<std::int64_t> firstAccepted(Bytes haystack, std::int64_t from, std::int64_t through,
                                            const Predicate& accepting, StopCheck check = {});

 private:
  /// Four bytes for each byte of the needle (see LinearSearch.h); empty until it is needed.
  using FailureTable = std::vector<std::uint32_t>;

  std::int64_t lastPosition(Bytes haystack) const;
  std::optional<std::int64_t> firstInStretch(Bytes haystack, std::int64_t from,
                                             std::int64_t through, const Predicate& accepting,
                                             StopCheck check);
  std::optional<std::int64_t> lastInStretch(Bytes haystack, std::int64_t from, std::int64_t through,
                                            StopCheck check);

  Bytes needle_;
  bool folds_;
  bool canBeFound_;
  std::int64_t stretch_;  // positions that the linear search takes over at a time
  PatternScanner scanner_;
  FailureTable forward_;
  FailureTable backward_;
};

}  // namespace quillmor
