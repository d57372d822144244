#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>

#include "base/ByteUnits.h"
#include "base/Check.h"
#include "base/GappedBytes.h"

namespace quillmor {

struct ByteBlock;

/// A growable array of bytes, copied on write.
///
/// Copying a buffer shares its memory and takes nanoseconds whatever the size. The first change of
/// a shared buffer copies it and applies the change on the way. New memory is not initialised, and
/// large buffers use huge pages.
///
/// There is free room at both ends, and an edit near an end moves the bytes between. Typing or
/// removing a few bytes 1 MiB or more away from both ends leaves a gap, and the next edit near the
/// gap moves only the bytes up to it. Opening the gap moves the shorter side, unless bytes are
/// removed there; so does closing it. `data`, `span` and `mutableSpan` of all bytes, comparing and
/// copying close it; the accessors of bytes and ranges do not.
///
/// Memory: free room is address space, not memory, in a buffer of 256 KiB or more. Once edits have
/// freed 4 MiB on one side, they go back to the system; a gap is never larger. The rest goes back
/// with the last buffer that shares the memory. Removing bytes from an end of a shared buffer only
/// narrows the view, as long as at least seven eighths of the shared memory stay in use.
///
/// Threads: buffers that share memory may be used, copied and destroyed on different threads; they
/// have no gap. Treat one buffer object like any other value, with one exception: while
/// `isContiguous` is false, const functions that close the gap change the object and are for the
/// thread that edits it. A copy never has a gap.
///
/// Offsets and lengths are in bytes; one outside the content is a programming fault and stops the
/// process. When memory runs out, std::bad_alloc is thrown and the buffer is unchanged.
class ByteBuffer {
 public:
  /// Edits nearer to an end move the bytes between, which takes some 0.1 ms at most.
  static constexpr std::int64_t kMinGapDistance = kMiB;
  /// The least room of a new gap: so many bytes can be typed before the shorter side moves again.
  static constexpr std::int64_t kGapRoom = 16 * kKiB;
  /// A larger gap would keep memory from the system.
  static constexpr std::int64_t kMaxGap = 4 * kMiB;

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

  std::int64_t size() const noexcept { return content_.size; }
  bool empty() const noexcept { return content_.size == 0; }
  /// The first byte of all in one piece; unspecified when the buffer is empty. Valid until the next
  /// change.
  const std::uint8_t* data() const noexcept {
    closeGap();
    return content_.begin;
  }

  /// The byte at `offset` (0..<size).
  std::uint8_t operator[](std::int64_t offset) const noexcept {
    checkPrecondition(offset >= 0 && offset < size(), "byte offset within the buffer");
    return *content_.at(offset);
  }

  /// All bytes; valid until the next change.
  std::span<const std::uint8_t> span() const noexcept {
    return {data(), static_cast<std::size_t>(size())};
  }
  /// The bytes `offset`..<`offset + length`, which lie within the buffer. Closes the gap only if it
  /// lies between them. Valid until the next change, or until another call closes the gap.
  std::span<const std::uint8_t> span(std::int64_t offset, std::int64_t length) const noexcept;

  /// Copies the bytes from `offset` to `to`; as many as that holds lie within the buffer.
  void copyTo(std::int64_t offset, std::span<std::uint8_t> to) const noexcept;
  /// True if the bytes from `offset`, which lie within the buffer, are `bytes`.
  bool hasAt(std::int64_t offset, std::span<const std::uint8_t> bytes) const noexcept;

  /// False while an edit has left a gap.
  bool isContiguous() const noexcept { return !content_.hasGap(); }

  /// A buffer of the bytes `offset`..<`offset + length`, which lie within this one. The whole range
  /// shares memory with this buffer, any other is a copy.
  ByteBuffer slice(std::int64_t offset, std::int64_t length) const;

  /// Copies the bytes now if they are shared, so that writing over them takes no memory.
  void makeUnique();

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
  void rebuild(const Edit& edit);

  // Edits of a sole owner.
  bool editInPlace(const Edit& edit) noexcept;
  bool belongsToGap(const Edit& edit) const noexcept;
  bool editAtGap(const Edit& edit) noexcept;
  bool editMovingAnEnd(const Edit& edit) noexcept;
  void bringGapTo(const Edit& edit) noexcept;
  std::int64_t wideningFor(std::int64_t lacking, bool movesHead) const noexcept;
  std::int64_t room(bool before) const noexcept;

  void closeGap() const noexcept {
    if (content_.hasGap()) closeOpenGap();
  }
  void closeOpenGap() const noexcept;

  ByteBlock* block_ = nullptr;
  /// Has a gap only in a sole owner of the block. Mutable because closing it changes no byte.
  mutable GappedBytes content_;
};

}  // namespace quillmor
