#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "kernels/ScanKernel.h"
#include "search/scan/FitTable.h"
#include "search/scan/SearchLimits.h"
#include "search/scan/StopCheck.h"

namespace quillmor {

/// The scanning of haystacks for one pattern: knows which probes serve best and keeps account of
/// the work done in vain. Where probes let too many false candidates through, others are chosen by
/// a sample of the haystack; where that does not help, the scan gives up (`exhausted`).
///
/// The pattern is passed with every call and must be the same each time. `check` is asked at every
/// `StopCheck::kInterval` positions, and what it throws is passed on; then the scanner may be used
/// as if the call had not been made. For one thread at a time.
class PatternScanner {
 public:
  explicit PatternScanner(const SearchLimits& limits = {}) : limits_(limits) {}

  /// The first match in `from`...`through`. The range may be empty, else
  /// 0 <= `from` <= `through` <= haystack size - pattern length.
  ScanResult first(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                   std::int64_t from, std::int64_t through, StopCheck check = {});

  /// Adds the matches in `from`...`through` to `list`, which is not full. Found means that it is
  /// full now; exhausted, that it may be filled on from there.
  ScanResult collect(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                     std::int64_t from, std::int64_t through, MatchList& list,
                     StopCheck check = {});

  /// The last match in `from`...`through`. Exhausted, it is to go on downward.
  ScanResult last(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                  std::int64_t from, std::int64_t through, StopCheck check = {});

  /// The first match in a range that is not empty, found without regard to the budget.
  std::optional<std::int64_t> firstAtAnyCost(const PatternView& pattern,
                                             std::span<const std::uint8_t> haystack,
                                             std::int64_t from, std::int64_t through);

  /// Accounts for a match of `pattern` that its finder had no use for, as comparisons in vain.
  void reject(const PatternView& pattern);

  /// Gives the scanner its budget anew, and the time to choose other probes, after other means have
  /// passed the place it gave up at.
  void refill(const PatternView& pattern) { enterStage(0, pattern); }

  /// Gives the scanner its last budget anew, where there are no better means.
  void persist() { state_.allowance = greatestAllowance_; }

  const SearchLimits& limits() const { return limits_; }

  /// All comparisons made in vain.
  std::int64_t comparisons() const { return state_.comparisons; }

 private:
  template <bool kIsForward>
  ScanResult scan(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                  std::int64_t from, std::int64_t through, StopCheck check,
                  MatchList* list = nullptr);
  const ScanKernel& kernel() const;
  void prepare(const PatternView& pattern);
  void prepareForCulprits(const PatternView& pattern);
  void enterStage(int stage, const PatternView& pattern);

  SearchLimits limits_;
  ScanFilter filter_;
  std::unique_ptr<const FitTable> fits_;
  std::vector<Culprit> culprits_;  // what `state_` has room in
  ScanState state_;
  int stage_ = 0;
  std::int64_t greatestAllowance_ = 0;
};

}  // namespace quillmor
