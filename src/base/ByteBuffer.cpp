#include "base/ByteBuffer.h"

#include <cstring>
#include <functional>
#include <utility>

#include "base/ByteBlock.h"
#include "base/ByteMove.h"
#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

constexpr std::int64_t kMinSlackAfterEdit = 32;

/// Free room on either side of a small buffer that is being edited: a share of its size, so that
/// repeated insertions copy each byte a constant number of times on average.
std::int64_t slackAfterEdit(std::int64_t size) {
  return saturatingAdd(size / 4, kMinSlackAfterEdit);
}

/// memcpy must not be given null, not even for no bytes.
void copyBytes(std::uint8_t* to, const std::uint8_t* from, std::int64_t count) {
  if (count > 0) std::memcpy(to, from, static_cast<std::size_t>(count));
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
  copyBytes(data_, bytes.data(), size_);
}

ByteBuffer::ByteBuffer(std::initializer_list<std::uint8_t> bytes)
    : ByteBuffer(std::span<const std::uint8_t>(bytes.begin(), bytes.size())) {}

ByteBuffer ByteBuffer::uninitialized(std::int64_t size) {
  checkPrecondition(size >= 0, "buffer size not negative");
  ByteBuffer buffer;
  if (size > 0) buffer.block_ = ByteBlock::create(size, 0, &buffer.data_);
  buffer.size_ = size;
  return buffer;
}

ByteBuffer ByteBuffer::filled(std::int64_t size, std::uint8_t value) {
  ByteBuffer buffer = uninitialized(size);
  if (size > 0) std::memset(buffer.data_, value, static_cast<std::size_t>(size));
  return buffer;
}

ByteBuffer::ByteBuffer(const ByteBuffer& other) noexcept
    : block_(other.block_), data_(other.data_), size_(other.size_) {
  if (block_ != nullptr) block_->retain();
}

ByteBuffer::ByteBuffer(ByteBuffer&& other) noexcept
    : block_(std::exchange(other.block_, nullptr)),
      data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)) {}

ByteBuffer& ByteBuffer::operator=(const ByteBuffer& other) noexcept {
  return *this = ByteBuffer(other);
}

ByteBuffer& ByteBuffer::operator=(ByteBuffer&& other) noexcept {
  // Through a third buffer, so that the memory held so far is freed here and not with `other`.
  ByteBuffer taken(std::move(other));
  std::swap(block_, taken.block_);
  std::swap(data_, taken.data_);
  std::swap(size_, taken.size_);
  return *this;
}

ByteBuffer::~ByteBuffer() {
  if (block_ != nullptr) block_->release();
}

bool ByteBuffer::operator==(const ByteBuffer& other) const noexcept {
  if (size_ != other.size_) return false;
  if (data_ == other.data_ || size_ == 0) return true;
  return std::memcmp(data_, other.data_, static_cast<std::size_t>(size_)) == 0;
}

std::span<const std::uint8_t> ByteBuffer::span(std::int64_t offset,
                                               std::int64_t length) const noexcept {
  checkPrecondition(contains(offset, length), "byte range within the buffer");
  return span().subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
}

ByteBuffer ByteBuffer::slice(std::int64_t offset, std::int64_t length) const {
  checkPrecondition(contains(offset, length), "byte range within the buffer");
  return length == size_ ? *this : ByteBuffer(span(offset, length));
}

std::span<std::uint8_t> ByteBuffer::mutableSpan() {
  unshare();
  return {data_, static_cast<std::size_t>(size_)};
}

void ByteBuffer::set(std::int64_t offset, std::uint8_t value) {
  checkPrecondition(offset >= 0 && offset < size_, "byte offset within the buffer");
  unshare();
  data_[offset] = value;
}

void ByteBuffer::replace(std::int64_t offset, std::int64_t removed,
                         std::span<const std::uint8_t> inserted) {
  checkPrecondition(contains(offset, removed), "byte range within the buffer");
  checkPrecondition(std::ssize(inserted) <= kMaxInt64 - size_, "size after the edit fits");
  const Edit edit{offset, removed, size_ - offset - removed, inserted};
  if (removed == 0 && inserted.empty()) return;
  if (isUnique() ? editInPlace(edit) : narrowSharedView(edit)) return;
  rebuild(edit);
}

