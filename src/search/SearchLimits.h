#pragma once

#include <cstdint>

#include "search/ScanKernel.h"

namespace quillmor {

/// How a search works. Only tests and benchmarks ask for other limits than these.
struct SearchLimits {
  ScanPath path = fastestScanPath();
  /// Comparisons made in vain before a search turns to the one that is linear whatever the data.
  /// With 0 it begins with that one.
  std::int64_t workBudget = 0x100000;
  /// Needles of two and more bytes that are longer than this are never found: the entries of the
  /// table that the linear search needs have 32 bits.
  std::int64_t longestNeedle = 4'294'967'295;
};

}  // namespace quillmor
