#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "base/TaskProgress.h"

namespace quillmor {

/// A run of offsets at which two files differ.
struct DifferingRange {
  std::int64_t offset = 0;
  /// Bytes of the one and of the other file; they differ only where one of them is 0.
  std::int64_t length = 0;
  std::int64_t otherLength = 0;

  bool operator==(const DifferingRange&) const = default;
};

/// Two files whose bytes are compared at equal offsets.
struct ComparedBytes {
  std::span<const std::uint8_t> bytes;
  std::span<const std::uint8_t> others;
};

/// Calls `onRange` for each whole run of offsets at which the bytes differ, in order; what one file
/// has beyond the end of the other is a range of its own. Returns the number of ranges. Any thread.
/// Sets the total of `progress`; throws `Error::stopped()` on a stop request.
std::int64_t forEachDifferingRange(const ComparedBytes& compared, TaskProgress& progress,
                                   const std::function<void(const DifferingRange&)>& onRange);

/// The range in one line without a line feed, with at most `maximumByteCount` bytes of each file:
/// "0x000001A0  3 bytes  AA BB CC -> 00 01 02", "0x00000BB8  0 -> 2 bytes  (none) -> 51 51".
std::string differingRangeLine(const DifferingRange& range, const ComparedBytes& compared,
                               std::int64_t maximumByteCount = 16);

/// The most ranges that a window's report lists.
inline constexpr std::int64_t kMaximumListedRanges = 10000;

/// The ranges in which `compared.others`, the recovered bytes, differ from the file, as a window
/// shows them. `name` is the file's name. Any thread; stopped as above.
std::string recoveredDifferencesReport(const ComparedBytes& compared, const std::string& name,
                                       TaskProgress& progress);

}  // namespace quillmor
