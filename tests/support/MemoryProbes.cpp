#include "support/MemoryProbes.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <vector>

namespace quillmor {

std::int64_t residentBytes(const std::uint8_t* begin, const std::uint8_t* end) {
  const auto pageSize = static_cast<std::uintptr_t>(::sysconf(_SC_PAGESIZE));
  const auto first = reinterpret_cast<std::uintptr_t>(begin) / pageSize * pageSize;
  const auto length = reinterpret_cast<std::uintptr_t>(end) - first;
  std::vector<unsigned char> pages((length + pageSize - 1) / pageSize);
  EXPECT_EQ(::mincore(reinterpret_cast<void*>(first), length, pages.data()), 0);
  const auto resident =
      std::ranges::count_if(pages, [](unsigned char page) { return (page & 1) != 0; });
  return static_cast<std::int64_t>(resident) * static_cast<std::int64_t>(pageSize);
}

namespace {

/// Large allocations always take a mapping of their own. Left to itself, the allocator keeps what
/// was freed once, and reserves address space for threads; it would give out both although the
/// system refuses. A sanitizer's allocator knows none of these settings.
const bool largeAllocationsAreMapped =
    QUILLMOR_NEW_CAN_FAIL == 0 ||
    (::mallopt(M_MMAP_THRESHOLD, 128 * 1024) != 0 && ::mallopt(M_ARENA_MAX, 1) != 0);

}  // namespace

NoMoreAddressSpace::NoMoreAddressSpace() {
  std::int64_t pagesInUse = 0;
  std::ifstream("/proc/self/statm") >> pagesInUse;
  EXPECT_GT(pagesInUse, 0);
  EXPECT_TRUE(largeAllocationsAreMapped);
  EXPECT_EQ(::getrlimit(RLIMIT_AS, &before_), 0);
  ::rlimit little = before_;
  little.rlim_cur = static_cast<::rlim_t>(pagesInUse * ::sysconf(_SC_PAGESIZE) + kRoomLeft);
  EXPECT_EQ(::setrlimit(RLIMIT_AS, &little), 0);
}

NoMoreAddressSpace::~NoMoreAddressSpace() {
  ::setrlimit(RLIMIT_AS, &before_);
}

}  // namespace quillmor
