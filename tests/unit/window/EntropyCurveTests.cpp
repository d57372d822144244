#include "window/EntropyCurve.h"

#include <gmock/gmock.h>

#include <random>

#include "support/CommaLocale.h"

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Column = EntropyCurve::Column;

EntropyCurve curveOf(std::int64_t byteCount, std::vector<double> entropies) {
  return EntropyCurve({.byteCount = byteCount, .entropies = std::move(entropies)});
}

TEST(EntropyCurveTest, anEmptyMapHasNothingToShow) {
  const auto curve = curveOf(0, {});
  EXPECT_TRUE(curve.isEmpty());
  EXPECT_EQ(curve.coveredByteCount(), 0);
  EXPECT_THAT(curve.columns(700), IsEmpty());
  EXPECT_EQ(curve.chunkAt(0, 700, 0), std::nullopt);
  EXPECT_THAT(curve.offsetTicks(), IsEmpty());
  EXPECT_EQ(curve.summary(), "The document is empty.");
  EXPECT_EQ(curve.coverageNote(), "");
}

TEST(EntropyCurveTest, aChunkIsAsWideAsItsBytes) {
  // 4,096 bytes and 1,024 more: four fifths and one fifth of the plot.
  const auto curve = curveOf(4096 + 1024, {5, 1});
  const Column wide{5, 5};
  const Column narrow{1, 1};
  EXPECT_THAT(curve.columns(5), ElementsAre(wide, wide, wide, wide, narrow));
  EXPECT_THAT(curve.columns(2), ElementsAre(wide, Column({1, 5})));
}

TEST(EntropyCurveTest, aLoneByteFillsThePlot) {
  const auto curve = curveOf(1, {0});
  EXPECT_THAT(curve.columns(3), ElementsAre(Column(), Column(), Column()));
  EXPECT_EQ(curve.chunkAt(2, 3, 8), 0);
  EXPECT_EQ(curve.columnOf(0, 3), 0);
  EXPECT_EQ(curve.summary(), "1 byte in 1 chunk");
}

