#include "base/HugePages.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "base/ByteUnits.h"

namespace quillmor {
namespace {

/// The system's flags of the mapping that `address` lies in; empty when there is none.
std::string mappingFlags(const void* address) {
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  std::ifstream mappings("/proc/self/smaps");
  bool isWanted = false;
  for (std::string line; std::getline(mappings, line);) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    char dash = 0;
    std::istringstream fields(line);
    if (fields >> std::hex >> begin >> dash >> end && dash == '-') {
      isWanted = begin <= wanted && wanted < end;
    } else if (isWanted && line.starts_with("VmFlags:")) {
      return line + ' ';
    }
  }
  return "";
}

TEST(HugePages, areAskedForOverTheWholePagesOfLargeMemory) {
  constexpr std::size_t kSize = 16 * kMiB;
  void* const mapping =
      ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(mapping, MAP_FAILED);
  auto* const memory = static_cast<std::uint8_t*>(mapping);
  preferHugePages(memory + 4 * kMiB + 1, 8 * kMiB);
  const std::string within = mappingFlags(memory + 8 * kMiB);
  const std::string before = mappingFlags(memory);
  ::munmap(mapping, kSize);
  EXPECT_NE(within.find(" hg "), std::string::npos) << within;
  EXPECT_EQ(before.find(" hg "), std::string::npos) << before;
}

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
