#include "search/scan/PatternScanner.h"

#include <algorithm>
#include <array>

#include "base/SaturatingMath.h"
#include "search/scan/ProbeChoice.h"

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

const ScanKernel& PatternScanner::kernel() const {
  return limits_.kernel != nullptr ? *limits_.kernel : scanKernel(limits_.path);
}

/// What is found out about a pattern once.
void PatternScanner::prepare(const PatternView& pattern) {
  if (filter_.count > 0) return;
  filter_ = usualProbes(pattern);
  enterStage(0, pattern);
}

/// Makes room for culprits, which ordinary data has no need of.
void PatternScanner::prepareForCulprits(const PatternView& pattern) {
  if (fits_ || pattern.kind != PatternKind::masked) return;
  fits_ = std::make_unique<const FitTable>(pattern);
  // Looking at them takes a part of the time that comparing all bytes would take.
  constexpr std::int64_t kBytesForEach = 4;
  constexpr std::int64_t kMost = 1024;
  std::int64_t bytes = 0;
  for (std::int64_t at = 0; at < pattern.length; ++at) bytes += isConcrete(pattern, at) ? 1 : 0;
  culprits_.resize(
      static_cast<std::size_t>(std::clamp<std::int64_t>(bytes / kBytesForEach, 8, kMost)));
  state_.culprits = culprits_.data();
  state_.culpritLimit = static_cast<int>(culprits_.size());
  state_.fits = fits_->rows();
}

void PatternScanner::enterStage(int stage, const PatternView& pattern) {
  stage_ = limits_.workBudget == 0 ? kLastStage : stage;
  if (stage_ > 0) prepareForCulprits(pattern);
  std::int64_t comparisons = limits_.workBudget;
  state_.credit = kLastCredit;
  if (stage_ < kLastStage) {
    const Patience& patience = kPatience[static_cast<std::size_t>(stage_)];
    comparisons = std::min(comparisons,
                           std::max(patience.comparisons, kPatienceForEachByte * pattern.length));
    state_.credit = patience.credit;
  }
  greatestAllowance_ = comparisons * 16;
  state_.allowance = limits_.workBudget == 0 ? -1 : greatestAllowance_;
}

void PatternScanner::reject(const PatternView& pattern) {
  if (filter_.provesMatch) return;
  state_.allowance -= 16 * pattern.length;
  state_.comparisons += pattern.length;
}

template <bool kIsForward>
ScanResult PatternScanner::scan(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                                std::int64_t from, std::int64_t through, StopCheck check,
                                MatchList* list) {
  prepare(pattern);
  const ScanTask task = {.pattern = pattern,
                         .filter = filter_,
                         .haystack = haystack.data(),
                         .last = std::ssize(haystack) - pattern.length,
                         .list = list};
  while (from <= through) {
    check();
    const Part part = nextPart<kIsForward>(from, through);
    ScanResult result = {Outcome::exhausted, kIsForward ? from : through};
    if (state_.allowance >= 0) {
      result = (kIsForward ? kernel().forward : kernel().backward)(task, part.from, part.through,
                                                                   state_);
      state_.allowance = std::min(state_.allowance, greatestAllowance_);
    }
    if (result.outcome == Outcome::found) return result;
    if (result.outcome == Outcome::absent) {
      result.position = kIsForward ? part.through + 1 : part.from - 1;
      if (list != nullptr) result.position = list->freeFrom(result.position, pattern.length);
    } else if (stage_ == kLastStage) {
      return result;
    } else {
      enterStage(stage_ + 1, pattern);
      filter_ = sampledProbes(pattern, haystack, result.position, state_.failedOffset);
    }
    (kIsForward ? from : through) = result.position;
  }
  return {};
}

ScanResult PatternScanner::first(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                                 std::int64_t from, std::int64_t through, StopCheck check) {
  return scan<true>(pattern, haystack, from, through, check);
}

ScanResult PatternScanner::collect(const PatternView& pattern,
                                   std::span<const std::uint8_t> haystack, std::int64_t from,
                                   std::int64_t through, MatchList& list, StopCheck check) {
  return scan<true>(pattern, haystack, from, through, check, &list);
}

ScanResult PatternScanner::last(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                                std::int64_t from, std::int64_t through, StopCheck check) {
  return scan<false>(pattern, haystack, from, through, check);
}

std::optional<std::int64_t> PatternScanner::firstAtAnyCost(const PatternView& pattern,
                                                           std::span<const std::uint8_t> haystack,
                                                           std::int64_t from,
                                                           std::int64_t through) {
  prepare(pattern);
  const ScanTask task = {.pattern = pattern,
                         .filter = filter_,
                         .haystack = haystack.data(),
                         .last = std::ssize(haystack) - pattern.length};
  const std::int64_t allowance = state_.allowance;
  state_.allowance = kMaxInt64 / 2;
  const ScanResult result = kernel().forward(task, from, through, state_);
  state_.allowance = allowance;
  if (result.outcome == Outcome::found) return result.position;
  return std::nullopt;
}

}  // namespace quillmor
