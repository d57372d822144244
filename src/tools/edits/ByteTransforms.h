#pragma once

#include <cstdint>
#include <span>

#include "base/ByteBuffer.h"
#include "base/TaskProgress.h"
#include "kernels/ByteKernels.h"

/// What the commands that rewrite a selection make of its bytes: from a snapshot to a new buffer of
/// the same size, in one pass; or, for who has room for the result, to `to`, which has as many
/// bytes and none in common with them.
///
/// All of them set the total of `progress` to the number of bytes and advance it as they go, look
/// for a stop request at least once per MiB, throw `Error::stopped()` when there is one and
/// std::bad_alloc when memory runs out. Any thread; large inputs are shared between two threads.
namespace quillmor::ByteTransforms {

/// Every byte b becomes 255 - b.
ByteBuffer inverted(std::span<const std::uint8_t> bytes, TaskProgress& progress);
void invert(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> to,
            TaskProgress& progress);

/// The last byte comes first.
ByteBuffer reversed(std::span<const std::uint8_t> bytes, TaskProgress& progress);
void reverse(std::span<const std::uint8_t> bytes, std::span<std::uint8_t> to,
             TaskProgress& progress);

/// Every complete group of `groupSize` bytes, counted from the first one, is reversed; the bytes
/// behind the last complete group stay as they are, and all do when `groupSize` is below 2.
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
