#include "kernels/ByteMasks.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <vector>

#include "support/GuardedBytes.h"
#include "support/RandomBytes.h"
#include "tools/analysis/ByteDifferences.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Span = std::span<const std::uint8_t>;
using Masks = std::vector<std::uint64_t>;

constexpr std::size_t kMaxLength = 300;
constexpr std::uint64_t kUntouched = 0xA5A5A5A5A5A5A5A5;

template <typename Has>
Masks masksOf(std::size_t count, Has has) {
  Masks masks(byteMaskCount(count));
  for (std::size_t i = 0; i < count; ++i) {
    if (has(i)) masks[i / 64] |= std::uint64_t{1} << i % 64;
  }
  return masks;
}

Masks printableOf(Span bytes) {
  return masksOf(bytes.size(), [&](std::size_t i) { return bytes[i] >= 0x20 && bytes[i] <= 0x7E; });
}

Masks differingOf(Span a, Span b) {
  return masksOf(a.size(), [&](std::size_t i) { return a[i] != b[i]; });
}

std::size_t differenceCount(Span a, Span b) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) count += a[i] != b[i] ? 1 : 0;
  return count;
}

/// One of every so many bytes is another, seldom by more than a bit.
Bytes variation(Span bytes, std::size_t every, std::uint64_t seed) {
  Bytes varied(bytes.begin(), bytes.end());
  const Bytes random = test::randomBytes(bytes.size() * 2, seed);
  for (std::size_t i = 0; i < varied.size(); ++i) {
    if (random[2 * i] % every != 0) continue;
    const int bit = random[2 * i + 1] % 8;
    varied[i] = static_cast<std::uint8_t>(varied[i] ^ 1U << bit);
  }
  return varied;
}

class ByteMasks : public testing::TestWithParam<const ByteMaskKernels*> {
 protected:
  /// The masks, when nothing was written behind them.
  template <typename Write>
  static Masks written(std::size_t count, Write write) {
    Masks masks(byteMaskCount(count) + 1, kUntouched);
    write(masks.data());
    EXPECT_EQ(masks.back(), kUntouched);
    masks.pop_back();
    return masks;
  }

  Masks printable(Span bytes) const {
    return written(bytes.size(), [&](std::uint64_t* masks) {
      kernels.printable(masks, bytes.data(), bytes.size());
    });
  }

  void expectComparison(Span a, Span b) const {
    const Masks masks = written(
        a.size(), [&](std::uint64_t* to) { kernels.differing(to, a.data(), b.data(), a.size()); });
    ASSERT_EQ(masks, differingOf(a, b)) << a.size();
    ASSERT_EQ(kernels.countDiffering(a.data(), b.data(), a.size()), differenceCount(a, b))
        << a.size();
  }

  const ByteMaskKernels& kernels = *GetParam();
};

TEST_P(ByteMasks, tellAllValuesApart) {
  Bytes bytes(256);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(i);
  // 0x20...0x3F, then 0x40...0x7E, and nothing from 0x80 on.
  EXPECT_EQ(printable(bytes), (Masks{0xFFFFFFFF00000000, 0x7FFFFFFFFFFFFFFF, 0, 0}));
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    expectComparison(bytes, Bytes(bytes.size(), static_cast<std::uint8_t>(i)));
  }
}

TEST_P(ByteMasks, tellEveryPairOfValuesAtNeighbouringPlaces) {
  Bytes pairs;
  for (int first = 0; first < 256; ++first) {
    for (int second = 0; second < 256; ++second) {
      pairs.push_back(static_cast<std::uint8_t>(first));
      pairs.push_back(static_cast<std::uint8_t>(second));
    }
  }
  EXPECT_TRUE(printable(pairs) == printableOf(pairs));
  expectComparison(pairs, variation(pairs, 2, 1));
}

