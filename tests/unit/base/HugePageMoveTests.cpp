#include "base/HugePageMove.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "support/MemoryProbes.h"

namespace quillmor {
namespace {

/// A mapping of some huge pages, full of bytes of which those of every page differ.
class Mapping {
 public:
  static constexpr std::int64_t kSize = 8 * kHugePageSize;

  Mapping()
      : memory_(static_cast<std::uint8_t*>(::mmap(nullptr, static_cast<std::size_t>(kSize),
                                                  PROT_READ | PROT_WRITE,
                                                  MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    for (std::int64_t i = 0; i < kSize; i += 4) {
      const std::uint32_t bytes = static_cast<std::uint32_t>(i) * 2654435761U;
      std::memcpy(memory_ + i, &bytes, 4);
    }
  }
  ~Mapping() { ::munmap(memory_, static_cast<std::size_t>(kSize)); }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;

  std::uint8_t* at(std::int64_t offset) { return memory_ + offset; }
  /// The first boundary after the first huge page, and then the `number`th.
  std::int64_t boundary(std::int64_t number) const {
    const auto rest = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(memory_) %
                                                static_cast<std::uintptr_t>(kHugePageSize));
    return (2 + number) * kHugePageSize - rest;
  }

 private:
  std::uint8_t* memory_;
};

void moveAndCompare(std::int64_t begin, std::int64_t end, bool down) {
  Mapping mapping;
  const std::int64_t from = mapping.boundary(0) + begin;
  const std::int64_t to = mapping.boundary(3) + end;
  const std::int64_t distance = down ? -kHugePageSize : kHugePageSize;
  const auto begins = [&](std::int64_t offset) { return mapping.at(offset); };
  const std::vector<std::uint8_t> moved(begins(from), begins(to));
  const std::int64_t roomBegin = down ? from - kHugePageSize : from;
  const std::int64_t roomEnd = down ? to : to + kHugePageSize;
  const std::vector<std::uint8_t> before(begins(0), begins(roomBegin));
  const std::vector<std::uint8_t> after(begins(roomEnd), begins(Mapping::kSize));
  down ? moveDownByHugePage(begins(from), to - from) : moveUpByHugePage(begins(from), to - from);
  EXPECT_EQ(std::memcmp(begins(from + distance), moved.data(), moved.size()), 0);
  EXPECT_EQ(std::memcmp(begins(0), before.data(), before.size()), 0);
  EXPECT_EQ(std::memcmp(begins(roomEnd), after.data(), after.size()), 0);
  // What is left behind can be used.
  std::memset(begins(down ? to - kHugePageSize : from), 7, static_cast<std::size_t>(kHugePageSize));
}

TEST(HugePageMove, movesTheBytesAndNothingBesideThem) {
  for (const std::int64_t begin : {-1, 0, 1, 1000001}) {
    for (const std::int64_t end : {-1000001, -1, 0, 1}) {
      SCOPED_TRACE(std::to_string(begin) + ", " + std::to_string(end));
      moveAndCompare(begin, end, true);
      moveAndCompare(begin, end, false);
    }
  }
}

TEST(HugePageMove, movesFewBytesAndNone) {
  for (const std::int64_t end :
       {-3 * kHugePageSize, 1 - 3 * kHugePageSize, -2 * kHugePageSize, -2 * kHugePageSize - 1}) {
    SCOPED_TRACE(std::to_string(end));
    moveAndCompare(0, end, true);
    moveAndCompare(0, end, false);
  }
}

TEST(HugePageMove, needsNoMoreAddressSpace) {
  Mapping mapping;
  const std::int64_t from = mapping.boundary(0) + 5;
  const std::vector<std::uint8_t> moved(mapping.at(from), mapping.at(from + 3 * kHugePageSize));
  {
    const NoMoreAddressSpace limit;
    moveDownByHugePage(mapping.at(from), std::ssize(moved));
    moveUpByHugePage(mapping.at(from - kHugePageSize), std::ssize(moved));
  }
  EXPECT_EQ(std::memcmp(mapping.at(from), moved.data(), moved.size()), 0);
}

}  // namespace
}  // namespace quillmor
