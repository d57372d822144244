#include "base/ByteBuffer.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

#include "base/ByteBlock.h"
#include "base/ByteMove.h"
#include "base/HugePageMove.h"
#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

constexpr std::int64_t kMinSlackAfterEdit = 32;

/// How much longer moving the gap takes than closing it, per byte, when the way is long.
constexpr std::int64_t kFarMoveWeight = 3;

/// Free room on either side of a small buffer that is being edited: a share of its size, so that
/// repeated insertions copy each byte a constant number of times on average.
std::int64_t slackAfterEdit(std::int64_t size) {
  return saturatingAdd(size / 4, kMinSlackAfterEdit);
}

std::span<std::uint8_t> writable(std::uint8_t* begin, std::int64_t size) {
  return {begin, static_cast<std::size_t>(size)};
}

}  // namespace

/// A replacement that has been checked against a buffer: the bytes before and after it stay.
struct ByteBuffer::Edit {
  std::int64_t head;
  std::int64_t removed;
  std::int64_t tail;
  std::span<const std::uint8_t> inserted;

  std::int64_t delta() const { return std::ssize(inserted) - removed; }
  std::int64_t newSize() const { return head + std::ssize(inserted) + tail; }
};

ByteBuffer::ByteBuffer(std::span<const std::uint8_t> bytes)
    : ByteBuffer(uninitialized(std::ssize(bytes))) {
  content_.overwrite(0, bytes);
}

ByteBuffer::ByteBuffer(std::initializer_list<std::uint8_t> bytes)
    : ByteBuffer(std::span<const std::uint8_t>(bytes.begin(), bytes.size())) {}

ByteBuffer ByteBuffer::uninitialized(std::int64_t size) {
  checkPrecondition(size >= 0, "buffer size not negative");
  ByteBuffer buffer;
  if (size > 0) buffer.block_ = ByteBlock::create(size, 0, &buffer.content_.begin);
  buffer.content_.size = size;
  return buffer;
}

ByteBuffer ByteBuffer::filled(std::int64_t size, std::uint8_t value) {
  ByteBuffer buffer = uninitialized(size);
  if (size > 0) std::memset(buffer.content_.begin, value, static_cast<std::size_t>(size));
  return buffer;
}

ByteBuffer::ByteBuffer(const ByteBuffer& other) noexcept {
  other.closeGap();
  block_ = other.block_;
  content_ = other.content_;
  if (block_ != nullptr) block_->retain();
}

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : block_(std::exchange(other.block_, nullptr)), content_(std::exchange(other.content_, {})) {}

ByteBuffer& ByteBuffer::operator=(const ByteBuffer& other) noexcept {
  return *this = ByteBuffer(other);
}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
  // Through a third buffer, so that the memory held so far is freed here and not with `other`.
  ByteBuffer taken(std::move(other));
  std::swap(block_, taken.block_);
  std::swap(content_, taken.content_);
  return *this;
}

ByteBuffer::~ByteBuffer() {
  if (block_ != nullptr) block_->release();
}

bool ByteBuffer::operator==(const ByteBuffer& other) const noexcept {
  if (size() != other.size()) return false;
  if (data() == other.data() || empty()) return true;
  return std::memcmp(data(), other.data(), static_cast<std::size_t>(size())) == 0;
}

std::span<const std::uint8_t> ByteBuffer::span(std::int64_t offset,
                                               std::int64_t length) const noexcept {
  checkPrecondition(contains(offset, length), "byte range within the buffer");
  if (content_.isCut(offset, length)) closeOpenGap();
  return {content_.at(offset), static_cast<std::size_t>(length)};
}

void ByteBuffer::copyTo(std::int64_t offset, std::span<std::uint8_t> to) const noexcept {
  checkPrecondition(contains(offset, std::ssize(to)), "byte range within the buffer");
  for (const auto piece : content_.pieces(offset, std::ssize(to))) {
    if (!piece.empty()) std::memcpy(to.data(), piece.data(), piece.size());
    to = to.subspan(piece.size());
  }
}

bool ByteBuffer::hasAt(std::int64_t offset, std::span<const std::uint8_t> bytes) const noexcept {
  checkPrecondition(contains(offset, std::ssize(bytes)), "byte range within the buffer");
  for (const auto piece : content_.pieces(offset, std::ssize(bytes))) {
    if (!piece.empty() && std::memcmp(bytes.data(), piece.data(), piece.size()) != 0) return false;
    bytes = bytes.subspan(piece.size());
  }
  return true;
}

