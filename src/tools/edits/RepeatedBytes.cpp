#include "tools/edits/RepeatedBytes.h"

#include <algorithm>
#include <cstring>

#include "base/Check.h"
#include "base/PieceWork.h"

namespace quillmor {
namespace {

/// Runs that begin on the same boundary as the data they meet need no unaligned reading.
constexpr std::int64_t kAlignment = 64;

/// The size of as many whole patterns as a block holds; where that is possible, a multiple of the
/// alignment.
std::int64_t blockSizeFor(std::int64_t patternSize) {
  const std::int64_t copies = RepeatingPattern::kBlockSize / patternSize;
  return patternSize * (copies >= kAlignment ? copies / kAlignment * kAlignment : copies);
}

/// Writes the pattern once and then doubles the written part until `to` is full.
void fillByDoubling(std::span<std::uint8_t> to, std::span<const std::uint8_t> pattern) {
  std::size_t filled = std::min(to.size(), pattern.size());
  std::memcpy(to.data(), pattern.data(), filled);
  while (filled < to.size()) {
    const std::size_t next = std::min(filled, to.size() - filled);
    std::memcpy(to.data() + filled, to.data(), next);
    filled += next;
  }
}

}  // namespace

RepeatingPattern::RepeatingPattern(std::span<const std::uint8_t> pattern) : block_(pattern) {
  checkPrecondition(!pattern.empty(), "repeated pattern not empty");
  if (std::ssize(pattern) > kBlockSize / 2) return;
  copies_ = ByteBuffer::uninitialized(blockSizeFor(std::ssize(pattern)));
  fillByDoubling(copies_.mutableSpan(), pattern);
  block_ = copies_.span();
}

std::span<const std::uint8_t> RepeatingPattern::run(std::int64_t position,
                                                    std::int64_t maximumCount) const {
  const std::int64_t start = position % std::ssize(block_);
  const std::int64_t count = std::min(std::ssize(block_) - start, maximumCount);
  return block_.subspan(static_cast<std::size_t>(start), static_cast<std::size_t>(count));
}

ByteBuffer repeatedBytes(std::span<const std::uint8_t> pattern, std::int64_t count,
                         std::int64_t maximumCount) {
  TaskProgress unwatched;
  return repeatedBytes(pattern, count, maximumCount, unwatched);
}

ByteBuffer repeatedBytes(std::span<const std::uint8_t> pattern, std::int64_t count,
                         std::int64_t maximumCount, TaskProgress& progress) {
  if (pattern.empty() || count < 1 || count > maximumCount) return {};
  progress.checkpoint();
  ByteBuffer result = ByteBuffer::uninitialized(count);
  fillWithPattern(pattern, result.mutableSpan(), progress);
  return result;
}

/// Doubles within a cache-sized block only and copies that block from then on: reading back what
/// was written long ago would cost as much again as the writing.
void fillWithPattern(std::span<const std::uint8_t> pattern, std::span<std::uint8_t> to,
                     TaskProgress& progress) {
  progress.setTotal(std::ssize(to));
  progress.checkpoint();
  const RepeatingPattern repeating(pattern);
  forEachPiece(std::ssize(to), progress, [&](std::int64_t begin, std::int64_t end) {
    while (begin < end) {
      const auto run = repeating.run(begin, end - begin);
      std::memcpy(to.data() + begin, run.data(), run.size());
      begin += std::ssize(run);
    }
  });
}

}  // namespace quillmor
