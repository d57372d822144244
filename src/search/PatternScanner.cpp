#include "search/PatternScanner.h"

#include <algorithm>
#include <array>

#include "search/ProbeChoice.h"

namespace quillmor {

namespace {

using Outcome = ScanResult::Outcome;

/// What a scan may do in vain before its probes are chosen again, in comparisons, and what each
/// position adds to that, in sixteenths.
struct Patience {
  std::int64_t comparisons;
  std::int64_t credit;
};

/// With the usual probes and with those chosen twice by a sample. One false candidate for every 256
/// positions costs as much as scanning these, so more of them are worth other probes.
constexpr std::array<Patience, 2> kPatience = {{{4096, 1}, {65536, 1}}};
constexpr int kLastStage = static_cast<int>(kPatience.size());
/// One false candidate for every four positions is as slow as the linear search.
constexpr std::int64_t kLastCredit = 64;

}  // namespace

void PatternScanner::enterStage(int stage) {
  stage_ = limits_.workBudget == 0 ? kLastStage : stage;
  std::int64_t comparisons = limits_.workBudget;
  state_.credit = kLastCredit;
  if (stage_ < kLastStage) {
    const Patience& patience = kPatience[static_cast<std::size_t>(stage_)];
    comparisons = std::min(comparisons, patience.comparisons);
    state_.credit = patience.credit;
  }
  greatestAllowance_ = comparisons * 16;
  state_.allowance = limits_.workBudget == 0 ? -1 : greatestAllowance_;
}

void PatternScanner::refill() {
  enterStage(0);
}

void PatternScanner::reject(const PatternView& pattern) {
  if (filter_.provesMatch) return;
  state_.allowance -= 16 * pattern.length;
  state_.comparisons += pattern.length;
}

template <bool kIsForward>
ScanResult PatternScanner::scan(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                                std::int64_t from, std::int64_t through, MatchList* list) {
  if (filter_.count == 0) filter_ = usualProbes(pattern);
  const ScanTask task = {.pattern = pattern,
                         .filter = filter_,
                         .haystack = haystack.data(),
                         .last = std::ssize(haystack) - pattern.length,
                         .list = list};
  const ScanKernel& kernel = scanKernel(limits_.path);
  while (from <= through) {
    ScanResult result = {Outcome::exhausted, kIsForward ? from : through};
    if (state_.allowance >= 0) {
      result = (kIsForward ? kernel.forward : kernel.backward)(task, from, through, state_);
      state_.allowance = std::min(state_.allowance, greatestAllowance_);
    }
    if (result.outcome != Outcome::exhausted || stage_ == kLastStage) return result;
    enterStage(stage_ + 1);
    filter_ = sampledProbes(pattern, haystack, result.position, state_.failedOffset);
    (kIsForward ? from : through) = result.position;
  }
  return {};
}

ScanResult PatternScanner::first(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                                 std::int64_t from, std::int64_t through) {
  return scan<true>(pattern, haystack, from, through);
}

ScanResult PatternScanner::collect(const PatternView& pattern,
                                   std::span<const std::uint8_t> haystack, std::int64_t from,
                                   std::int64_t through, MatchList& list) {
  return scan<true>(pattern, haystack, from, through, &list);
}

ScanResult PatternScanner::last(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                                std::int64_t from, std::int64_t through) {
  return scan<false>(pattern, haystack, from, through);
}

}  // namespace quillmor
