#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "search/scan/NeedleSearch.h"

namespace quillmor {

/// A byte sequence prepared to be found many times. Whatever the data, finding takes time in
/// proportion to the bytes looked at. Copies the needle, can be moved but not copied itself;
/// methods are for one thread at a time.
///
/// All positions are of a match's first byte. `haystack` is passed with every call, so that the
/// bytes may be searched in pieces: only the positions are limited, a match may reach beyond them.
/// `check` is asked at every mebibyte or so of work; what it throws is passed on, and the call may
/// be repeated.
/// Each match found is compared in full, so a walk over matches that overlap costs a needle's
/// length for each of them.
class ByteMatcher {
 public:
  /// With `caseInsensitiveASCII` a letter A...Z equals its lower-case form, in needle and haystack.
  /// A needle longer than `limits.longestNeedle` is never found, unless it is a single byte.
  ByteMatcher(std::span<const std::uint8_t> needle, bool caseInsensitiveASCII,
              const SearchLimits& limits = {})
      : needle_(needle.begin(), needle.end()), search_(caseInsensitiveASCII, limits) {}

  std::int64_t needleLength() const { return std::ssize(needle_); }

  /// The smallest match position in `from`...`through`, of which any part may lie outside of the
  /// haystack; absent when there is none or the needle is empty.
  std::optional<std::int64_t> first(std::span<const std::uint8_t> haystack, std::int64_t from,
                                    std::int64_t through, StopCheck check = {}) {
    return search_.first(needle_, haystack, from, through, check);
  }

  /// Puts into `list`, in the place of what it holds, the first match positions in
  /// `from`...`through`: all of them when it is not full afterwards. Much faster than one by one
  /// where matches are frequent.
  void collect(std::span<const std::uint8_t> haystack, std::int64_t from, std::int64_t through,
               MatchList& list, StopCheck check = {}) {
    search_.collect(needle_, haystack, from, through, list, check);
  }

  /// The greatest match position in `from`...`through`.
  std::optional<std::int64_t> last(std::span<const std::uint8_t> haystack, std::int64_t from,
                                   std::int64_t through, StopCheck check = {}) {
    return search_.last(needle_, haystack, from, through, check);
  }

  /// The work done so far: bytes compared in vain, and bytes read by the linear search.
  std::int64_t comparisons() const { return search_.comparisons(); }
  std::int64_t linearBytes() const { return search_.linearBytes(); }

 private:
  std::vector<std::uint8_t> needle_;
  NeedleSearch search_;
};

}  // namespace quillmor