ByteBuffer ByteBuffer::slice(std::int64_t offset, std::int64_t length) const {
  checkPrecondition(contains(offset, length), "byte range within the buffer");
  if (length == size()) return *this;
  ByteBuffer part = uninitialized(length);
  copyTo(offset, writable(part.content_.begin, length));
  return part;
}

std::span<std::uint8_t> ByteBuffer::mutableSpan() {
  closeGap();
  makeUnique();
  return writable(content_.begin, size());
}

void ByteBuffer::set(std::int64_t offset, std::uint8_t value) {
  checkPrecondition(offset >= 0 && offset < size(), "byte offset within the buffer");
  makeUnique();
  *content_.at(offset) = value;
}

void ByteBuffer::replace(std::int64_t offset, std::int64_t removed,
                         std::span<const std::uint8_t> inserted) {
  checkPrecondition(contains(offset, removed), "byte range within the buffer");
  checkPrecondition(std::ssize(inserted) <= kMaxInt64 - size(), "size after the edit fits");
  if (removed == 0 && inserted.empty()) return;
  Edit edit{offset, removed, size() - offset - removed, inserted};
  if (!isUnique()) {
    if (!narrowSharedView(edit)) rebuild(edit);
    return;
  }
  ByteBuffer copyOfInserted;
  if (aliases(inserted)) {
    copyOfInserted = ByteBuffer(inserted);
    edit.inserted = copyOfInserted.span();
  }
  if (!editInPlace(edit)) rebuild(edit);
}

void ByteBuffer::insert(std::int64_t offset, std::span<const std::uint8_t> inserted) {
  replace(offset, 0, inserted);
}

void ByteBuffer::erase(std::int64_t offset, std::int64_t removed) {
  replace(offset, removed, {});
}

void ByteBuffer::append(std::span<const std::uint8_t> inserted) {
  replace(size(), 0, inserted);
}

void ByteBuffer::truncate(std::int64_t size) {
  checkPrecondition(size >= 0 && size <= this->size(), "truncated size within the buffer");
  erase(size, this->size() - size);
}

bool ByteBuffer::sharesStorageWith(const ByteBuffer& other) const noexcept {
  return block_ != nullptr && block_ == other.block_;
}

bool ByteBuffer::isUnique() const noexcept {
  return block_ != nullptr && block_->isUnique();
}

bool ByteBuffer::contains(std::int64_t offset, std::int64_t length) const noexcept {
  return offset >= 0 && length >= 0 && offset <= size() && length <= size() - offset;
}

bool ByteBuffer::aliases(std::span<const std::uint8_t> bytes) const noexcept {
  if (bytes.empty() || empty()) return false;
  const std::less<const std::uint8_t*> before;
  return before(bytes.data(), content_.begin + content_.extent()) &&
         before(content_.begin, bytes.data() + bytes.size());
}

/// Removes bytes from an end of a shared buffer without copying the rest, unless that would let
/// more than an eighth of the memory go unused for as long as it lives.
bool ByteBuffer::narrowSharedView(const Edit& edit) noexcept {
  if (block_ == nullptr || !edit.inserted.empty()) return false;
  if (edit.head != 0 && edit.tail != 0) return false;
  if (edit.newSize() < block_->touchedSize() / 8 * 7) return false;
  if (edit.head == 0) content_.begin += edit.removed;
  content_.size = edit.newSize();
  return true;
}

/// Copies into a new block with room at both ends; the old block stays alive until the bytes to
/// insert, which may be a part of it, have been copied.
void ByteBuffer::rebuild(const Edit& edit) {
  ByteBuffer result;
  const std::int64_t newSize = edit.newSize();
  if (newSize > 0) {
    std::uint8_t* to = nullptr;
    result.block_ = ByteBlock::create(newSize, slackAfterEdit(newSize), &to);
    result.content_ = {.begin = to, .size = newSize};
    copyTo(0, writable(to, edit.head));
    result.content_.overwrite(edit.head, edit.inserted);
    copyTo(edit.head + edit.removed,
           writable(to + edit.head + std::ssize(edit.inserted), edit.tail));
  }
  *this = std::move(result);
}

void ByteBuffer::makeUnique() {
  if (block_ != nullptr && !block_->isUnique()) rebuild({size(), 0, 0, {}});
}

