#include "base/ReplayedBytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <vector>

#include "support/RandomBytes.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes plain(const ByteBuffer& buffer) {
  return {buffer.span().begin(), buffer.span().end()};
}

TEST(ReplayedBytes, areEmptyAndFilledAgain) {
  ReplayedBytes bytes{ByteBuffer()};
  EXPECT_EQ(bytes.size(), 0);
  bytes.replace(0, 0, {});
  bytes.replace(0, 0, Bytes{1, 2, 3});
  bytes.replace(0, 3, {});
  EXPECT_EQ(bytes.size(), 0);
  bytes.replace(0, 0, Bytes{4});
  EXPECT_EQ(plain(bytes.take()), Bytes{4});
  EXPECT_TRUE(bytes.take().empty());
}

TEST(ReplayedBytes, agreeWithAPlainVectorAroundTheEndsOfTheirPieces) {
  constexpr unsigned kSeed = 11;
  RecordProperty("seed", static_cast<int>(kSeed));
  std::mt19937 random(kSeed);
  constexpr std::int64_t kPiece = 65536;
  Bytes expected = test::randomBytes(3 * kPiece + 5, kSeed);
  ReplayedBytes bytes{ByteBuffer(expected)};
  constexpr std::int64_t kCounts[] = {0, 1, 3, kPiece - 1, kPiece, kPiece + 1, 3 * kPiece};
  for (int round = 0; round < 500; ++round) {
    const auto size = std::ssize(expected);
    const auto near = kPiece * static_cast<std::int64_t>(random() % 5) +
                      static_cast<std::int64_t>(random() % 3) - 1;
    const auto offset = std::clamp<std::int64_t>(near, 0, size);
    const auto removed = std::min(kCounts[random() % std::size(kCounts)], size - offset);
    const bool isOverwrite = random() % 3 == 0;
    const auto inserted = test::randomBytes(
        static_cast<std::size_t>(isOverwrite ? removed : kCounts[random() % std::size(kCounts)]),
        random());
    bytes.replace(offset, removed, inserted);
    const auto at = expected.erase(expected.begin() + offset, expected.begin() + offset + removed);
    expected.insert(at, inserted.begin(), inserted.end());
    ASSERT_EQ(bytes.size(), std::ssize(expected)) << round;
    if (round % 25 != 0) continue;
    const ByteBuffer whole = bytes.take();
    ASSERT_EQ(plain(whole), expected) << round;
    bytes = ReplayedBytes(whole);
  }
}

}  // namespace
}  // namespace quillmor
