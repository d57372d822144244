#include "support/WatchedKernel.h"

#include "base/Check.h"

namespace quillmor::test {

namespace {

/// The one that is alive: a kernel is a pair of plain functions.
WatchedKernel* current = nullptr;

/// How far a scan has come, from its first position on.
std::int64_t distance(const WatchedKernel::Call& call) {
  if (call.result.outcome == ScanResult::Outcome::absent) return call.through - call.from;
  return call.isForward ? call.result.position - call.from : call.through - call.result.position;
}

}  // namespace

std::int64_t WatchedKernel::Call::positions() const {
  return distance(*this) + (result.outcome == ScanResult::Outcome::absent ? 1 : 0);
}

WatchedKernel::WatchedKernel(const SearchLimits& limits)
    : kernel_(*limits.kernel),
      recording_{.forward = scan<true>, .backward = scan<false>},
      scope_(watched(limits)) {
  checkPrecondition(current == nullptr, "one watched kernel at a time");
  current = this;
}

WatchedKernel::~WatchedKernel() {
  current = nullptr;
}

SearchLimits WatchedKernel::watched(SearchLimits limits) const {
  limits.kernel = &recording_;
  return limits;
}

std::int64_t WatchedKernel::positions() const {
  std::int64_t sum = 0;
  for (const Call& call : calls_) sum += call.positions();
  return sum;
}

std::int64_t WatchedKernel::comparisons() const {
  std::int64_t sum = 0;
  for (const Call& call : calls_) sum += call.comparisons;
  return sum;
}

template <bool kIsForward>
ScanResult WatchedKernel::scan(const ScanTask& task, std::int64_t from, std::int64_t through,
                               ScanState& state) {
  const ScanKernel& kernel = current->kernel_;
  const std::int64_t allowance = state.allowance;
  Call call = {.from = from, .through = through, .result = {}, .isForward = kIsForward};
  call.result = (kIsForward ? kernel.forward : kernel.backward)(task, from, through, state);
  // The allowance is in sixteenths; positions passed have added to it.
  call.comparisons = (allowance + state.credit * distance(call) - state.allowance) / 16;
  current->calls_.push_back(call);
  return call.result;
}

}  // namespace quillmor::test
