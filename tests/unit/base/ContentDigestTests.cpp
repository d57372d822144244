#include "base/ContentDigest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

namespace quillmor {
namespace {

std::vector<std::uint8_t> countedBytes(std::size_t count) {
  std::vector<std::uint8_t> bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
  return bytes;
}

TEST(ContentDigest, isTheSameForTheSameBytes) {
  const auto bytes = countedBytes(1000);
  const auto copy = bytes;
  EXPECT_EQ(contentDigest(bytes), contentDigest(copy));
  EXPECT_EQ(contentDigest({}), contentDigest({}));
}

TEST(ContentDigest, isWhatEarlierVersionsHaveRecorded) {
  const ContentDigest digest = contentDigest(countedBytes(1000));
  EXPECT_EQ(digest.byteCount, 1000);
  EXPECT_EQ(digest.lanes, (std::array<std::uint64_t, 4>{0xDC051014D9E604F3, 0x4AB0A16F091AEF84,
                                                        0xA804D233A16B5BC4, 0x475B3044EF70BF4F}));
}

TEST(ContentDigest, isTheSameHoweverTheBytesAreCut) {
  const auto bytes = countedBytes(1000);
  for (const std::size_t length : {1U, 7U, 31U, 32U, 33U, 64U, 999U}) {
    ContentDigester digester;
    for (std::size_t start = 0; start < bytes.size(); start += length)
      digester.append(std::span(bytes).subspan(start, std::min(length, bytes.size() - start)));
    EXPECT_EQ(digester.digest(), contentDigest(bytes)) << "pieces of " << length;
  }
}

TEST(ContentDigest, isAnotherWhenAnyBitIs) {
  for (const std::size_t count : {1U, 31U, 32U, 33U, 64U, 100U}) {
    auto bytes = countedBytes(count);
    const ContentDigest before = contentDigest(bytes);
    for (std::size_t bit = 0; bit < count * 8; ++bit) {
      const auto mask = static_cast<std::uint8_t>(1U << (bit % 8));
      bytes[bit / 8] ^= mask;
      EXPECT_NE(contentDigest(bytes), before) << count << " bytes, bit " << bit;
      bytes[bit / 8] ^= mask;
    }
  }
}

TEST(ContentDigest, isAnotherWhenBytesChangePlaces) {
  const auto bytes = countedBytes(256);
  for (std::size_t distance : {1U, 8U, 32U, 64U, 128U}) {
    auto moved = bytes;
    std::swap(moved[5], moved[5 + distance]);
    EXPECT_NE(contentDigest(moved), contentDigest(bytes)) << distance;
  }
}

TEST(ContentDigest, tellsZerosOfAnyNumberApart) {
  std::set<std::array<std::uint64_t, 4>> lanes;
  for (std::size_t count = 0; count < 100; ++count) {
    const std::vector<std::uint8_t> zeros(count);
    EXPECT_EQ(contentDigest(zeros).byteCount, static_cast<std::int64_t>(count));
    lanes.insert(contentDigest(zeros).lanes);
  }
  EXPECT_EQ(lanes.size(), 4U) << "of whole blocks, which differ in their number";
}

}  // namespace
}  // namespace quillmor
