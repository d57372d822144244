#include "tools/edits/ByteTransforms.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "base/PieceWork.h"
#include "base/SaturatingMath.h"
#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Transform = std::function<ByteBuffer(std::span<const std::uint8_t>, TaskProgress&)>;

constexpr ByteOperation kOperations[] = {ByteOperation::exclusiveOr, ByteOperation::bitwiseAnd,
                                         ByteOperation::bitwiseOr};

/// Sizes behind the end of a piece and behind where work is shared between threads.
constexpr std::int64_t kLargeSizes[] = {kWorkPieceSize - 1, kWorkPieceSize, kWorkPieceSize + 1,
                                        2 * kWorkPieceSize + 3, kSharedWorkThreshold + 7};

/// Random bytes, made once: making them costs more than what is tested.
Bytes largeBytes(std::int64_t size) {
  static const Bytes bytes = test::randomBytes(std::ranges::max(kLargeSizes), 11);
  return {bytes.begin(), bytes.begin() + size};
}

Bytes plainlyReversed(const Bytes& bytes) {
  return {bytes.rbegin(), bytes.rend()};
}

Bytes plainlyInverted(const Bytes& bytes) {
  Bytes result(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    result[i] = static_cast<std::uint8_t>(255 - bytes[i]);
  }
  return result;
}

Bytes plainlySwapped(Bytes bytes, std::int64_t groupSize) {
  if (groupSize < 2) return bytes;
  auto group = bytes.begin();
  for (; bytes.end() - group >= groupSize; group += groupSize) {
    std::reverse(group, group + groupSize);
  }
  return bytes;
}

Bytes plainlyCombined(Bytes bytes, ByteOperation operation, const Bytes& pattern) {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const std::uint8_t with = pattern[i % pattern.size()];
    if (operation == ByteOperation::exclusiveOr) bytes[i] ^= with;
    if (operation == ByteOperation::bitwiseAnd) bytes[i] &= with;
    if (operation == ByteOperation::bitwiseOr) bytes[i] |= with;
  }
  return bytes;
}

Transform swapping(std::int64_t groupSize) {
  return [=](std::span<const std::uint8_t> bytes, TaskProgress& progress) {
    return ByteTransforms::groupsSwapped(bytes, groupSize, progress);
  };
}

Transform combining(ByteOperation operation, Bytes pattern) {
  return [=](std::span<const std::uint8_t> bytes, TaskProgress& progress) {
    return ByteTransforms::combined(bytes, operation, pattern, progress);
  };
}

Bytes run(const Transform& transform, std::span<const std::uint8_t> bytes) {
  TaskProgress progress;
  const ByteBuffer result = transform(bytes, progress);
  return {result.span().begin(), result.span().end()};
}

/// Compares without printing millions of bytes.
testing::AssertionResult same(const Bytes& actual, const Bytes& expected) {
  if (actual.size() != expected.size()) {
    return testing::AssertionFailure() << actual.size() << " bytes, not " << expected.size();
  }
  if (actual.empty() || std::memcmp(actual.data(), expected.data(), actual.size()) == 0) {
    return testing::AssertionSuccess();
  }
  const auto [at, other] = std::ranges::mismatch(actual, expected);
  return testing::AssertionFailure() << "differs at " << at - actual.begin();
}

TEST(ByteTransforms, invertsEveryByte) {
  EXPECT_EQ(run(ByteTransforms::inverted, Bytes{0x00, 0x01, 0x7F, 0x80, 0xFE, 0xFF}),
            (Bytes{0xFF, 0xFE, 0x80, 0x7F, 0x01, 0x00}));
}

TEST(ByteTransforms, restoresTheBytesWhenInvertedTwice) {
  for (const std::size_t size : {1U, 255U, 100'000U}) {
    const Bytes bytes = test::randomBytes(size, size);
    EXPECT_TRUE(same(run(ByteTransforms::inverted, run(ByteTransforms::inverted, bytes)), bytes));
  }
}

TEST(ByteTransforms, reversesTheWholeSelection) {
  EXPECT_EQ(run(ByteTransforms::reversed, Bytes{1, 2, 3, 4, 5}), (Bytes{5, 4, 3, 2, 1}));
}

TEST(ByteTransforms, swapsThreePairsOfSevenBytesAndLeavesTheLast) {
  EXPECT_EQ(run(swapping(2), Bytes{1, 2, 3, 4, 5, 6, 7}), (Bytes{2, 1, 4, 3, 6, 5, 7}));
}

TEST(ByteTransforms, swapsWordsOfFourBytesAndLeavesTheRest) {
  EXPECT_EQ(run(swapping(4), Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}),
            (Bytes{4, 3, 2, 1, 8, 7, 6, 5, 9, 10}));
}

