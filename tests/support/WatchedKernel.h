#pragma once

#include <cstdint>
#include <vector>

#include "search/scan/SearchLimits.h"

namespace quillmor::test {

/// The kernel of a scan path with a record of its calls. One at a time; for one thread.
class WatchedKernel {
 public:
  struct Call {
    std::int64_t from = 0;
    std::int64_t through = 0;
    ScanResult result;
    bool isForward = true;

    /// The positions that the scan has passed, a match not among them.
    std::int64_t positions() const;
  };

  explicit WatchedKernel(ScanPath path = fastestScanPath());
  ~WatchedKernel();
  WatchedKernel(const WatchedKernel&) = delete;
  WatchedKernel& operator=(const WatchedKernel&) = delete;

  /// `limits` with this kernel in the place of that of their path.
  SearchLimits watched(SearchLimits limits = {}) const;

  const std::vector<Call>& calls() const { return calls_; }
  std::int64_t callCount() const { return std::ssize(calls_); }

  /// The positions that all scans have passed.
  std::int64_t positions() const;

  void forget() { calls_.clear(); }

 private:
  template <bool kIsForward>
  static ScanResult scan(const ScanTask& task, std::int64_t from, std::int64_t through,
                         ScanState& state);

  const ScanKernel& kernel_;
  ScanKernel recording_;
  std::vector<Call> calls_;
};

}  // namespace quillmor::test