TEST(EntropyCurveTest, noSpikeVanishesInANarrowPlot) {
  std::vector<double> entropies(10'000, 4);
  for (const std::size_t spike : {0U, 1234U, 5000U, 9999U}) {
    std::vector<double> spiked = entropies;
    spiked[spike] = 8;
    const auto columns = curveOf(40'960'000, spiked).columns(700);
    const auto high = [](const Column& column) { return column.maximum == 8; };
    EXPECT_GE(std::count_if(columns.begin(), columns.end(), high), 1) << spike;
    spiked[spike] = 0;
    const auto low = [](const Column& column) { return column.minimum == 0; };
    const auto dented = curveOf(40'960'000, spiked).columns(700);
    EXPECT_GE(std::count_if(dented.begin(), dented.end(), low), 1) << spike;
  }
}

TEST(EntropyCurveTest, columnsHoldTheExtremesOfTheirBytes) {
  std::mt19937 random(20'24);
  std::uniform_real_distribution<double> entropy(0, 8);
  for (int round = 0; round < 40; ++round) {
    std::vector<double> entropies(1 + random() % 60);
    for (double& value : entropies) value = entropy(random);
    const auto chunks = static_cast<std::int64_t>(entropies.size());
    const std::int64_t byteCount = chunks * 4096 - static_cast<std::int64_t>(random() % 4096);
    const int width = 1 + static_cast<int>(random() % 100);
    const auto columns = curveOf(byteCount, entropies).columns(width);
    ASSERT_EQ(columns.size(), static_cast<std::size_t>(width));
    for (int c = 0; c < width; ++c) {
      Column expected{8, 0};
      for (std::int64_t byte = c * byteCount / width; byte * width < (c + 1) * byteCount; ++byte) {
        const double value = entropies[static_cast<std::size_t>(byte / 4096)];
        expected = {std::min(expected.minimum, value), std::max(expected.maximum, value)};
      }
      ASSERT_EQ(columns[static_cast<std::size_t>(c)], expected)
          << "column " << c << " of " << width << ", " << byteCount << " bytes";
    }
  }
}

TEST(EntropyCurveTest, theChunkPointedAtIsTheOneNearestInHeight) {
  const auto curve = curveOf(4 * 4096, {4, 8, 0, 4});
  EXPECT_EQ(curve.chunkAt(0, 1, 7), 1);
  EXPECT_EQ(curve.chunkAt(0, 1, 1), 2);
  EXPECT_EQ(curve.chunkAt(0, 1, 4.5), 0);
  EXPECT_EQ(curve.chunkAt(3, 4, 0), 3);
  EXPECT_EQ(curve.chunkAt(-1, 4, 0), std::nullopt);
  EXPECT_EQ(curve.chunkAt(4, 4, 0), std::nullopt);
}

TEST(EntropyCurveTest, aChunkIsFoundAgainInItsColumn) {
  std::vector<double> entropies;
  for (int i = 0; i < 3000; ++i) entropies.push_back(i % 97 * 8 / 97.0);
  const auto curve = curveOf(3000 * 4096 - 100, entropies);
  for (const int width : {700, 3000, 7001}) {
    for (std::int64_t chunk = 0; chunk < 3000; ++chunk) {
      const int column = curve.columnOf(chunk, width);
      ASSERT_EQ(curve.chunkAt(column, width, curve.entropyOf(chunk)), chunk) << width;
    }
  }
}

TEST(EntropyCurveTest, namesOffsetAndEntropy) {
  const auto curve = curveOf(3 * 4096, {0, 7.98714, 8});
  EXPECT_EQ(curve.description(0), "0x00000000: 0.0000 bits/byte");
  EXPECT_EQ(curve.description(1), "0x00001000: 7.9871 bits/byte");
  EXPECT_EQ(curve.description(2), "0x00002000: 8.0000 bits/byte");
  EXPECT_EQ(EntropyCurve::offsetOf(2), 0x2000);
}

TEST(EntropyCurveTest, writesNumbersAlikeInEveryLocale) {
  const test::CommaLocale comma;
  ASSERT_TRUE(comma.isThere());
  EXPECT_EQ(curveOf(4096, {7.5}).description(0), "0x00000000: 7.5000 bits/byte");
}

TEST(EntropyCurveTest, ticksStandAtRoundOffsets) {
  EXPECT_THAT(curveOf(4096, {1}).offsetTicks(), ElementsAre(0, 1024, 2048, 3072, 4096));
  EXPECT_THAT(curveOf(4097, {1, 0}).offsetTicks(), ElementsAre(0, 1024, 2048, 3072, 4096));
  EXPECT_THAT(curveOf(1, {0}).offsetTicks(), ElementsAre(0, 1));
  for (std::int64_t chunks = 1; chunks <= 10'000; chunks += 37) {
    std::vector<double> entropies(static_cast<std::size_t>(chunks), 1);
    const auto ticks = curveOf(chunks * 4096, std::move(entropies)).offsetTicks();
    ASSERT_GE(ticks.size(), 4U);
    ASSERT_LE(ticks.size(), 8U);
  }
}

TEST(EntropyCurveTest, saysWhenItCoversAPartOnly) {
  const std::vector<double> most(10'000, 1);
  EXPECT_EQ(curveOf(40'960'000, most).coverageNote(), "");
  EXPECT_EQ(curveOf(40'960'000, most).summary(), "40,960,000 bytes in 10,000 chunks");
  const auto curve = curveOf(40'960'001, most);
  EXPECT_EQ(curve.coveredByteCount(), 40'960'000);
  EXPECT_EQ(curve.coverageNote(), "The map covers the first 40,960,000 of 40,960,001 bytes.");
}

}  // namespace
}  // namespace quillmor
