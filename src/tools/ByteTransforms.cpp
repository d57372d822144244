#include "tools/ByteTransforms.h"

#include <algorithm>
#include <cstring>

#include "base/PieceWork.h"
#include "tools/RepeatedBytes.h"

namespace quillmor::ByteTransforms {
namespace {

/// Groups below this size are reversed on the spot, where calling a kernel would cost more.
constexpr std::int64_t kSmallGroup = 32;

std::int64_t sizeOf(std::span<const std::uint8_t> bytes) {
  return static_cast<std::int64_t>(bytes.size());
}

std::size_t unsignedSize(std::int64_t count) {
  return static_cast<std::size_t>(count);
}

/// A new buffer of the size of `bytes`, written piece by piece: `write(to, begin, end)` writes the
/// bytes `begin`..<`end` of the result, which starts at `to`.
template <typename Write>
ByteBuffer transformed(std::span<const std::uint8_t> bytes, TaskProgress& progress,
                       const Write& write) {
  progress.setTotal(sizeOf(bytes));
  progress.checkpoint();
  ByteBuffer result = ByteBuffer::uninitialized(sizeOf(bytes));
  std::uint8_t* const to = result.mutableSpan().data();
  forEachPiece(sizeOf(bytes), progress,
               [&](std::int64_t begin, std::int64_t end) { write(to, begin, end); });
  return result;
}

ByteBuffer copied(std::span<const std::uint8_t> bytes, TaskProgress& progress) {
  return transformed(bytes, progress, [&](std::uint8_t* to, std::int64_t begin, std::int64_t end) {
    std::memcpy(to + begin, bytes.data() + begin, unsignedSize(end - begin));
  });
}

/// Writes the bytes `begin`..<`end` of complete groups; either may lie within a group.
void swapAnyGroups(std::uint8_t* to, const std::uint8_t* from, std::int64_t groupSize,
                   std::int64_t begin, std::int64_t end) {
  const auto reverse = fastestByteKernels().reverse;
  std::int64_t group = begin - begin % groupSize;
  while (begin < end) {
    const std::int64_t stop = std::min(end, group + groupSize);
    const std::uint8_t* const mirrored = from + (group + groupSize - (stop - group));
    if (groupSize < kSmallGroup) {
      std::reverse_copy(mirrored, mirrored + (stop - begin), to + begin);
    } else {
      reverse(to + begin, mirrored, unsignedSize(stop - begin));
    }
    begin = stop;
    group = stop;
  }
}

/// The same for the groups that have a kernel of their own; pieces end where such groups do.
void swapGroups(std::uint8_t* to, const std::uint8_t* from, std::int64_t groupSize,
                std::int64_t begin, std::int64_t end) {
  static_assert(kWorkPieceSize % 4 == 0);
  const ByteKernels& kernels = fastestByteKernels();
  if (groupSize == 2) {
    kernels.swap16(to + begin, from + begin, unsignedSize(end - begin));
  } else if (groupSize == 4) {
    kernels.swap32(to + begin, from + begin, unsignedSize(end - begin));
  } else {
    swapAnyGroups(to, from, groupSize, begin, end);
  }
}

}  // namespace

ByteBuffer inverted(std::span<const std::uint8_t> bytes, TaskProgress& progress) {
  const auto invert = fastestByteKernels().invert;
  return transformed(bytes, progress, [&](std::uint8_t* to, std::int64_t begin, std::int64_t end) {
    invert(to + begin, bytes.data() + begin, unsignedSize(end - begin));
  });
}

ByteBuffer reversed(std::span<const std::uint8_t> bytes, TaskProgress& progress) {
  const auto reverse = fastestByteKernels().reverse;
  return transformed(bytes, progress, [&](std::uint8_t* to, std::int64_t begin, std::int64_t end) {
    reverse(to + begin, bytes.data() + (sizeOf(bytes) - end), unsignedSize(end - begin));
  });
}

ByteBuffer groupsSwapped(std::span<const std::uint8_t> bytes, std::int64_t groupSize,
                         TaskProgress& progress) {
  if (groupSize < 2) return copied(bytes, progress);
  const std::int64_t complete = sizeOf(bytes) - sizeOf(bytes) % groupSize;
  return transformed(bytes, progress, [&](std::uint8_t* to, std::int64_t begin, std::int64_t end) {
    const std::int64_t trailing = std::clamp(complete, begin, end);
    swapGroups(to, bytes.data(), groupSize, begin, trailing);
    std::memcpy(to + trailing, bytes.data() + trailing, unsignedSize(end - trailing));
  });
}

ByteBuffer combined(std::span<const std::uint8_t> bytes, ByteOperation operation,
                    std::span<const std::uint8_t> pattern, TaskProgress& progress) {
  if (pattern.empty()) return copied(bytes, progress);
  const RepeatingPattern repeating(pattern);
  const auto combine = fastestByteKernels().combining(operation);
  return transformed(bytes, progress, [&](std::uint8_t* to, std::int64_t begin, std::int64_t end) {
    while (begin < end) {
      const auto run = repeating.run(begin, end - begin);
      combine(to + begin, bytes.data() + begin, run.data(), run.size());
      begin += sizeOf(run);
    }
  });
}

}  // namespace quillmor::ByteTransforms
