#pragma once

#include <atomic>
#include <cstdint>

#include "base/ByteUnits.h"

namespace quillmor {

/// One reference-counted piece of memory that byte buffers share. The content lies anywhere between
/// `memory` and `memory + capacity`; the rest on both sides is slack.
///
/// Small blocks come from malloc. Blocks whose content reaches `kMappedThreshold` are mappings of
/// their own. Only pages that were written to are resident, so slack takes address space and no
/// memory. The pages under the content are huge pages. The whole mapping goes back to the system
/// with the block.
struct ByteBlock {
  /// Content of this many bytes or more is mapped instead of malloc'ed.
  static constexpr std::int64_t kMappedThreshold = 256 * kKiB;
  /// Touched slack beyond this on one side of a mapped block is given back to the system.
  static constexpr std::int64_t kReleaseThreshold = 4 * kMiB;

  /// Returns a block with one reference and room for `size` bytes of content, and sets `contentOut`
  /// to them. There are `slack` bytes free on either side, more in a mapped block. The memory is
  /// not initialised. Throws std::bad_alloc.
  static ByteBlock* create(std::int64_t size, std::int64_t slack, std::uint8_t** contentOut);

  /// Adds an owner. Any thread.
  void retain() noexcept { references.fetch_add(1, std::memory_order_relaxed); }

  /// Removes an owner; the last one frees the block. Any thread.
  void release() noexcept;

  /// True if the caller is the only owner and may write. The acquire pairs with the release of
  /// former owners: everything they read has been read before the caller writes.
  bool isUnique() const noexcept { return references.load(std::memory_order_acquire) == 1; }

  /// Notes that the content has moved to `content` and gives large touched slack back to the
  /// system. Only the only owner calls this.
  void contentMoved(std::uint8_t* content, std::int64_t size) noexcept;

  /// Bytes that may be resident because content has been there.
  std::int64_t touchedSize() const noexcept { return touchedEnd - touchedBegin; }

  std::atomic<std::int64_t> references{1};
  std::uint8_t* memory = nullptr;
  std::int64_t capacity = 0;
  std::uint8_t* touchedBegin = nullptr;
  std::uint8_t* touchedEnd = nullptr;
  /// Bytes of the whole mapping, 0 for a malloc'ed block.
  std::int64_t mappedSize = 0;

 private:
  static ByteBlock* createMalloced(std::int64_t size, std::int64_t slack,
                                   std::uint8_t** contentOut);
  static ByteBlock* createMapped(std::int64_t size, std::int64_t slack, std::uint8_t** contentOut);
  static ByteBlock* place(void* at, std::int64_t bytes, std::uint8_t* content, std::int64_t size);
};

}  // namespace quillmor
