#pragma once

#include <cstdint>

#include "base/ByteUnits.h"
#include "kernels/ScanKernel.h"

namespace quillmor {

/// How searches work. Each search takes the limits of the thread that makes it.
struct SearchLimits {
  /// What scans; outlives the searches.
  const ScanKernel* kernel = &fastestScanKernel();
  /// Bytes that may be compared in vain, beyond four for each position passed, before the linear
  /// search takes over for a stretch of the haystack. Then the budget is given anew. With 0 there
  /// is no scan at all. At most 2^58.
  std::int64_t workBudget = 0x100000;
  /// The positions of such a stretch; four times the needle's length if that is more.
  std::int64_t linearStretch = 4 * kMiB;
  /// Longer needles are never found, unless they have one byte: the table of the linear search has
  /// entries of 32 bits.
  std::int64_t longestNeedle = 4'294'967'295;

  /// Those of this thread: the usual ones unless a `ScopedSearchLimits` is alive.
  static const SearchLimits& current();
};

/// Gives the searches that this thread makes other limits for as long as it lives.
class ScopedSearchLimits {
 public:
  explicit ScopedSearchLimits(const SearchLimits& limits);
  ~ScopedSearchLimits();
  ScopedSearchLimits(const ScopedSearchLimits&) = delete;
  ScopedSearchLimits& operator=(const ScopedSearchLimits&) = delete;

 private:
  SearchLimits limits_;
  const SearchLimits* previous_;
};

}  // namespace quillmor
