#include "search/ReplacementWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/ByteBlock.h"
#include "base/ByteUnits.h"
#include "base/SaturatingMath.h"
#include "support/ErrorMatchers.h"
#include "support/SearchFixture.h"

namespace quillmor {
namespace {

using test::searchBytes;
using testing::ElementsAre;

constexpr const char* kBeyondAddresses =
    "Replace All output offset exceeded the supported address range.";

TEST(OutputExtent, movesWhatLiesBehindReplacements) {
  OutputExtent extent(100, 10);
  EXPECT_EQ(extent.outputOffset(0), 0);
  extent.replace(10, 2, 5);
  EXPECT_EQ(extent.outputOffset(12), 15);
  extent.replace(20, 8, 0);
  EXPECT_EQ(extent.outputOffset(28), 23);
  EXPECT_EQ(extent.outputOffset(100), 95);
}

TEST(OutputExtent, allowsExactlyTheGrowthItIsGiven) {
  constexpr const char* kMessage =
      "Replace All output would grow beyond the safe per-operation limit of 10 additional bytes.";
  OutputExtent extent(100, 10);
  extent.replace(99, 1, 11);
  EXPECT_EQ(extent.outputOffset(100), 110);
  EXPECT_THAT([&] { extent.outputOffset(101); }, test::failsWith(2201, kMessage));
  OutputExtent tooMuch(100, 10);
  EXPECT_THAT([&] { tooMuch.replace(99, 1, 12); }, test::failsWith(2201, kMessage));
  EXPECT_EQ(tooMuch.outputOffset(100), 100);
  OutputExtent none(100, -5);
  EXPECT_EQ(none.outputOffset(100), 100);
  EXPECT_THAT([&] { none.outputOffset(101); },
              test::failsWith(2201,
                              "Replace All output would grow beyond the safe per-operation limit "
                              "of 0 additional bytes."));
}

TEST(OutputExtent, refusesOffsetsThatDoNotFit) {
  OutputExtent extent(100, kMaxInt64);
  extent.replace(0, 1, kMaxInt64);
  EXPECT_EQ(extent.outputOffset(1), kMaxInt64);
  EXPECT_THAT([&] { extent.outputOffset(2); }, test::failsWith(2201, kBeyondAddresses));
  EXPECT_THAT([&] { extent.replace(1, 1, 1); }, test::failsWith(2201, kBeyondAddresses));
  extent.replace(1, 1, 0);
  EXPECT_EQ(extent.outputOffset(2), kMaxInt64);
}

TEST(BookmarkCarrier, keepsThoseBeforeAndInsideOfEqualLengths) {
  BookmarkCarrier carrier({0, 5, 6, 9, 20});
  carrier.replace(5, 4, 4);
  EXPECT_THAT(carrier.finish(), ElementsAre(0, 5, 6, 9, 20));
}

TEST(BookmarkCarrier, dropsThoseOfReplacedBytesAndShiftsThoseBehind) {
  BookmarkCarrier carrier({0, 4, 5, 6, 7, 10, 11, 12, 13, 20});
  carrier.replace(5, 2, 3);
  carrier.replace(11, 2, 0);
  EXPECT_THAT(carrier.finish(), ElementsAre(0, 4, 8, 11, 12, 19));
}

TEST(BookmarkCarrier, carriesNoneAndThoseNothingIsReplacedBefore) {
  EXPECT_THAT(BookmarkCarrier({}).finish(), ElementsAre());
  EXPECT_THAT(BookmarkCarrier({3, 8}).finish(), ElementsAre(3, 8));
}

TEST(ReplacementWriter, asksWhetherToStopWhileItWrites) {
  const ByteBuffer original = ByteBuffer::filled(8 * kMiB, 'x');
  TaskProgress progress;
  progress.setTotal(8 * kMiB);
  ReplacementWriter writer(original, {}, 0, original.size(), progress);
  writer.replace(0, 1, searchBytes("y"));
  progress.requestStop();
  EXPECT_THAT([&] { writer.replace(8 * kMiB - 1, 1, searchBytes("y")); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_LE(progress.fraction(), 2.0 / 8);
}

TEST(ReplacementWriter, asksWhetherToStopWhileReplacementsAreManyOrLong) {
  const ByteBuffer original = ByteBuffer::filled(2 * kMiB, 'x');
  TaskProgress progress;
  ReplacementWriter many(original, {}, 0, original.size(), progress);
  ReplacementWriter longOnes(original, {}, 3 * kMiB, 5 * kMiB, progress);
  progress.requestStop();
  std::int64_t offset = 0;
  EXPECT_THAT(
      [&] {
        for (; offset < original.size(); ++offset) many.replace(offset, 1, searchBytes("y"));
      },
      testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
  EXPECT_LE(offset, kMiB);
  EXPECT_THAT([&] { longOnes.replace(0, 1, std::vector<std::uint8_t>(kMiB)); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
}

TEST(ReplacementWriter, tellsOfTheWholeDocument) {
  for (const bool changes : {false, true}) {
    const ByteBuffer original = ByteBuffer::filled(3 * kMiB, 'x');
    TaskProgress progress;
    progress.setTotal(6 * kMiB);
    ReplacementWriter writer(original, {}, 0, original.size(), progress);
    if (changes) writer.replace(kMiB, 1, searchBytes("y"));
    EXPECT_EQ(writer.finish().replacements, changes ? 1 : 0);
    EXPECT_EQ(progress.fraction(), 0.5);
  }
}

TEST(ReplacementWriter, givesBackRoomThatWasNotNeeded) {
  const ByteBuffer original = ByteBuffer::filled(100, 'x');
  TaskProgress progress;
  ReplacementWriter writer(original, {}, 64 * kMiB, 64 * kMiB, progress);
  writer.replace(50, 1, searchBytes("yy"));
  const ReplaceAllComputation result = writer.finish();
  EXPECT_EQ(result.bytes.size(), 101);
  EXPECT_EQ(result.bytes[49], 'x');
  EXPECT_EQ(result.bytes[50], 'y');
  EXPECT_EQ(result.bytes[52], 'x');
  // A small buffer stands in malloc's memory: a slice of it is not aligned to huge pages.
  EXPECT_NE(reinterpret_cast<std::uintptr_t>(result.bytes.data()) % (2 * kMiB), 0U);
}

}  // namespace
}  // namespace quillmor
