#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "kernels/ScanKernel.h"

namespace quillmor {

/// For every byte value the positions of a pattern that it fits: one bit each, from the last
/// position to the first, as neighbouring positions of a haystack meet the same byte. Takes an
/// eighth of the pattern's length in bytes for each value that the pattern asks for, and for all
/// others together. Immutable, safe from any thread.
class FitTable {
 public:
  /// For a pattern of `PatternKind::masked`.
  explicit FitTable(const PatternView& pattern);

  FitTable(const FitTable&) = delete;
  FitTable& operator=(const FitTable&) = delete;

  /// A row for each byte value. Before the bits of the pattern there are `kFitMargin`, behind them
  /// 2 * `kFitMargin` or more that are set.
  const std::uint64_t* const* rows() const { return rows_.data(); }

 private:
  std::vector<std::uint64_t> words_;
  std::array<const std::uint64_t*, 256> rows_{};
};

}  // namespace quillmor
