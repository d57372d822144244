#include "base/ByteMove.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

/// Moves within one array by `distance` and compares with the standard library's move.
void compareWithMemmove(std::int64_t count, std::int64_t distance) {
  constexpr std::int64_t kMargin = 10000;
  std::mt19937_64 random(static_cast<std::uint64_t>(count + distance));
  std::vector<std::uint8_t> moved(static_cast<std::size_t>(count + 2 * kMargin));
  for (std::size_t i = 0; i + 8 <= moved.size(); i += 8) {
    const std::uint64_t bytes = random();
    std::memcpy(&moved[i], &bytes, 8);
  }
  std::vector<std::uint8_t> expected = moved;
  moveBytes(moved.data() + kMargin + distance, moved.data() + kMargin, count);
  std::memmove(expected.data() + kMargin + distance, expected.data() + kMargin,
               static_cast<std::size_t>(count));
  EXPECT_EQ(std::memcmp(moved.data(), expected.data(), moved.size()), 0)
      << count << " bytes by " << distance;
}

TEST(ByteMove, equalsThePlainMoveWhetherSharedBetweenThreadsOrNot) {
  for (const std::int64_t count :
       {std::int64_t{0}, std::int64_t{1}, std::int64_t{5000}, kParallelMoveThreshold - 1,
        kParallelMoveThreshold, kParallelMoveThreshold + 12345}) {
    for (const std::int64_t distance : {0, 1, 63, 1024, 1025, 9999}) {
      compareWithMemmove(count, distance);
      compareWithMemmove(count, -distance);
    }
  }
}

TEST(ByteMove, isDoneByOneThreadWhereThereIsNoSecond) {
  EXPECT_EQ(test::inRestrictedProcess(test::kNoSizeLimit,
                                      [] {
                                        if (!test::forbidThreads()) return "threads can be started";
                                        compareWithMemmove(kParallelMoveThreshold, 1);
                                        compareWithMemmove(kParallelMoveThreshold, -1);
                                        return testing::Test::HasFailure() ? "moved wrongly"
                                                                           : "moved";
                                      }),
            "moved");
}

TEST(ByteMove, takesNullForNoBytes) {
  moveBytes(nullptr, nullptr, 0);
}

}  // namespace
}  // namespace quillmor
