#pragma once

#include <cstdint>
#include <span>

#include "kernels/ScanKernel.h"

namespace quillmor {

/// True if position `offset` of `pattern` asks for a certain byte.
bool isConcrete(const PatternView& pattern, std::int64_t offset);

/// Returns the best probes for data as it mostly is: positions of bytes that are rare in text,
/// programs and images. Looks at a bounded number of positions.
ScanFilter usualProbes(const PatternView& pattern);

/// Returns the probes that fit the fewest positions of a small sample of `haystack`, half of it at
/// `position` and half of it from everywhere. `failedOffset` is where comparisons with the pattern
/// have just failed. Takes time in proportion to the pattern's length, from microseconds to a few
/// milliseconds. `pattern` asks for one byte at least.
ScanFilter sampledProbes(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                         std::int64_t position, std::int64_t failedOffset);

}  // namespace quillmor
