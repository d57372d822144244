#pragma once

#include <cstdint>

#include "kernels/HaystackScan.h"

namespace quillmor {

/// The scan functions of one variant.
template <class Lanes>
struct ScanLoops {
  template <PatternKind kKind, bool kIsForward>
  static ScanResult scanKind(const ScanTask& task, std::int64_t from, std::int64_t through,
                             ScanState& state) {
    if (task.filter.count == 1) {
      HaystackScan<Lanes, kKind, true> scan(task, state);
      return kIsForward ? scan.forward(from, through) : scan.backward(from, through);
    }
    HaystackScan<Lanes, kKind, false> scan(task, state);
    return kIsForward ? scan.forward(from, through) : scan.backward(from, through);
  }

  template <bool kIsForward>
  static ScanResult scan(const ScanTask& task, std::int64_t from, std::int64_t through,
                         ScanState& state) {
    switch (task.pattern.kind) {
      case PatternKind::folded:
        return scanKind<PatternKind::folded, kIsForward>(task, from, through, state);
      case PatternKind::masked:
        return scanKind<PatternKind::masked, kIsForward>(task, from, through, state);
      case PatternKind::exact:
        break;
    }
    return scanKind<PatternKind::exact, kIsForward>(task, from, through, state);
  }

  static constexpr ScanKernel kernel(const char* name) { return {name, scan<true>, scan<false>}; }
};

}  // namespace quillmor