TEST_P(ByteMasks, agreeWithPlainLoopsAtEveryLengthWithoutLeavingTheirMemory) {
  GuardedBytes guardedA(kMaxLength);
  GuardedBytes guardedB(kMaxLength);
  for (std::size_t length = 0; length <= kMaxLength; ++length) {
    const Bytes a = test::randomBytes(length, length);
    const Bytes b = variation(a, length % 5 + 1, length);
    ASSERT_EQ(printable(guardedA.atEnd(a)), printableOf(a)) << length;
    ASSERT_EQ(printable(guardedA.atStart(a)), printableOf(a)) << length;
    expectComparison(guardedA.atEnd(a), guardedB.atEnd(b));
    expectComparison(guardedA.atStart(a), guardedB.atStart(b));
    expectComparison(guardedA.atStart(a), guardedB.atEnd(b));
  }
}

TEST_P(ByteMasks, agreeWithPlainLoopsAtEveryAlignment) {
  constexpr std::size_t kLength = 200;
  constexpr std::size_t kAlignments = 65;
  const Bytes a = test::randomBytes(kLength + kAlignments, 3);
  const Bytes b = test::randomBytes(kLength + kAlignments, 4);
  for (std::size_t i = 0; i < kAlignments; ++i) {
    const Span first = Span(a).subspan(i, kLength);
    ASSERT_EQ(printable(first), printableOf(first)) << i;
    for (std::size_t j = 0; j < kAlignments; ++j) {
      expectComparison(first, Span(b).subspan(j, kLength));
    }
  }
}

TEST_P(ByteMasks, countMoreDifferencesAndMoreEqualBytesThanALaneCan) {
  const std::size_t size = std::size_t{64} * 1024 + 77;
  const Bytes a(size, 0x41);
  expectComparison(a, Bytes(size, 0x42));
  expectComparison(a, a);
  expectComparison(a, variation(a, 100, 9));
  for (const std::size_t blocks : {254U, 255U, 256U, 509U, 510U, 511U}) {
    for (const std::size_t lanes : {8U, 16U, 32U}) {
      const Span first = Span(a).first(blocks * lanes);
      ASSERT_EQ(kernels.countDiffering(first.data(), first.data(), first.size()), 0U);
    }
  }
}

TEST(ByteMaskKernels, offerThePortableOnesEverywhereAndTheBestOnesLast) {
  const auto available = availableByteMaskKernels();
  ASSERT_FALSE(available.empty());
  EXPECT_STREQ(available.front()->name, "portable");
  EXPECT_EQ(available.back(), &fastestByteMaskKernels());
}

class ByteDifferences : public testing::Test {
 protected:
  /// The places that are named until the stop that `action` may ask for at one of them.
  template <typename Action>
  std::vector<std::size_t> found(Action action) {
    std::vector<std::size_t> all;
    const auto add = [&](std::size_t begin, std::uint64_t mask) {
      forEachBit(mask, [&](int bit) { all.push_back(begin + static_cast<std::size_t>(bit)); });
      action(begin);
    };
    try {
      forEachDifference(a.data(), b.data(), a.size(), progress, add);
    } catch (const Error& error) {
      EXPECT_TRUE(error.isStopped());
      all.push_back(kStopped);
    }
    return all;
  }

  void SetUp() override {
    for (const std::size_t place : places) b[place] = 8;
  }

  static constexpr std::size_t kStopped = 999'999'999;
  const Bytes a = Bytes(3 * kMaskedPieceSize + 70, 7);
  Bytes b = a;
  std::vector<std::size_t> places = {0,
                                     63,
                                     64,
                                     kMaskedPieceSize - 1,
                                     kMaskedPieceSize,
                                     2 * kMaskedPieceSize + 5,
                                     a.size() - 2,
                                     a.size() - 1};
  TaskProgress progress;
};

TEST_F(ByteDifferences, nameThePlacesInOrder) {
  EXPECT_EQ(found([](std::size_t) {}), places);
}

TEST_F(ByteDifferences, stopBeforeTheNextPiece) {
  const auto stop = [&](std::size_t begin) {
    if (begin == kMaskedPieceSize) progress.requestStop();
  };
  places.resize(6);
  places.back() = kStopped;
  EXPECT_EQ(found(stop), places);
}

INSTANTIATE_TEST_SUITE_P(AllKernels, ByteMasks, testing::ValuesIn(availableByteMaskKernels()),
                         [](const auto& kernels) { return std::string(kernels.param->name); });

}  // namespace
}  // namespace quillmor
