#include "tools/edits/RepeatedBytes.h"

#include <gmock/gmock.h>

#include <new>
#include <vector>

#include "base/PieceWork.h"
#include "base/SaturatingMath.h"
#include "support/RandomBytes.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// The first byte that is not what the pattern says; the size when there is none.
std::int64_t firstWrong(const ByteBuffer& bytes, const Bytes& pattern) {
  const auto size = static_cast<std::int64_t>(pattern.size());
  const std::uint8_t* const data = bytes.data();
  std::int64_t inPattern = 0;
  for (std::int64_t i = 0; i < bytes.size(); ++i) {
    if (data[i] != pattern[static_cast<std::size_t>(inPattern)]) return i;
    if (++inPattern == size) inPattern = 0;
  }
  return bytes.size();
}

void expectRepeated(const Bytes& pattern, std::int64_t count) {
  const ByteBuffer bytes = repeatedBytes(pattern, count, count);
  EXPECT_EQ(bytes.size(), count);
  EXPECT_EQ(firstWrong(bytes, pattern), count) << count << " bytes of " << pattern.size();
}

TEST(RepeatedBytes, repeatsThePatternAndCutsItsLastCopy) {
  EXPECT_EQ(repeatedBytes(Bytes{1, 2, 3}, 8, 100), (ByteBuffer{1, 2, 3, 1, 2, 3, 1, 2}));
  EXPECT_EQ(repeatedBytes(Bytes{1, 2, 3}, 2, 100), (ByteBuffer{1, 2}));
  EXPECT_EQ(repeatedBytes(Bytes{9}, 1, 1), ByteBuffer{9});
}

