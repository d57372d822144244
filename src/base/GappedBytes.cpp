#include "base/GappedBytes.h"

#include <algorithm>
#include <cstring>

#include "base/ByteMove.h"
#include "base/HugePageMove.h"

namespace quillmor {
namespace {

/// memcpy must not be given null, not even for no bytes.
void copyBytes(std::uint8_t* to, std::span<const std::uint8_t> from) noexcept {
  if (!from.empty()) std::memcpy(to, from.data(), from.size());
}

/// For moves into the gap or into as much room at an end.
void moveRun(std::uint8_t* to, std::uint8_t* from, std::int64_t count) noexcept {
  const bool isWorthPages = count >= kPageMoveThreshold;
  if (isWorthPages && from - to == kHugePageSize) return moveDownByHugePage(from, count);
  if (isWorthPages && to - from == kHugePageSize) return moveUpByHugePage(from, count);
  moveBytes(to, from, count);
}

}  // namespace

std::array<std::span<std::uint8_t>, 2> GappedBytes::pieces(std::int64_t offset,
                                                           std::int64_t length) const noexcept {
  const std::int64_t before =
      hasGap() ? std::clamp<std::int64_t>(gapOffset - offset, 0, length) : length;
  const std::int64_t after = length - before;
  return {std::span(begin + offset, static_cast<std::size_t>(before)),
          std::span(begin + offset + before + gapSize, static_cast<std::size_t>(after))};
}

std::int64_t GappedBytes::distanceToGap(std::int64_t offset, std::int64_t length) const noexcept {
  return std::max<std::int64_t>({offset - gapOffset, gapOffset - offset - length, 0});
}

void GappedBytes::moveGap(std::int64_t offset) noexcept {
  if (offset < gapOffset) {
    moveRun(begin + offset + gapSize, begin + offset, gapOffset - offset);
  } else {
    moveRun(begin + gapOffset, begin + gapOffset + gapSize, offset - gapOffset);
  }
  gapOffset = offset;
}

void GappedBytes::closeGap() noexcept {
  if (!hasGap()) return;
  const bool movesHead = gapOffset < size - gapOffset;
  moveGap(movesHead ? 0 : size);
  if (movesHead) begin += gapSize;
  gapSize = 0;
}

void GappedBytes::widenGap(std::int64_t by, bool movesHead) noexcept {
  if (movesHead) {
    moveRun(begin - by, begin, gapOffset);
    begin -= by;
  } else {
    std::uint8_t* const tail = begin + gapOffset + gapSize;
    moveRun(tail + by, tail, size - gapOffset);
  }
  gapSize += by;
}

void GappedBytes::replaceAtGap(std::int64_t offset, std::int64_t removed,
                               std::span<const std::uint8_t> inserted) noexcept {
  const std::int64_t count = std::ssize(inserted);
  copyBytes(begin + offset, inserted);
  gapOffset = offset + count;
  gapSize += removed - count;
  size += count - removed;
}

void GappedBytes::replaceMovingHead(std::int64_t offset, std::int64_t removed,
                                    std::span<const std::uint8_t> inserted) noexcept {
  const std::int64_t delta = std::ssize(inserted) - removed;
  moveBytes(begin - delta, begin, offset);
  begin -= delta;
  size += delta;
  gapOffset += delta;
  copyBytes(begin + offset, inserted);
}

void GappedBytes::replaceMovingTail(std::int64_t offset, std::int64_t removed,
                                    std::span<const std::uint8_t> inserted) noexcept {
  const std::int64_t delta = std::ssize(inserted) - removed;
  std::uint8_t* const range = at(offset);
  moveBytes(range + removed + delta, range + removed, size - offset - removed);
  size += delta;
  copyBytes(range, inserted);
}

void GappedBytes::overwrite(std::int64_t offset, std::span<const std::uint8_t> written) noexcept {
  for (const auto piece : pieces(offset, std::ssize(written))) {
    copyBytes(piece.data(), written.first(piece.size()));
    written = written.subspan(piece.size());
  }
}

}  // namespace quillmor
