#include "document/ReplacedRange.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The same, byte by byte.
ReplacedRange naive(const Bytes& before, const Bytes& after) {
  const std::size_t shorter = std::min(before.size(), after.size());
  std::size_t prefix = 0;
  while (prefix < shorter && before[prefix] == after[prefix]) ++prefix;
  std::size_t suffix = 0;
  while (suffix < shorter - prefix &&
         before[before.size() - 1 - suffix] == after[after.size() - 1 - suffix]) {
    ++suffix;
  }
  return {static_cast<std::int64_t>(prefix),
          static_cast<std::int64_t>(before.size() - prefix - suffix),
          static_cast<std::int64_t>(after.size() - prefix - suffix)};
}

TEST(ReplacedRange, isEmptyForEqualBytes) {
  EXPECT_EQ(replacedRange({}, {}), (ReplacedRange{0, 0, 0}));
  const Bytes bytes{1, 2, 3};
  EXPECT_EQ(replacedRange(bytes, bytes), (ReplacedRange{3, 0, 0}));
}

TEST(ReplacedRange, isTheSmallestChange) {
  EXPECT_EQ(replacedRange(Bytes{1, 2, 3}, Bytes{1, 9, 3}), (ReplacedRange{1, 1, 1}));
  EXPECT_EQ(replacedRange(Bytes{1, 2, 3}, Bytes{}), (ReplacedRange{0, 3, 0}));
  EXPECT_EQ(replacedRange(Bytes{}, Bytes{1, 2, 3}), (ReplacedRange{0, 0, 3}));
  EXPECT_EQ(replacedRange(Bytes{7, 7}, Bytes{7, 7, 7}), (ReplacedRange{2, 0, 1}));
  EXPECT_EQ(replacedRange(Bytes{7, 7, 7}, Bytes{7, 7}), (ReplacedRange{2, 1, 0}));
}

TEST(ReplacedRange, agreesWithAPlainLoopAroundTheSizesOfItsBlocks) {
  constexpr unsigned kSeed = 7;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  constexpr std::size_t kSizes[] = {0, 1, 4095, 4096, 4097, 8192, 12289};
  for (int round = 0; round < 400; ++round) {
    const Bytes before(kSizes[random() % std::size(kSizes)], 5);
    Bytes after(kSizes[random() % std::size(kSizes)], 5);
    for (auto changes = random() % 3; changes > 0 && !after.empty(); --changes)
      after[random() % after.size()] = 6;
    ASSERT_EQ(replacedRange(before, after), naive(before, after)) << round;
  }
}

}  // namespace
}  // namespace quillmor
