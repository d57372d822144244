#include "search/ReplacementWriter.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include "base/ByteBlock.h"
#include "base/ByteUnits.h"
#include "base/Error.h"
#include "base/SaturatingMath.h"

namespace quillmor {

namespace {

constexpr int kReplaceAllFailed = 2201;

/// Bytes written between two questions whether to stop.
constexpr std::int64_t kWorkBetweenReports = kMiB;

}  // namespace

OutputExtent::OutputExtent(std::int64_t originalSize, std::int64_t maximumGrowth)
    : maximumGrowth_(std::max<std::int64_t>(maximumGrowth, 0)),
      limit_(saturatingAdd(originalSize, maximumGrowth_)) {}

void OutputExtent::failBeyondAddresses() {
  throw Error::quillmor(kReplaceAllFailed,
                        "Replace All output offset exceeded the supported address range.");
}

void OutputExtent::failBeyondGrowth() const {
  throw Error::quillmor(kReplaceAllFailed,
                        "Replace All output would grow beyond the safe per-operation limit of " +
                            std::to_string(maximumGrowth_) + " additional bytes.");
}

BookmarkCarrier::BookmarkCarrier(std::vector<std::int64_t> offsets)
    : offsets_(std::move(offsets)) {}

void BookmarkCarrier::replace(std::int64_t offset, std::int64_t removed, std::int64_t inserted) {
  if (removed == inserted) return;
  keepBefore(offset);
  const std::int64_t end = offset + removed;
  while (next_ < offsets_.size() && offsets_[next_] < end) ++next_;
  shift_ += inserted - removed;
}

std::vector<std::int64_t> BookmarkCarrier::finish() {
  keepBefore(kMaxInt64);
  offsets_.resize(kept_);
  return std::move(offsets_);
}

void BookmarkCarrier::keepBefore(std::int64_t offset) {
  while (next_ < offsets_.size() && offsets_[next_] < offset) {
    offsets_[kept_++] = saturatingAdd(offsets_[next_++], shift_);
  }
}

ReplacementWriter::ReplacementWriter(const ByteBuffer& original,
                                     std::vector<std::int64_t> bookmarks,
                                     std::int64_t maximumGrowth, std::int64_t largestOutput,
                                     TaskProgress& progress)
    : original_(original),
      bookmarks_(std::move(bookmarks)),
      extent_(original.size(), maximumGrowth),
      largestOutput_(largestOutput),
      progress_(progress) {}

void ReplacementWriter::replace(std::int64_t offset, std::int64_t length,
                                std::span<const std::uint8_t> replacement) {
  lastCaret_ = extent_.replace(offset, length, std::ssize(replacement));
  if (!isUnchanged(offset, length, replacement)) {
    if (!hasOutput_) startOutput();
    copyOriginalUpTo(offset);
    write(replacement);
    copiedTo_ = offset + length;
    if (unreportedWork_ >= kWorkBetweenReports) report();
  }
  bookmarks_.replace(offset, length, std::ssize(replacement));
  ++replacements_;
}

ReplaceAllComputation ReplacementWriter::finish() {
  const std::int64_t size = extent_.outputOffset(original_.size());
  if (hasOutput_) {
    copyOriginalUpTo(original_.size());
    result_.truncate(size);
    // A small document does not keep a large one's pages.
    if (size < ByteBlock::kMappedThreshold && largestOutput_ >= ByteBlock::kMappedThreshold) {
      result_ = ByteBuffer(result_.span());
    }
  } else {
    result_ = original_;
    copiedTo_ = original_.size();
  }
  report();
  return {std::move(result_), replacements_, lastCaret_, bookmarks_.finish()};
}

bool ReplacementWriter::isUnchanged(std::int64_t offset, std::int64_t length,
                                    std::span<const std::uint8_t> replacement) const {
  if (std::ssize(replacement) != length || original_.data()[offset] != replacement[0]) return false;
  return std::memcmp(original_.data() + offset, replacement.data(), replacement.size()) == 0;
}

void ReplacementWriter::startOutput() {
  result_ = ByteBuffer::uninitialized(largestOutput_);
  hasOutput_ = true;
  output_ = result_.mutableSpan().data();
}

void ReplacementWriter::copyOriginalUpTo(std::int64_t end) {
  while (copiedTo_ < end) {
    const std::int64_t count = std::min(end - copiedTo_, kWorkBetweenReports);
    write(original_.span(copiedTo_, count));
    copiedTo_ += count;
    if (unreportedWork_ >= kWorkBetweenReports) report();
  }
}

void ReplacementWriter::write(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return;
  std::memcpy(output_, bytes.data(), bytes.size());
  output_ += bytes.size();
  unreportedWork_ += std::ssize(bytes);
}

void ReplacementWriter::report() {
  unreportedWork_ = 0;
  progress_.advance(copiedTo_ - reported_);
  reported_ = copiedTo_;
  progress_.checkpoint();
}

}  // namespace quillmor