TEST(RepeatedBytes, fillsEveryCountWithEveryPattern) {
  for (const std::size_t length :
       {1U, 2U, 3U, 7U, 64U, 70U, 255U, 256U, 257U, 4096U, 8191U, 8192U, 8193U, 16384U, 40'000U}) {
    const Bytes pattern = test::randomBytes(length, length);
    for (const std::int64_t count : {1, 2, 63, 64, 65, 300, 16'383, 16'384, 16'385, 100'000}) {
      expectRepeated(pattern, count);
    }
  }
}

TEST(RepeatedBytes, fillsAcrossPieces) {
  for (const std::int64_t count : {kWorkPieceSize - 1, kWorkPieceSize, kWorkPieceSize + 1}) {
    expectRepeated({0xFF}, count);
    expectRepeated(test::randomBytes(7, 1), count);
    expectRepeated(test::randomBytes(static_cast<std::size_t>(count), 2), count);
  }
}

TEST(RepeatedBytes, fillsWhenSharedBetweenThreads) {
  expectRepeated(test::randomBytes(7, 1), kSharedWorkThreshold + 1);
  expectRepeated(test::randomBytes(1'000'003, 2), kSharedWorkThreshold + 1);
}

TEST(RepeatedBytes, isEmptyWithoutAPatternOrACount) {
  EXPECT_TRUE(repeatedBytes({}, 5, 100).empty());
  EXPECT_TRUE(repeatedBytes(Bytes{1}, 0, 100).empty());
  EXPECT_TRUE(repeatedBytes(Bytes{1}, -1, 100).empty());
  EXPECT_TRUE(repeatedBytes(Bytes{1}, kMinInt64, 100).empty());
}

TEST(RepeatedBytes, holdsToTheMaximumCount) {
  EXPECT_EQ(repeatedBytes(Bytes{1, 2}, 99, 100).size(), 99);
  EXPECT_EQ(repeatedBytes(Bytes{1, 2}, 100, 100).size(), 100);
  EXPECT_TRUE(repeatedBytes(Bytes{1, 2}, 101, 100).empty());
  EXPECT_TRUE(repeatedBytes(Bytes{1, 2}, 1, 0).empty());
}

TEST(RepeatedBytes, takesNoMemoryForMoreThanTheMaximumCount) {
  const Bytes pattern(1000, 1);
  EXPECT_TRUE(repeatedBytes(pattern, kMaxInt64, kMaxInt64 - 1).empty());
  EXPECT_TRUE(repeatedBytes(pattern, kMaxInt64, 1).empty());
}

TEST(RepeatedBytes, reportsThatMemoryRanOut) {
  EXPECT_THROW(repeatedBytes(Bytes{1}, std::int64_t{1} << 62, kMaxInt64), std::bad_alloc);
}

TEST(RepeatedBytes, tellsHowFarItIs) {
  TaskProgress progress;
  repeatedBytes(Bytes{1, 2, 3}, kSharedWorkThreshold + 1, kMaxInt64, progress);
  EXPECT_EQ(progress.fraction(), 1);
}

TEST(RepeatedBytes, stopsWithoutAResult) {
  for (const std::int64_t count : {std::int64_t{1}, kSharedWorkThreshold}) {
    TaskProgress progress;
    progress.requestStop();
    EXPECT_THAT(
        [&] {
          repeatedBytes(Bytes{1, 2, 3}, count, count, progress);
        },
        testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  }
}

TEST(RepeatingPattern, readsOnFromAnyPositionInRunsOfItsBlock) {
  for (const std::size_t length : {1U, 3U, 600U, 8192U, 8193U}) {
    const Bytes pattern = test::randomBytes(length, 5);
    const RepeatingPattern repeating(pattern);
    for (std::int64_t position = 0; position < 100'000;) {
      const auto run = repeating.run(position, 50'000);
      ASSERT_FALSE(run.empty());
      for (const std::uint8_t byte : run) {
        ASSERT_EQ(byte, pattern[static_cast<std::size_t>(position) % length]);
        ++position;
      }
    }
    EXPECT_EQ(repeating.run(12'345, 1).size(), 1U);
  }
}

TEST(SafeProduct, multipliesWhatFits) {
  EXPECT_EQ(safeProduct(6, 7), 42);
  EXPECT_EQ(safeProduct(1, kMaxInt64), kMaxInt64);
  EXPECT_EQ(safeProduct(7, kMaxInt64 / 7), kMaxInt64);
  EXPECT_EQ(safeProduct(std::int64_t{1} << 31, std::int64_t{1} << 31), std::int64_t{1} << 62);
}

TEST(SafeProduct, isZeroWhenEitherIs) {
  EXPECT_EQ(safeProduct(0, 0), 0);
  EXPECT_EQ(safeProduct(0, kMaxInt64), 0);
  EXPECT_EQ(safeProduct(kMaxInt64, 0), 0);
}

TEST(SafeProduct, isNoneForNegativeNumbers) {
  EXPECT_EQ(safeProduct(-1, 5), std::nullopt);
  EXPECT_EQ(safeProduct(5, -1), std::nullopt);
  EXPECT_EQ(safeProduct(-1, -1), std::nullopt);
  EXPECT_EQ(safeProduct(0, -1), std::nullopt);
  EXPECT_EQ(safeProduct(kMinInt64, 0), std::nullopt);
  EXPECT_EQ(safeProduct(kMinInt64, kMinInt64), std::nullopt);
}

TEST(SafeProduct, isNoneWhenTheProductDoesNotFit) {
  EXPECT_EQ(safeProduct(2, kMaxInt64 / 2), kMaxInt64 - 1);
  EXPECT_EQ(safeProduct(2, kMaxInt64 / 2 + 1), std::nullopt);
  EXPECT_EQ(safeProduct(7, kMaxInt64 / 7 + 1), std::nullopt);
  EXPECT_EQ(safeProduct(std::int64_t{1} << 32, std::int64_t{1} << 31), std::nullopt);
  EXPECT_EQ(safeProduct(kMaxInt64, kMaxInt64), std::nullopt);
}

}  // namespace
}  // namespace quillmor
