#include "base/HugePageMove.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>

namespace quillmor {
namespace {

void copy(std::uint8_t* to, const std::uint8_t* from, std::int64_t count) noexcept {
  if (count > 0) std::memmove(to, from, static_cast<std::size_t>(count));
}

std::uint8_t* boundaryAt(std::uint8_t* pointer) noexcept {
  return pointer - static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(pointer) %
                                             static_cast<std::uintptr_t>(kHugePageSize));
}

/// Hands one huge page from `from` to `to`, both on boundaries. The old place stays mapped, empty,
/// so that there never is a hole that another thread's memory could be put into.
bool handOver([[maybe_unused]] std::uint8_t* to, [[maybe_unused]] std::uint8_t* from) noexcept {
#if defined(MREMAP_DONTUNMAP)
  constexpr auto kSize = static_cast<std::size_t>(kHugePageSize);
  const int flags = MREMAP_MAYMOVE | MREMAP_FIXED | MREMAP_DONTUNMAP;
  if (::mremap(from, kSize, kSize, flags, to) != MAP_FAILED) return true;
  // The system may have taken the old pages away from `to` before it failed.
  ::mmap(to, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED,
         -1, 0);
#endif
  return false;
}

}  // namespace

void moveDownByHugePage(std::uint8_t* from, std::int64_t count) noexcept {
  std::uint8_t* const end = from + count;
  std::uint8_t* page = std::min(boundaryAt(from + kHugePageSize - 1), end);
  copy(from - kHugePageSize, from, page - from);
  while (end - page >= kHugePageSize && handOver(page - kHugePageSize, page)) page += kHugePageSize;
  copy(page - kHugePageSize, page, end - page);
}

void moveUpByHugePage(std::uint8_t* from, std::int64_t count) noexcept {
  std::uint8_t* const end = from + count;
  std::uint8_t* page = std::max(boundaryAt(end), from);
  copy(page + kHugePageSize, page, end - page);
  while (page - from >= kHugePageSize && handOver(page, page - kHugePageSize)) {
    page -= kHugePageSize;
  }
  copy(from + kHugePageSize, from, page - from);
}

}  // namespace quillmor