TEST(ByteTransforms, leavesFewerBytesThanOneGroup) {
  EXPECT_EQ(run(swapping(4), Bytes{1, 2, 3}), (Bytes{1, 2, 3}));
  EXPECT_EQ(run(swapping(kMaxInt64), Bytes{1, 2, 3}), (Bytes{1, 2, 3}));
}

TEST(ByteTransforms, swapsNothingInGroupsBelowTwo) {
  for (const std::int64_t groupSize :
       {kMinInt64, std::int64_t{-2}, std::int64_t{0}, std::int64_t{1}}) {
    EXPECT_EQ(run(swapping(groupSize), Bytes{1, 2, 3, 4}), (Bytes{1, 2, 3, 4})) << groupSize;
  }
}

TEST(ByteTransforms, combineWithAPatternThatBeginsAtTheFirstByte) {
  const Bytes bytes = {0x0F, 0x0F, 0x0F, 0x0F, 0x0F};
  const Bytes pattern = {0xFF, 0x3C};
  EXPECT_EQ(run(combining(ByteOperation::exclusiveOr, pattern), bytes),
            (Bytes{0xF0, 0x33, 0xF0, 0x33, 0xF0}));
  EXPECT_EQ(run(combining(ByteOperation::bitwiseAnd, pattern), bytes),
            (Bytes{0x0F, 0x0C, 0x0F, 0x0C, 0x0F}));
  EXPECT_EQ(run(combining(ByteOperation::bitwiseOr, pattern), bytes),
            (Bytes{0xFF, 0x3F, 0xFF, 0x3F, 0xFF}));
}

