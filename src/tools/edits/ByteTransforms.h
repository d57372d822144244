#pragma once

#include <cstdint>
#include <span>

#include "base/ByteBuffer.h"
#include "base/TaskProgress.h"
#include "kernels/ByteKernels.h"

/// Transforms of the selected bytes. Each writes a new buffer of the same size in one pass. The
/// second form writes to `to`, which has as many bytes and does not overlap them.
///
/// All set the total of `progress` to the number of bytes and advance it. All check for a stop
/// request at least once per MiB, and throw `Error::stopped()` then; std::bad_alloc when memory
/// runs out. Any thread; two threads share a large input.
namespace quillmor::ByteTransforms {

/// Every byte b becomes 255 - b.
ByteBuffer inverted(std::span<const std::uint8_t> bytes, TaskProgress& progress);
void invert(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> to,
            TaskProgress& progress);

/// The last byte comes first.
ByteBuffer reversed(std::span<const std::uint8_t> bytes, TaskProgress& progress);
void reverse(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> to,
             TaskProgress& progress);

/// Reverses every complete group of `groupSize` bytes, counted from the first byte. Bytes after the
/// last complete group stay as they are; all bytes do when `groupSize` is below 2.
ByteBuffer groupsSwapped(std::span<const std::uint8_t> bytes, std::int64_t groupSize,
                         TaskProgress& progress);
void swapGroups(std::span<const std::uint8_t> bytes, std::int64_t groupSize,
                std::span<std::uint8_t> to, TaskProgress& progress);

/// Byte i becomes byte i combined with `pattern[i mod pattern length]`. An empty pattern changes
/// nothing.
ByteBuffer combined(std::span<const std::uint8_t> bytes, ByteOperation operation,
                    std::span<const std::uint8_t> pattern, TaskProgress& progress);
void combine(std::span<const std::uint8_t> bytes, ByteOperation operation,
             std::span<const std::uint8_t> pattern, std::span<std::uint8_t> to,
             TaskProgress& progress);

}  // namespace quillmor::ByteTransforms
