#pragma once

#include <cstdint>
#include <vector>

#include "search/scan/SearchLimits.h"

namespace quillmor::test {

/// As long as it lives the searches of this thread scan with a kernel whose calls it records. One
/// at a time.
class WatchedKernel {
 public:
  struct Call {
    std::int64_t from = 0;
    std::int64_t through = 0;
    ScanResult result;
    bool isForward = true;
    /// The bytes compared in vain.
    std::int64_t comparisons = 0;

    /// The positions that the scan has passed, a match not among them.
    std::int64_t positions() const;
  };

  /// Scans with the kernel of `limits`, and gives the searches these limits.
  explicit WatchedKernel(const SearchLimits& limits = {});
  ~WatchedKernel();
  WatchedKernel(const WatchedKernel&) = delete;
  WatchedKernel& operator=(const WatchedKernel&) = delete;

  const std::vector<Call>& calls() const { return calls_; }
  std::int64_t callCount() const { return std::ssize(calls_); }

  /// The positions that all scans have passed. The linear search has passed the others.
  std::int64_t positions() const;

  /// The bytes that all scans have compared in vain.
  std::int64_t comparisons() const;

  void forget() { calls_.clear(); }

 private:
  template <bool kIsForward>
  static ScanResult scan(const ScanTask& task, std::int64_t from, std::int64_t through,
                         ScanState& state);
  SearchLimits watched(SearchLimits limits) const;

  const ScanKernel& kernel_;
  ScanKernel recording_;
  ScopedSearchLimits scope_;
  std::vector<Call> calls_;
};

}  // namespace quillmor::test
