#include "base/HugePages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

#include "base/ByteUnits.h"

namespace quillmor {

namespace {

/// Less is not worth a system call and might be a part of memory that others use.
constexpr std::size_t kWorthwhile = 4 * kMiB;

}  // namespace

void preferHugePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) noexcept {
#ifdef MADV_HUGEPAGE
  if (size < kWorthwhile) return;
  static const auto kPageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  auto* const begin = static_cast<std::uint8_t*>(memory);
  const std::uintptr_t unaligned = reinterpret_cast<std::uintptr_t>(begin) % kPageSize;
  const std::size_t skipped = unaligned == 0 ? 0 : kPageSize - unaligned;
  const std::size_t wholePages = (size - skipped) / kPageSize * kPageSize;
  ::madvise(begin + skipped, wholePages, MADV_HUGEPAGE);
#endif
}

}  // namespace quillmor
