#include "base/ByteBlock.h"

#include <sys/mman.h>

#include <algorithm>
#include <new>

#include "base/ByteUnits.h"
#include "base/HugePageMove.h"
#include "base/SaturatingMath.h"

namespace quillmor {
namespace {

constexpr std::int64_t kPageSize = 64 * kKiB;  // a multiple of every page size in use
constexpr std::int64_t kMinMappedSlack = 16 * kMiB;
/// Used when the system refuses the usual slack (a limit on address space, strict overcommit).
constexpr std::int64_t kModestMappedSlack = kMiB;

std::uint8_t* roundedUp(std::uint8_t* pointer, std::int64_t unit) {
  const auto rest = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(pointer) &
                                              static_cast<std::uintptr_t>(unit - 1));
  return rest == 0 ? pointer : pointer + (unit - rest);
}

std::uint8_t* roundedDown(std::uint8_t* pointer, std::int64_t unit) {
  return pointer - static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(pointer) &
                                             static_cast<std::uintptr_t>(unit - 1));
}

/// Asks for small or huge pages in a range. Only advice: a kernel without huge pages refuses it and
/// nothing depends on it.
void adviseHugePages([[maybe_unused]] std::uint8_t* begin, [[maybe_unused]] std::uint8_t* end,
                     [[maybe_unused]] bool huge) {
#if defined(MADV_HUGEPAGE) && defined(MADV_NOHUGEPAGE)
  if (begin < end) {
    ::madvise(begin, static_cast<std::size_t>(end - begin), huge ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
  }
#endif
}

/// Returns the memory of a range to the system; its next use finds zeros. Slack keeps small pages,
/// because an insert at an end must not pay for clearing a huge one.
void releasePages(std::uint8_t* begin, std::uint8_t* end) {
  if (begin >= end) return;
  ::madvise(begin, static_cast<std::size_t>(end - begin), MADV_DONTNEED);
  adviseHugePages(begin, end, false);
}

void* map(std::int64_t bytes) {
  if (bytes == kMaxInt64) return nullptr;
  int flags = MAP_PRIVATE | MAP_ANONYMOUS;
#ifdef MAP_NORESERVE
  flags |= MAP_NORESERVE;
#endif
  void* mapping =
      ::mmap(nullptr, static_cast<std::size_t>(bytes), PROT_READ | PROT_WRITE, flags, -1, 0);
  return mapping == MAP_FAILED ? nullptr : mapping;
}

}  // namespace

ByteBlock* ByteBlock::create(std::int64_t size, std::int64_t slack, std::uint8_t** contentOut) {
  return size < kMappedThreshold ? createMalloced(size, slack, contentOut)
                                 : createMapped(size, slack, contentOut);
}

/// Builds the header at the start of `bytes` bytes of memory; everything after it is capacity.
ByteBlock* ByteBlock::place(void* at, std::int64_t bytes, std::uint8_t* content,
                            std::int64_t size) {
  auto* block = new (at) ByteBlock;
  block->memory = static_cast<std::uint8_t*>(at) + sizeof(ByteBlock);
  block->capacity = bytes - static_cast<std::int64_t>(sizeof(ByteBlock));
  block->touchedBegin = content;
  block->touchedEnd = content + size;
  return block;
}

ByteBlock* ByteBlock::createMalloced(std::int64_t size, std::int64_t slack,
                                     std::uint8_t** contentOut) {
  const std::int64_t bytes = static_cast<std::int64_t>(sizeof(ByteBlock)) + size + 2 * slack;
  void* memory = ::operator new(static_cast<std::size_t>(bytes));
  *contentOut = static_cast<std::uint8_t*>(memory) + sizeof(ByteBlock) + slack;
  return place(memory, bytes, *contentOut, size);
}

ByteBlock* ByteBlock::createMapped(std::int64_t size, std::int64_t slack,
                                   std::uint8_t** contentOut) {
  const std::int64_t generous = std::max({slack, kMinMappedSlack, size / 2});
  for (const std::int64_t side : {generous, kModestMappedSlack}) {
    // One huge page more on either side: for the header and for starting on a boundary, and for
    // the huge page that the content's last bytes lie in.
    const std::int64_t extra = saturatingMultiply(saturatingAdd(side, kHugePageSize), 2);
    const std::int64_t bytes = saturatingAdd(size, extra);
    void* memory = map(bytes);
    if (memory == nullptr) continue;
    auto* const begin = static_cast<std::uint8_t*>(memory);
    std::uint8_t* const content = roundedUp(begin + side + sizeof(ByteBlock), kHugePageSize);
    adviseHugePages(begin, begin + bytes, false);
    if (size >= 2 * kHugePageSize) {
      adviseHugePages(content, roundedUp(content + size, kHugePageSize), true);
    }
    *contentOut = content;
    ByteBlock* block = place(memory, bytes, content, size);
    block->mappedSize = bytes;
    return block;
  }
  throw std::bad_alloc();
}

void ByteBlock::release() noexcept {
  if (references.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  const std::int64_t bytes = mappedSize;
  this->~ByteBlock();
  if (bytes == 0) {
    ::operator delete(this);
  } else {
    ::munmap(this, static_cast<std::size_t>(bytes));
  }
}

void ByteBlock::contentMoved(std::uint8_t* content, std::int64_t size) noexcept {
  touchedBegin = std::min(touchedBegin, content);
  touchedEnd = std::max(touchedEnd, content + size);
  if (mappedSize == 0) return;
  if (content - touchedBegin >= kReleaseThreshold) {
    std::uint8_t* const end = roundedDown(content, kHugePageSize);
    releasePages(roundedUp(touchedBegin, kPageSize), end);
    touchedBegin = end;
  }
  if (touchedEnd - (content + size) >= kReleaseThreshold) {
    std::uint8_t* const begin = roundedUp(content + size, kHugePageSize);
    releasePages(begin, roundedDown(touchedEnd, kPageSize));
    touchedEnd = begin;
  }
}

}  // namespace quillmor
