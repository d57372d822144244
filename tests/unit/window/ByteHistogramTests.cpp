#include "window/ByteHistogram.h"

#include <gmock/gmock.h>

#include <cmath>

#include "support/CommaLocale.h"

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kLinear = HistogramScale::linear;
constexpr auto kLogarithmic = HistogramScale::logarithmic;

/// A histogram in which only these values occur.
ByteHistogram histogramOf(std::initializer_list<std::pair<int, std::int64_t>> occurring) {
  ByteCounts counts{};
  for (const auto& [value, count] : occurring) counts[static_cast<std::size_t>(value)] = count;
  return ByteHistogram(counts);
}

TEST(ByteHistogramTest, addsUpAndFindsTheGreatestCount) {
  const auto histogram = histogramOf({{0, 5}, {0x41, 20}, {0xFF, 3}});
  EXPECT_EQ(histogram.total(), 28);
  EXPECT_EQ(histogram.maximum(), 20);
}

TEST(ByteHistogramTest, linearHeightsAreInProportion) {
  const auto histogram = histogramOf({{1, 25}, {2, 50}, {3, 100}});
  EXPECT_EQ(histogram.barHeight(0, kLinear, 200), 0);
  EXPECT_EQ(histogram.barHeight(1, kLinear, 200), 50);
  EXPECT_EQ(histogram.barHeight(2, kLinear, 200), 100);
  EXPECT_EQ(histogram.barHeight(3, kLinear, 200), 200);
}

TEST(ByteHistogramTest, logarithmicHeightsFollowTheLogarithmOfCountAndOne) {
  const auto histogram = histogramOf({{1, 9}, {2, 99}, {3, 999}});
  EXPECT_DOUBLE_EQ(histogram.fraction(9, kLogarithmic), std::log(10.0) / std::log(1000.0));
  EXPECT_EQ(histogram.barHeight(1, kLogarithmic, 300), 100);
  EXPECT_EQ(histogram.barHeight(2, kLogarithmic, 300), 200);
  EXPECT_EQ(histogram.barHeight(3, kLogarithmic, 300), 300);
  EXPECT_EQ(histogram.barHeight(4, kLogarithmic, 300), 0);
}

TEST(ByteHistogramTest, aValueThatOccursIsSeenHoweverRareItIs) {
  const auto histogram = histogramOf({{1, 1}, {2, 1'000'000'000'000}});
  EXPECT_EQ(histogram.barHeight(1, kLinear, 200), 1);
  EXPECT_EQ(histogram.barHeight(3, kLinear, 200), 0);
  EXPECT_EQ(histogram.barHeight(2, kLinear, 0), 0);
}

TEST(ByteHistogramTest, noBytesHaveNoHeightAndNoLines) {
  const auto histogram = histogramOf({});
  for (const auto scale : {kLinear, kLogarithmic}) {
    EXPECT_EQ(histogram.fraction(0, scale), 0);
    EXPECT_EQ(histogram.barHeight(0x41, scale, 200), 0);
    EXPECT_THAT(histogram.gridCounts(scale), IsEmpty());
  }
}

TEST(ByteHistogramTest, linesStandAtRoundCountsClearOfTheEnds) {
  EXPECT_THAT(histogramOf({{0, 1000}}).gridCounts(kLinear), ElementsAre(500));
  EXPECT_THAT(histogramOf({{0, 1234}}).gridCounts(kLinear), ElementsAre(500, 1000));
  EXPECT_THAT(histogramOf({{0, 800}}).gridCounts(kLinear), ElementsAre(200, 400, 600));
  // 1000 is too close to 1050, whose label it would run into.
  EXPECT_THAT(histogramOf({{0, 1050}}).gridCounts(kLinear), ElementsAre(500));
  EXPECT_THAT(histogramOf({{0, 1}}).gridCounts(kLinear), IsEmpty());
  EXPECT_THAT(histogramOf({{0, 2}}).gridCounts(kLinear), ElementsAre(1));
}

