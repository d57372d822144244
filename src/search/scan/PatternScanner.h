#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "kernels/ScanKernel.h"
#include "search/scan/FitTable.h"
#include "search/scan/StopCheck.h"

namespace quillmor {

/// Scans haystacks for one pattern: knows which probes serve best and keeps account of the bytes
/// compared in vain. Where probes let too many false candidates through, others are chosen by a
/// sample of the haystack. Where that does not help, the scan gives up (`exhausted`).
///
/// `check` runs at every `StopCheck::kInterval` positions. What it throws is passed on, and the
/// scanner may be used as if the call had not been made. For one thread at a time.
class PatternScanner {
 public:
  /// The bytes that the pattern points to outlive the scanner. An empty pattern is never scanned
  /// for; another one asks for one byte at least.
  explicit PatternScanner(const PatternView& pattern);

  /// The first match in `from`...`through`. The range may be empty, else
  /// 0 <= `from` <= `through` <= haystack size - pattern length.
  ScanResult first(std::span<const std::uint8_t> haystack, std::int64_t from, std::int64_t through,
                   StopCheck check = {});

  /// Adds the matches in `from`...`through` that do not overlap to `list`, which is not full. Found
  /// means that it is full now. If exhausted, it may be filled on from there.
  ScanResult collect(std::span<const std::uint8_t> haystack, std::int64_t from,
                     std::int64_t through, MatchList& list, StopCheck check = {});

  /// The last match in `from`...`through`. If exhausted, the scan goes on downward from there.
  ScanResult last(std::span<const std::uint8_t> haystack, std::int64_t from, std::int64_t through,
                  StopCheck check = {});

  /// The first match in a range that is not empty, found without regard to the budget.
  std::optional<std::int64_t> firstAtAnyCost(std::span<const std::uint8_t> haystack,
                                             std::int64_t from, std::int64_t through);

  /// Counts a match that its finder has no use for as bytes compared in vain.
  void reject();

  /// Renews the budget, and the time to choose other probes, after other means have passed the
  /// place where the scan gave up.
  void refill() { enterStage(0); }

  /// Gives the scanner its last budget anew, where there are no better means.
  void persist() { state_.allowance = greatestAllowance_; }

 private:
  template <bool kIsForward>
  ScanResult scan(std::span<const std::uint8_t> haystack, std::int64_t from, std::int64_t through,
                  StopCheck check, MatchList* list = nullptr);
  ScanTask taskFor(std::span<const std::uint8_t> haystack, MatchList* list) const;
  void prepareForCulprits();
  void enterStage(int stage);

  PatternView pattern_;
  const ScanKernel* kernel_;
  std::int64_t workBudget_;
  ScanFilter filter_;
  std::unique_ptr<const FitTable> fits_;
  std::vector<Culprit> culprits_;  // what `state_` has room in
  ScanState state_;
  int stage_ = 0;
  std::int64_t greatestAllowance_ = 0;
};

}  // namespace quillmor
