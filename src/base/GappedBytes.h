#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace quillmor {

/// Bytes in memory that lie in one piece, or in two with a gap between them where an insertion
/// moves nothing. Knows where they lie and moves them; the memory, and the room around the bytes,
/// are the owner's. Offsets and lengths are in bytes, count without the gap, and are not checked.
///
/// Where the gap has the size of a huge page, moving it or widening it by as much is 20 times as
/// fast: pages get other addresses. So memory for `kPageMoveThreshold` bytes or more is a mapping.
struct GappedBytes {
  std::uint8_t* begin = nullptr;
  std::int64_t size = 0;
  /// Offset of the first byte after the gap.
  std::int64_t gapOffset = 0;
  /// 0 when the bytes lie in one piece.
  std::int64_t gapSize = 0;

  bool hasGap() const noexcept { return gapSize != 0; }

  /// From the first byte to the end of the last one, with the gap.
  std::int64_t extent() const noexcept { return size + gapSize; }

  /// Where the byte at `offset` lies. For the gap's own offset that is after the gap.
  std::uint8_t* at(std::int64_t offset) const noexcept {
    return begin + offset + (offset < gapOffset ? 0 : gapSize);
  }

  /// True if the gap lies between two of the bytes `offset`..<`offset + length`.
  bool isCut(std::int64_t offset, std::int64_t length) const noexcept {
    return hasGap() && offset < gapOffset && gapOffset - offset < length;
  }

  /// The bytes `offset`..<`offset + length` in order; both pieces may be empty.
  std::array<std::span<std::uint8_t>, 2> pieces(std::int64_t offset,
                                                std::int64_t length) const noexcept;

  /// How many bytes lie between the range and the gap, 0 if it touches the range. There is a gap.
  std::int64_t distanceToGap(std::int64_t offset, std::int64_t length) const noexcept;

  /// Brings the gap to `offset` by moving the bytes between.
  void moveGap(std::int64_t offset) noexcept;
  /// Makes one piece of both by moving the shorter one; does nothing without a gap.
  void closeGap() noexcept;
  /// Makes the gap, or a new one at `gapOffset`, larger by moving the bytes before it down or those
  /// after it up. The owner has `by` bytes of room there. A negative number makes it smaller.
  void widenGap(std::int64_t by, bool movesHead) noexcept;

  /// Replaces a range that touches the gap, which ends up after the new bytes. They fit into the
  /// gap and the range together and are not a part of these.
  void replaceAtGap(std::int64_t offset, std::int64_t removed,
                    std::span<const std::uint8_t> inserted) noexcept;
  /// Replaces a range before the gap by moving the bytes before the range. The owner has room there
  /// for what the bytes grow by. `inserted` is not a part of these.
  void replaceMovingHead(std::int64_t offset, std::int64_t removed,
                         std::span<const std::uint8_t> inserted) noexcept;
  /// The same for a range after the gap and the bytes after the range.
  void replaceMovingTail(std::int64_t offset, std::int64_t removed,
                         std::span<const std::uint8_t> inserted) noexcept;
  /// Puts `written`, which is not a part of these, over the bytes from `offset`.
  void overwrite(std::int64_t offset, std::span<const std::uint8_t> written) noexcept;
};

}  // namespace quillmor