/// False when there is no room; the bytes are the same as before.
bool ByteBuffer::editInPlace(const Edit& edit) noexcept {
  if (std::ssize(edit.inserted) > kMaxGap) closeGap();
  if (edit.delta() == 0) {
    content_.overwrite(edit.head, edit.inserted);
  } else if (belongsToGap(edit) ? !editAtGap(edit) : !editMovingAnEnd(edit)) {
    return false;
  }
  const std::int64_t nearEnd = std::min(content_.gapOffset, size() - content_.gapOffset);
  if (content_.gapSize > kMaxGap || nearEnd < kMinGapDistance) closeGap();
  block_->contentMoved(content_.begin, content_.extent());
  return true;
}

/// True where the gap is nearer than both ends, and far from both ends. A gap has at least
/// `kMinGapDistance` bytes on either side, so an edit that belongs to an end is on that side of it.
bool ByteBuffer::belongsToGap(const Edit& edit) const noexcept {
  const std::int64_t toEnd = std::min(edit.head, edit.tail);
  if (content_.hasGap() && content_.distanceToGap(edit.head, edit.removed) <= toEnd) return true;
  return toEnd >= kMinGapDistance && std::ssize(edit.inserted) <= kMaxGap;
}

bool ByteBuffer::editAtGap(const Edit& edit) noexcept {
  bringGapTo(edit);
  const bool movesHead = edit.head < edit.tail;
  const std::int64_t lacking = edit.delta() - content_.gapSize;
  if (lacking > room(movesHead)) return false;
  if (lacking > 0) content_.widenGap(wideningFor(lacking, movesHead), movesHead);
  content_.replaceAtGap(edit.head, edit.removed, edit.inserted);
  return true;
}

/// By how much the gap is widened where `lacking` bytes are needed, which there is room for.
std::int64_t ByteBuffer::wideningFor(std::int64_t lacking, bool movesHead) const noexcept {
  const std::int64_t moved = movesHead ? content_.gapOffset : size() - content_.gapOffset;
  const bool movesPages = moved >= kPageMoveThreshold && lacking <= kHugePageSize;
  if (movesPages && kHugePageSize <= room(movesHead)) return kHugePageSize;
  return std::min(std::max(lacking, kGapRoom), room(movesHead));
}

/// Leaves the gap where the edit is, or no gap and its offset there.
void ByteBuffer::bringGapTo(const Edit& edit) noexcept {
  if (content_.hasGap()) {
    const std::int64_t distance = content_.distanceToGap(edit.head, edit.removed);
    if (distance == 0) return;
    const std::int64_t toClose = std::min(content_.gapOffset, size() - content_.gapOffset);
    const std::int64_t weight = content_.gapSize > kNearMoveDistance ? kFarMoveWeight : 1;
    if (content_.gapSize == kHugePageSize || distance * weight <= toClose) {
      return content_.moveGap(std::clamp(content_.gapOffset, edit.head, edit.head + edit.removed));
    }
    closeGap();
  }
  content_.gapOffset = edit.head;
}

/// Moves the shorter side and writes the new bytes between.
bool ByteBuffer::editMovingAnEnd(const Edit& edit) noexcept {
  const bool movesHead = edit.head < edit.tail;
  if (edit.delta() > room(movesHead)) return false;
  if (movesHead) {
    content_.replaceMovingHead(edit.head, edit.removed, edit.inserted);
  } else {
    content_.replaceMovingTail(edit.head, edit.removed, edit.inserted);
  }
  return true;
}

/// How many bytes are free before the first or after the last one.
std::int64_t ByteBuffer::room(bool before) const noexcept {
  if (before) return content_.begin - block_->memory;
  return block_->memory + block_->capacity - (content_.begin + content_.extent());
}

/// Where that is near, the gap is first brought to the size with which whole pages move.
void ByteBuffer::closeOpenGap() const noexcept {
  const bool movesHead = content_.gapOffset < size() - content_.gapOffset;
  const std::int64_t moved = std::min(content_.gapOffset, size() - content_.gapOffset);
  const std::int64_t lacking = kHugePageSize - content_.gapSize;
  const bool isNear = std::abs(lacking) <= kNearMoveDistance && lacking <= room(movesHead);
  if (moved >= kPageMoveThreshold && isNear) content_.widenGap(lacking, movesHead);
  content_.closeGap();
  block_->contentMoved(content_.begin, size());
}

}  // namespace quillmor
