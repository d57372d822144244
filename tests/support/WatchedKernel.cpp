#include "support/WatchedKernel.h"

#include "base/Check.h"

namespace quillmor::test {

namespace {

/// The one that is alive: a kernel is a pair of plain functions.
WatchedKernel* current = nullptr;

}  // namespace

std::int64_t WatchedKernel::Call::positions() const {
  if (result.outcome == ScanResult::Outcome::absent) return through - from + 1;
  return isForward ? result.position - from : through - result.position;
}

WatchedKernel::WatchedKernel(ScanPath path)
    : kernel_(scanKernel(path)), recording_{.forward = scan<true>, .backward = scan<false>} {
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

template <bool kIsForward>
ScanResult WatchedKernel::scan(const ScanTask& task, std::int64_t from, std::int64_t through,
                               ScanState& state) {
  const ScanKernel& kernel = current->kernel_;
  const ScanResult result =
      (kIsForward ? kernel.forward : kernel.backward)(task, from, through, state);
  current->calls_.push_back({from, through, result, kIsForward});
  return result;
}

}  // namespace quillmor::test
