#pragma once

#include <cstdint>

#include "kernels/ScanKernel.h"

namespace quillmor {

/// How a search works. Only tests and benchmarks ask for other limits than these.
struct SearchLimits {
  ScanPath path = fastestScanPath();
  /// Comparisons made in vain, beyond four for each position passed, before a search turns to the
  /// one that is linear whatever the data. That one takes over for a stretch of the haystack, then
  /// the budget is given anew. With 0 there is no other search than the linear one. At most 2^58.
  std::int64_t workBudget = 0x100000;
  /// How many positions the linear search takes over before scanning is tried again, because the
  /// data may be of another kind by then; four times the needle's length if that is more.
  std::int64_t linearStretch = std::int64_t{4} * 1024 * 1024;
  /// Needles of two and more bytes that are longer than this are never found: the entries of the
  /// table that the linear search needs have 32 bits.
  std::int64_t longestNeedle = 4'294'967'295;
  /// Scans in the place of the kernel of `path`, which need not be available then; outlives the
  /// search. A test sees here what is scanned.
  const ScanKernel* kernel = nullptr;
};

}  // namespace quillmor
