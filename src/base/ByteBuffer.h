#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>

#include "base/Check.h"

namespace quillmor {

struct ByteBlock;

/// A growable array of bytes in one contiguous piece, copied on write.
///
/// Copying a buffer shares its memory and takes nanoseconds whatever the size. The first change of
/// a shared buffer copies it and applies the change on the way. There is free room at both ends,
/// and an edit moves the shorter side, so typing at either end of a document is cheap. New memory
/// is not initialised, and large buffers use huge pages.
///
/// Memory: free room is address space, not memory, in a buffer of 256 KiB or more. Once edits have
/// freed 4 MiB on one side, they go back to the system. The rest goes back with the last buffer
/// that shares the memory. Removing bytes from an end of a shared buffer only narrows the view, as
/// long as at least seven eighths of the shared memory stay in use.
///
/// Threads: buffers that share memory may be used, copied and destroyed on different threads; treat
/// one buffer object like any other value. Offsets and lengths are in bytes; one outside the
/// content is a programming fault and stops the process. When memory runs out, std::bad_alloc is
/// thrown and the buffer is unchanged.
class ByteBuffer {
 public:
  ByteBuffer() noexcept = default;
  explicit ByteBuffer(std::span<const std::uint8_t> bytes);
  ByteBuffer(std::initializer_list<std::uint8_t> bytes);

  /// `size` bytes (0 or more) of unspecified content, to be written through `mutableSpan`.
  static ByteBuffer uninitialized(std::int64_t size);
  /// `size` bytes (0 or more), each of them `value`.
  static ByteBuffer filled(std::int64_t size, std::uint8_t value);

  ByteBuffer(const ByteBuffer& other) noexcept;
  ByteBuffer(ByteBuffer&& other) noexcept;
  ByteBuffer& operator=(const ByteBuffer& other) noexcept;
  ByteBuffer& operator=(ByteBuffer&& other) noexcept;
  ~ByteBuffer();

  /// Equal when sizes and all bytes are; immediate when both share the same range of memory.
  bool operator==(const ByteBuffer& other) const noexcept;

  std::int64_t size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  /// The first byte; unspecified when the buffer is empty. Valid until the next change.
  const std::uint8_t* data() const noexcept { return data_; }

  /// The byte at `offset` (0..<size).
  std::uint8_t operator[](std::int64_t offset) const noexcept {
    checkPrecondition(offset >= 0 && offset < size_, "byte offset within the buffer");
    return data_[offset];
  }

  /// All bytes; valid until the next change.
  std::span<const std::uint8_t> span() const noexcept {
    return {data_, static_cast<std::size_t>(size_)};
  }
  /// The bytes `offset`..<`offset + length`, which lie within the buffer; valid until the next
  /// change.
  std::span<const std::uint8_t> span(std::int64_t offset, std::int64_t length) const noexcept;

  /// A buffer of the bytes `offset`..<`offset + length`, which lie within this one. The whole range
  /// shares memory with this buffer, any other is a copy.
  ByteBuffer slice(std::int64_t offset, std::int64_t length) const;

  /// All bytes for writing; copies them first when they are shared. Valid until the next change or
  /// copy of the buffer.
  std::span<std::uint8_t> mutableSpan();

  /// Writes one byte at `offset` (0..<size).
  void set(std::int64_t offset, std::uint8_t value);

  /// Replaces the `removed` bytes from `offset`, which lie within the buffer, with `inserted`.
  /// `inserted` may be a part of this buffer.
  void replace(std::int64_t offset, std::int64_t removed, std::span<const std::uint8_t> inserted);
  /// Inserts before `offset` (0...size).
  void insert(std::int64_t offset, std::span<const std::uint8_t> inserted);
  /// Removes the `removed` bytes from `offset`, which lie within the buffer.
  void erase(std::int64_t offset, std::int64_t removed);
  /// Inserts at the end.
  void append(std::span<const std::uint8_t> inserted);
  /// Removes everything after the first `size` bytes (0...size).
  void truncate(std::int64_t size);

  /// True if both share the same memory, so that neither takes memory of its own. False for buffers
  /// that have never held a byte.
  bool sharesStorageWith(const ByteBuffer& other) const noexcept;

 private:
  struct Edit;

  bool isUnique() const noexcept;
  bool contains(std::int64_t offset, std::int64_t length) const noexcept;
  bool aliases(std::span<const std::uint8_t> bytes) const noexcept;
  bool narrowSharedView(const Edit& edit) noexcept;
  bool editInPlace(const Edit& edit);
  void rebuild(const Edit& edit);
  void unshare();

  ByteBlock* block_ = nullptr;
  std::uint8_t* data_ = nullptr;
  std::int64_t size_ = 0;
};

}  // namespace quillmor
