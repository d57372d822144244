#include "base/HugePages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace quillmor {
namespace {

constexpr std::size_t kMiB = std::size_t{1024} * 1024;

TEST(HugePages, keepWhatIsInTheMemoryWhereverItBegins) {
  std::vector<std::uint8_t> memory(12 * kMiB, 0xA5);
  for (const std::size_t offset : {0, 1, 16, 4095, 4096, 4097}) {
    preferHugePages(memory.data() + offset, memory.size() - offset);
    preferHugePages(memory.data() + offset, 4 * kMiB + 1);
  }
  EXPECT_TRUE(std::ranges::all_of(memory, [](std::uint8_t byte) { return byte == 0xA5; }));
}

TEST(HugePages, areNotForSmallOrAbsentMemory) {
  std::vector<std::uint8_t> memory(100, 0xA5);
  preferHugePages(memory.data(), memory.size());
  preferHugePages(nullptr, 0);
  EXPECT_EQ(memory, std::vector<std::uint8_t>(100, 0xA5));
}

}  // namespace
}  // namespace quillmor