TEST(ByteTransforms, changeNothingWhenCombinedWithTheNeutralByte) {
  const Bytes bytes = test::randomBytes(10'000, 3);
  EXPECT_EQ(run(combining(ByteOperation::exclusiveOr, {0x00}), bytes), bytes);
  EXPECT_EQ(run(combining(ByteOperation::bitwiseOr, {0x00}), bytes), bytes);
  EXPECT_EQ(run(combining(ByteOperation::bitwiseAnd, {0xFF}), bytes), bytes);
}

TEST(ByteTransforms, changeNothingWhenCombinedWithAnEmptyPattern) {
  const Bytes bytes = test::randomBytes(100, 3);
  for (const ByteOperation operation : kOperations) {
    EXPECT_EQ(run(combining(operation, {}), bytes), bytes);
  }
}

TEST(ByteTransforms, agreeWithPlainLoopsAtEverySmallLength) {
  GuardedBytes guarded(300);
  for (std::size_t size = 0; size <= 300; ++size) {
    const Bytes bytes = test::randomBytes(size, size);
    const auto input = guarded.atEnd(bytes);
    ASSERT_EQ(run(ByteTransforms::inverted, input), plainlyInverted(bytes)) << size;
    ASSERT_EQ(run(ByteTransforms::reversed, input), plainlyReversed(bytes)) << size;
    for (const std::int64_t groupSize : {2, 3, 4, 5, 7, 8, 16, 31, 32, 33, 64, 299, 300, 301}) {
      ASSERT_EQ(run(swapping(groupSize), input), plainlySwapped(bytes, groupSize))
          << size << " bytes in groups of " << groupSize;
    }
  }
}

TEST(ByteTransforms, agreeWithPlainLoopsAcrossPieces) {
  for (const std::int64_t size : kLargeSizes) {
    const Bytes bytes = largeBytes(size);
    EXPECT_TRUE(same(run(ByteTransforms::inverted, bytes), plainlyInverted(bytes))) << size;
    EXPECT_TRUE(same(run(ByteTransforms::reversed, bytes), plainlyReversed(bytes))) << size;
  }
}

TEST(ByteTransforms, swapGroupsThatLieAcrossPieces) {
  constexpr std::int64_t kSize = 2 * kWorkPieceSize + 3;
  const Bytes bytes = largeBytes(kSize);
  for (const std::int64_t groupSize :
       {std::int64_t{2}, std::int64_t{3}, std::int64_t{4}, std::int64_t{31}, std::int64_t{1000},
        kWorkPieceSize - 1, kWorkPieceSize, kWorkPieceSize + 1, kSize - 1, kSize, kSize + 1}) {
    EXPECT_TRUE(same(run(swapping(groupSize), bytes), plainlySwapped(bytes, groupSize)))
        << groupSize;
  }
}

TEST(ByteTransforms, swapGroupsWhenSharedBetweenThreads) {
  const Bytes bytes = largeBytes(kSharedWorkThreshold + 7);
  for (const std::int64_t groupSize :
       {std::int64_t{2}, std::int64_t{3}, std::int64_t{4}, 4 * kWorkPieceSize + 1}) {
    EXPECT_TRUE(same(run(swapping(groupSize), bytes), plainlySwapped(bytes, groupSize)))
        << groupSize;
  }
}

TEST(ByteTransforms, combineWithPatternsOfAnyLength) {
  std::vector<std::size_t> lengths = {127,  128,  255,  256,  257,   4095,
                                      4096, 4097, 8192, 8193, 50'000};
  for (std::size_t length = 1; length <= 70; ++length) lengths.push_back(length);
  for (const std::size_t length : lengths) {
    const Bytes pattern = test::randomBytes(length, length);
    for (const std::size_t size : {0U, 1U, 31U, 64U, 300U, 20'000U}) {
      const Bytes bytes = test::randomBytes(size, size);
      for (const ByteOperation operation : kOperations) {
        ASSERT_TRUE(same(run(combining(operation, pattern), bytes),
                         plainlyCombined(bytes, operation, pattern)))
            << size << " bytes with " << length;
      }
    }
  }
}

TEST(ByteTransforms, combineWithPatternsAcrossPieces) {
  constexpr std::int64_t kSize = kWorkPieceSize + 1;
  const Bytes bytes = largeBytes(kSize);
  for (const std::int64_t length : {std::int64_t{1}, std::int64_t{3}, std::int64_t{7},
                                    std::int64_t{4096}, kWorkPieceSize - 5, kSize + 1}) {
    const Bytes pattern = test::randomBytes(static_cast<std::size_t>(length), 19);
    for (const ByteOperation operation : kOperations) {
      EXPECT_TRUE(same(run(combining(operation, pattern), bytes),
                       plainlyCombined(bytes, operation, pattern)))
          << length;
    }
  }
}

TEST(ByteTransforms, combineWithPatternsWhenSharedBetweenThreads) {
  const Bytes bytes = largeBytes(kSharedWorkThreshold + 7);
  for (const std::int64_t length : {std::int64_t{7}, 3 * kWorkPieceSize + 5}) {
    const Bytes pattern = test::randomBytes(static_cast<std::size_t>(length), 19);
    EXPECT_TRUE(same(run(combining(ByteOperation::exclusiveOr, pattern), bytes),
                     plainlyCombined(bytes, ByteOperation::exclusiveOr, pattern)))
        << length;
  }
}

std::vector<Transform> everyTransform() {
  return {ByteTransforms::inverted,
          ByteTransforms::reversed,
          swapping(0),
          swapping(2),
          swapping(4),
          swapping(5),
          combining(ByteOperation::exclusiveOr, {1, 2, 3}),
          combining(ByteOperation::bitwiseAnd, {}),
          combining(ByteOperation::bitwiseOr, Bytes(20'000, 1))};
}

TEST(ByteTransforms, makeNothingOfNothing) {
  for (const Transform& transform : everyTransform()) EXPECT_TRUE(run(transform, {}).empty());
}

TEST(ByteTransforms, tellHowFarTheyAre) {
  const Bytes bytes(static_cast<std::size_t>(kSharedWorkThreshold + 1));
  for (const Transform& transform : everyTransform()) {
    TaskProgress progress;
    EXPECT_LT(progress.fraction(), 0);
    transform(bytes, progress);
    EXPECT_EQ(progress.fraction(), 1);
  }
}

TEST(ByteTransforms, stopWithoutAResult) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{3'000'000}}) {
    const Bytes bytes(size);
    for (const Transform& transform : everyTransform()) {
      TaskProgress progress;
      progress.requestStop();
      EXPECT_THAT([&] { transform(bytes, progress); },
                  testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
    }
  }
}

TEST(ByteTransforms, leaveTheirInputAlone) {
  const Bytes bytes = test::randomBytes(5000, 23);
  const ByteBuffer input{std::span<const std::uint8_t>(bytes)};
  for (const Transform& transform : everyTransform()) {
    TaskProgress progress;
    EXPECT_FALSE(transform(input.span(), progress).sharesStorageWith(input));
  }
  EXPECT_TRUE(std::ranges::equal(input.span(), bytes));
}

}  // namespace
}  // namespace quillmor
