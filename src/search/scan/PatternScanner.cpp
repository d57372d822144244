#include "search/scan/PatternScanner.h"

#include <algorithm>
#include <array>

#include "base/SaturatingMath.h"
#include "search/scan/ProbeChoice.h"
#include "search/scan/SearchLimits.h"

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

/// Choosing probes looks at each byte of the pattern, so it takes more of them to be worth it.
constexpr std::int64_t kPatienceForEachByte = 16;

/// The part of `from`...`through` that is scanned without a question whether to stop.
struct Part {
  std::int64_t from;
  std::int64_t through;
};

template <bool kIsForward>
Part nextPart(std::int64_t from, std::int64_t through) {
  const std::int64_t more = std::min(through - from, StopCheck::kInterval - 1);
  return kIsForward ? Part{from, from + more} : Part{through - more, through};
}

}  // namespace

PatternScanner::PatternScanner(const PatternView& pattern)
    : pattern_(pattern),
      kernel_(SearchLimits::current().kernel),
      workBudget_(SearchLimits::current().workBudget),
      filter_(usualProbes(pattern)) {
  enterStage(0);
}

/// Makes room for culprits, which ordinary data has no need of.
void PatternScanner::prepareForCulprits() {
  if (fits_ || pattern_.kind != PatternKind::masked) return;
  fits_ = std::make_unique<const FitTable>(pattern_);
  // Looking at them takes a part of the time that comparing all bytes would take.
  constexpr std::int64_t kBytesForEach = 4;
  constexpr std::int64_t kMost = 1024;
  std::int64_t bytes = 0;
  for (std::int64_t at = 0; at < pattern_.length; ++at) bytes += isConcrete(pattern_, at) ? 1 : 0;
  culprits_.resize(
      static_cast<std::size_t>(std::clamp<std::int64_t>(bytes / kBytesForEach, 8, kMost)));
  state_.culprits = culprits_.data();
  state_.culpritLimit = static_cast<int>(culprits_.size());
  state_.fits = fits_->rows();
}

void PatternScanner::enterStage(int stage) {
  stage_ = workBudget_ == 0 ? kLastStage : stage;
  if (stage_ > 0) prepareForCulprits();
  std::int64_t comparisons = workBudget_;
  state_.credit = kLastCredit;
  if (stage_ < kLastStage) {
    const Patience& patience = kPatience[static_cast<std::size_t>(stage_)];
    comparisons = std::min(comparisons,
                           std::max(patience.comparisons, kPatienceForEachByte * pattern_.length));
    state_.credit = patience.credit;
  }
  greatestAllowance_ = comparisons * 16;
  state_.allowance = workBudget_ == 0 ? -1 : greatestAllowance_;
}

void PatternScanner::reject() {
  if (!filter_.provesMatch) state_.allowance -= 16 * pattern_.length;
}

ScanTask PatternScanner::taskFor(std::span<const std::uint8_t> haystack, MatchList* list) const {
  return {.pattern = pattern_,
          .filter = filter_,
          .haystack = haystack.data(),
          .last = std::ssize(haystack) - pattern_.length,
          .list = list};
}

template <bool kIsForward>
ScanResult PatternScanner::scan(std::span<const std::uint8_t> haystack, std::int64_t from,
                                std::int64_t through, StopCheck check, MatchList* list) {
  const ScanTask task = taskFor(haystack, list);
  while (from <= through) {
    check();
    const Part part = nextPart<kIsForward>(from, through);
    ScanResult result = {Outcome::exhausted, kIsForward ? from : through};
    if (state_.allowance >= 0) {
      result = (kIsForward ? kernel_->forward : kernel_->backward)(task, part.from, part.through,
                                                                   state_);
      state_.allowance = std::min(state_.allowance, greatestAllowance_);
    }
    if (result.outcome == Outcome::found) return result;
    if (result.outcome == Outcome::absent) {
      result.position = kIsForward ? part.through + 1 : part.from - 1;
      if (list != nullptr) result.position = list->freeFrom(result.position, pattern_.length);
    } else if (stage_ == kLastStage) {
      return result;
    } else {
      enterStage(stage_ + 1);
      filter_ = sampledProbes(pattern_, haystack, result.position, state_.failedOffset);
    }
    (kIsForward ? from : through) = result.position;
  }
  return {};
}

ScanResult PatternScanner::first(std::span<const std::uint8_t> haystack, std::int64_t from,
                                 std::int64_t through, StopCheck check) {
  return scan<true>(haystack, from, through, check);
}

ScanResult PatternScanner::collect(std::span<const std::uint8_t> haystack, std::int64_t from,
                                   std::int64_t through, MatchList& list, StopCheck check) {
  return scan<true>(haystack, from, through, check, &list);
}

ScanResult PatternScanner::last(std::span<const std::uint8_t> haystack, std::int64_t from,
                                std::int64_t through, StopCheck check) {
  return scan<false>(haystack, from, through, check);
}

std::optional<std::int64_t> PatternScanner::firstAtAnyCost(std::span<const std::uint8_t> haystack,
                                                           std::int64_t from,
                                                           std::int64_t through) {
  const std::int64_t allowance = state_.allowance;
  state_.allowance = kMaxInt64 / 2;
  const ScanResult result = kernel_->forward(taskFor(haystack, nullptr), from, through, state_);
  state_.allowance = allowance;
  if (result.outcome == Outcome::found) return result.position;
  return std::nullopt;
}

}  // namespace quillmor
