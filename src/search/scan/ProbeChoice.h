#pragma once

#include <cstdint>
#include <span>

#include "kernels/ScanKernel.h"

namespace quillmor {

/// The probes that are the best for data as it mostly is: positions of bytes that are rare in text,
/// programs and images. Looks at a bounded number of positions that ask for a byte, of which
/// `pattern` must have one.
ScanFilter usualProbes(const PatternView& pattern);

/// The probes that fit the fewest positions of a small sample of `haystack`, half of it at
/// `position` and half of it from everywhere. `failedOffset` is where comparisons with the pattern
/// have just failed. Takes microseconds, and time in proportion to the pattern's length up to a few
/// milliseconds.
ScanFilter sampledProbes(const PatternView& pattern, std::span<const std::uint8_t> haystack,
                         std::int64_t position, std::int64_t failedOffset);

}  // namespace quillmor