void ByteBuffer::insert(std::int64_t offset, std::span<const std::uint8_t> inserted) {
  replace(offset, 0, inserted);
}

void ByteBuffer::erase(std::int64_t offset, std::int64_t removed) {
  replace(offset, removed, {});
}

void ByteBuffer::append(std::span<const std::uint8_t> inserted) {
  replace(size_, 0, inserted);
}

void ByteBuffer::truncate(std::int64_t size) {
  checkPrecondition(size >= 0 && size <= size_, "truncated size within the buffer");
  erase(size, size_ - size);
}

bool ByteBuffer::sharesStorageWith(const ByteBuffer& other) const noexcept {
  return block_ != nullptr && block_ == other.block_;
}

bool ByteBuffer::isUnique() const noexcept {
  return block_ != nullptr && block_->isUnique();
}

bool ByteBuffer::contains(std::int64_t offset, std::int64_t length) const noexcept {
  return offset >= 0 && length >= 0 && offset <= size_ && length <= size_ - offset;
}

bool ByteBuffer::aliases(std::span<const std::uint8_t> bytes) const noexcept {
  if (bytes.empty() || size_ == 0) return false;
  const std::less<const std::uint8_t*> before;
  return before(bytes.data(), data_ + size_) && before(data_, bytes.data() + bytes.size());
}

/// Removes bytes from an end of a shared buffer without copying the rest, unless that would let
/// more than an eighth of the memory go unused for as long as it lives.
bool ByteBuffer::narrowSharedView(const Edit& edit) noexcept {
  if (block_ == nullptr || !edit.inserted.empty()) return false;
  if (edit.head != 0 && edit.tail != 0) return false;
  if (edit.newSize() < block_->touchedSize() / 8 * 7) return false;
  if (edit.head == 0) data_ += edit.removed;
  size_ = edit.newSize();
  return true;
}

/// Moves the shorter side and writes the new bytes between. False when that side has no room.
bool ByteBuffer::editInPlace(const Edit& edit) {
  const std::int64_t delta = edit.delta();
  const bool movesHead = edit.head < edit.tail;
  const std::int64_t room =
      movesHead ? data_ - block_->memory : block_->memory + block_->capacity - (data_ + size_);
  if (delta > room) return false;

  ByteBuffer copyOfInserted;
  std::span<const std::uint8_t> inserted = edit.inserted;
  if (aliases(inserted)) {
    copyOfInserted = ByteBuffer(inserted);
    inserted = copyOfInserted.span();
  }
  if (movesHead) {
    moveBytes(data_ - delta, data_, edit.head);
    data_ -= delta;
  } else if (delta != 0) {
    std::uint8_t* const tail = data_ + edit.head + edit.removed;
    moveBytes(tail + delta, tail, edit.tail);
  }
  copyBytes(data_ + edit.head, inserted.data(), std::ssize(inserted));
  size_ = edit.newSize();
  block_->contentMoved(data_, size_);
  return true;
}

/// Copies into a new block with room at both ends; the old block stays alive until the bytes to
/// insert, which may be a part of it, have been copied.
void ByteBuffer::rebuild(const Edit& edit) {
  ByteBuffer result;
  const std::int64_t newSize = edit.newSize();
  if (newSize > 0) {
    result.block_ = ByteBlock::create(newSize, slackAfterEdit(newSize), &result.data_);
    result.size_ = newSize;
    copyBytes(result.data_, data_, edit.head);
    copyBytes(result.data_ + edit.head, edit.inserted.data(), std::ssize(edit.inserted));
    copyBytes(result.data_ + edit.head + std::ssize(edit.inserted),
              data_ + edit.head + edit.removed, edit.tail);
  }
  *this = std::move(result);
}

void ByteBuffer::unshare() {
  if (block_ != nullptr && !block_->isUnique()) rebuild({size_, 0, 0, {}});
}

}  // namespace quillmor
