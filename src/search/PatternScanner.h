#pragma once

#include <cstdint>
#include <span>

#include "search/ScanKernel.h"
#include "search/SearchLimits.h"

namespace quillmor {

/// The scanning of haystacks for one pattern: knows which probes serve best and keeps account of
/// the work done in vain. Where probes let too many false candidates through, others are chosen by
/// a sample of the haystack; where that does not help, the scan gives up (`exhausted`).
///
/// The pattern is passed with every call and must be the same each time. For one thread at a time.
class PatternScanner {
 public:
  explicit PatternScanner(const SearchLimits& limits = {}) : limits_(limits) { refill(); }

  /// The first match in `from`...`through`. The range may be empty, else
  /// 0 <= `from` <= `through` <= haystack size - pattern length.
  ScanResult first(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                   std::int64_t from, std::int64_t through);

  /// Adds the matches in `from`...`through` that do not overlap to `list`, which is not full. Found
  /// means that it is full now; exhausted, that it may be filled on from there.
  ScanResult collect(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                     std::int64_t from, std::int64_t through, MatchList& list);

  /// The last match in `from`...`through`. Exhausted, it is to go on downward.
  ScanResult last(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                  std::int64_t from, std::int64_t through);

  /// Accounts for a match of `pattern` that its finder had no use for, as comparisons in vain.
  void reject(const PatternView& pattern);

  /// Gives the scanner its budget anew, after other means have passed the place it gave up at.
  void refill();

  const SearchLimits& limits() const { return limits_; }

  /// All comparisons made in vain.
  std::int64_t comparisons() const { return state_.comparisons; }

 private:
  template <bool kIsForward>
  ScanResult scan(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                  std::int64_t from, std::int64_t through, MatchList* list = nullptr);
  void enterStage(int stage);

  SearchLimits limits_;
  ScanFilter filter_;
  ScanState state_;
  int stage_ = 0;
  std::int64_t greatestAllowance_ = 0;
};

}  // namespace quillmor