TEST(ByteHistogramTest, logarithmicLinesStandAtPowersOfTen) {
  EXPECT_THAT(histogramOf({{0, 5000}}).gridCounts(kLogarithmic), ElementsAre(10, 100, 1000));
  EXPECT_THAT(histogramOf({{0, 1000}}).gridCounts(kLogarithmic), ElementsAre(1, 10, 100));
  EXPECT_THAT(histogramOf({{0, 50'000'000}}).gridCounts(kLogarithmic),
              ElementsAre(100, 10'000, 1'000'000));
  EXPECT_THAT(histogramOf({{0, 1}}).gridCounts(kLogarithmic), IsEmpty());
  const std::int64_t most = std::numeric_limits<std::int64_t>::max();
  EXPECT_THAT(histogramOf({{0, most}}).gridCounts(kLogarithmic),
              testing::Each(testing::AllOf(testing::Gt(0), testing::Lt(most))));
}

TEST(ByteHistogramTest, namesTheValueItsCountAndItsShare) {
  const auto histogram = histogramOf({{0x00, 1}, {0x41, 1234}, {0x7F, 21'482}});
  EXPECT_EQ(histogram.description(0x41), "0x41 'A': 1,234 bytes (5.432 %)");
  EXPECT_EQ(histogram.description(0x00), "0x00: 1 byte (0.004 %)");
  EXPECT_EQ(histogram.description(0x7F), "0x7F: 21,482 bytes (94.564 %)");
  EXPECT_EQ(histogram.description(0x20), "0x20 ' ': 0 bytes (0.000 %)");
  EXPECT_EQ(histogram.description(0x1F), "0x1F: 0 bytes (0.000 %)");
  EXPECT_EQ(histogram.description(0x7E), "0x7E '~': 0 bytes (0.000 %)");
  EXPECT_EQ(histogram.description(0xFF), "0xFF: 0 bytes (0.000 %)");
  EXPECT_EQ(histogramOf({}).description(0x41), "0x41 'A': 0 bytes (0.000 %)");
}

TEST(ByteHistogramTest, writesNumbersAlikeInEveryLocale) {
  const test::CommaLocale comma;
  ASSERT_TRUE(comma.isThere());
  EXPECT_EQ(histogramOf({{0x41, 1234}, {0x7F, 21'482}}).description(0x41),
            "0x41 'A': 1,234 bytes (5.432 %)");
}

TEST(ByteHistogramTest, saysHowManyValuesOccur) {
  EXPECT_EQ(histogramOf({}).summary(), "0 bytes, 0 of 256 byte values occur");
  EXPECT_EQ(histogramOf({{7, 1}}).summary(), "1 byte, 1 of 256 byte values occur");
  EXPECT_EQ(histogramOf({{7, 1000}, {8, 1}}).summary(), "1,001 bytes, 2 of 256 byte values occur");
}

TEST(ByteHistogramTest, barsAreWholePixelsWide) {
  EXPECT_EQ(ByteHistogram::barPitch(0), 1);
  EXPECT_EQ(ByteHistogram::barPitch(255), 1);
  EXPECT_EQ(ByteHistogram::barPitch(511), 1);
  EXPECT_EQ(ByteHistogram::barPitch(512), 2);
  EXPECT_EQ(ByteHistogram::barPitch(768), 3);
}

TEST(ByteHistogramTest, findsTheValueAtAPlace) {
  EXPECT_EQ(ByteHistogram::valueAt(-0.1, 3), std::nullopt);
  EXPECT_EQ(ByteHistogram::valueAt(0, 3), 0);
  EXPECT_EQ(ByteHistogram::valueAt(2.9, 3), 0);
  EXPECT_EQ(ByteHistogram::valueAt(3, 3), 1);
  EXPECT_EQ(ByteHistogram::valueAt(767.9, 3), 255);
  EXPECT_EQ(ByteHistogram::valueAt(768, 3), std::nullopt);
  EXPECT_EQ(ByteHistogram::valueAt(std::nan(""), 3), std::nullopt);
}

}  // namespace
}  // namespace quillmor
