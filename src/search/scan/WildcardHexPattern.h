#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

#include "base/TaskProgress.h"

namespace quillmor {

/// A byte pattern with positions that match any byte, and the search for it. Immutable, safe from
/// any thread.
class WildcardHexPattern {
 public:
  /// One entry for each position; an absent value is a wildcard.
  using Bytes = std::vector<std::optional<std::uint8_t>>;

  /// The positions from `lowerBound` up to, and without, `upperBound`.
  struct Range {
    std::int64_t lowerBound = 0;
    std::int64_t upperBound = 0;

    std::int64_t count() const { return upperBound - lowerBound; }
    bool operator==(const Range&) const = default;
  };

  /// Search for `exactBytes`: where they are found, at offset a, the pattern may start at
  /// a - `patternOffset`.
  struct Anchored {
    std::vector<std::uint8_t> exactBytes;
    std::int64_t patternOffset = 0;
    /// A concrete run that the bytes found prove to be equal.
    std::optional<Range> skippedRange;

    bool operator==(const Anchored&) const = default;
  };

  /// A byte that the pattern asks for is nowhere in the document.
  struct Impossible {
    bool operator==(const Impossible&) const = default;
  };

  using AnchorPlan = std::variant<Anchored, Impossible>;

  /// Returns the pattern that `text` (UTF-8) denotes: hexadecimal bytes of two digits and `??` for
  /// any byte, side by side or separated by white space, `,` or `;`. Absent when there is anything
  /// else in it, or nothing. Does not limit the text's length.
  static std::optional<WildcardHexPattern> parse(std::string_view text);

  const Bytes& bytes() const { return bytes_; }
  std::int64_t length() const { return std::ssize(bytes_); }

  /// The maximal runs of positions that are no wildcards, in order.
  const std::vector<Range>& concreteRanges() const { return concreteRanges_; }

  /// The longest concrete run, the first one among equally long ones. Absent when the pattern is
  /// all wildcards.
  std::optional<Range> anchorRange() const { return anchorRange_; }

  /// The bytes of `anchorRange`; empty when that is absent.
  std::vector<std::uint8_t> anchorBytes() const;

  /// Returns the bytes to search for in `haystack`: the anchor. If the pattern has many runs and
  /// all of them are short: its byte that is the rarest in the haystack.
  AnchorPlan anchorPlan(std::span<const std::uint8_t> haystack, const TaskProgress& progress) const;

  /// Returns the first match that starts in `candidateRange`, which may extend beyond the haystack.
  /// Absent for a pattern of wildcards only. Advances `progress` by the positions passed, and asks
  /// it every few milliseconds whether to stop: then throws `Error::stopped()`.
  std::optional<std::int64_t> firstMatch(std::span<const std::uint8_t> haystack,
                                         Range candidateRange, TaskProgress& progress) const;

  /// Returns the first match at or after `from`, else the first one before. Matches never reach
  /// across the haystack's end. The total of `progress` becomes the number of positions; otherwise
  /// as `firstMatch`.
  std::optional<std::int64_t> firstMatchWrapped(std::span<const std::uint8_t> haystack,
                                                std::int64_t from, TaskProgress& progress) const;

 private:
  friend class WildcardSearch;

  explicit WildcardHexPattern(Bytes bytes);
  /// The byte asked for at a position that is no wildcard.
  std::uint8_t byteAt(std::int64_t position) const {
    return values_[static_cast<std::size_t>(position)];
  }
  /// True if the plan depends on the haystack.
  bool hasManyShortRuns() const;

  Bytes bytes_;
  std::vector<std::uint8_t> values_;  ///< 0 for a wildcard
  std::vector<std::uint8_t> masks_;   ///< 0 for a wildcard, else 0xFF
  std::vector<Range> concreteRanges_;
  std::optional<Range> anchorRange_;
};

}  // namespace quillmor
