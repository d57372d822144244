#include "tools/edits/ByteTransforms.h"

#include <algorithm>
#include <cstring>

#include "base/PieceWork.h"
#include "tools/edits/RepeatedBytes.h"

namespace quillmor::ByteTransforms {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// Groups below this size are reversed on the spot, where calling a kernel would cost more.
constexpr std::int64_t kSmallGroup = 32;

std::size_t unsignedSize(std::int64_t count) {
  return static_cast<std::size_t>(count);
}

/// A new buffer of the size of `bytes`, filled by `transform(room)`.
template <typename Transform>
ByteBuffer transformed(Bytes bytes, TaskProgress& progress, const Transform& transform) {
  progress.checkpoint();
  ByteBuffer result = ByteBuffer::uninitialized(std::ssize(bytes));
  transform(result.mutableSpan());
  return result;
}

/// Fills `to` piece by piece: `write(begin, end)` writes the bytes `begin`..<`end`.
template <typename Write>
void writeInPieces(std::span<std::uint8_t> to, TaskProgress& progress, const Write& write) {
  progress.setTotal(std::ssize(to));
  progress.checkpoint();
  forEachPiece(std::ssize(to), progress, write);
}

void copy(Bytes bytes, std::span<std::uint8_t> to, TaskProgress& progress) {
  writeInPieces(to, progress, [&](std::int64_t begin, std::int64_t end) {
    std::memcpy(to.data() + begin, bytes.data() + begin, unsignedSize(end - begin));
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
void swapGroupsOfPiece(std::uint8_t* to, const std::uint8_t* from, std::int64_t groupSize,
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

void invert(Bytes bytes, std::span<std::uint8_t> to, TaskProgress& progress) {
  const auto invertPiece = fastestByteKernels().invert;
  writeInPieces(to, progress, [&](std::int64_t begin, std::int64_t end) {
    invertPiece(to.data() + begin, bytes.data() + begin, unsignedSize(end - begin));
  });
}

ByteBuffer inverted(Bytes bytes, TaskProgress& progress) {
  return transformed(bytes, progress,
                     [&](std::span<std::uint8_t> to) { invert(bytes, to, progress); });
}

void reverse(Bytes bytes, std::span<std::uint8_t> to, TaskProgress& progress) {
  const auto reversePiece = fastestByteKernels().reverse;
  writeInPieces(to, progress, [&](std::int64_t begin, std::int64_t end) {
    reversePiece(to.data() + begin, bytes.data() + (std::ssize(bytes) - end),
                 unsignedSize(end - begin));
  });
}

ByteBuffer reversed(Bytes bytes, TaskProgress& progress) {
  return transformed(bytes, progress,
                     [&](std::span<std::uint8_t> to) { reverse(bytes, to, progress); });
}

void swapGroups(Bytes bytes, std::int64_t groupSize, std::span<std::uint8_t> to,
                TaskProgress& progress) {
  if (groupSize < 2) return copy(bytes, to, progress);
  const std::int64_t complete = std::ssize(bytes) - std::ssize(bytes) % groupSize;
  writeInPieces(to, progress, [&](std::int64_t begin, std::int64_t end) {
    const std::int64_t trailing = std::clamp(complete, begin, end);
    swapGroupsOfPiece(to.data(), bytes.data(), groupSize, begin, trailing);
    std::memcpy(to.data() + trailing, bytes.data() + trailing, unsignedSize(end - trailing));
  });
}

ByteBuffer groupsSwapped(Bytes bytes, std::int64_t groupSize, TaskProgress& progress) {
  return transformed(bytes, progress, [&](std::span<std::uint8_t> to) {
    swapGroups(bytes, groupSize, to, progress);
  });
}

void combine(Bytes bytes, ByteOperation operation, Bytes pattern, std::span<std::uint8_t> to,
             TaskProgress& progress) {
  if (pattern.empty()) return copy(bytes, to, progress);
  const RepeatingPattern repeating(pattern);
  const auto combineRun = fastestByteKernels().combining(operation);
  writeInPieces(to, progress, [&](std::int64_t begin, std::int64_t end) {
    while (begin < end) {
      const auto run = repeating.run(begin, end - begin);
      combineRun(to.data() + begin, bytes.data() + begin, run.data(), run.size());
      begin += std::ssize(run);
    }
  });
}

ByteBuffer combined(Bytes bytes, ByteOperation operation, Bytes pattern, TaskProgress& progress) {
  return transformed(bytes, progress, [&](std::span<std::uint8_t> to) {
    combine(bytes, operation, pattern, to, progress);
  });
}

}  // namespace quillmor::ByteTransforms
