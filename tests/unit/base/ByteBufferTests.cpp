#include "base/ByteBuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "base/ByteBlock.h"
#include "base/ByteUnits.h"
#include "support/MemoryProbes.h"

namespace quillmor {
namespace {

TEST(ByteBuffer, holdsTheBytesItWasMadeOf) {
  const ByteBuffer buffer{1, 2, 3};
  EXPECT_EQ(buffer.size(), 3);
  EXPECT_EQ(buffer[0], 1);
  EXPECT_EQ(buffer[2], 3);
  EXPECT_EQ(buffer, ByteBuffer({1, 2, 3}));
  EXPECT_FALSE(buffer == ByteBuffer({1, 2, 4}));
  EXPECT_FALSE(buffer == ByteBuffer({1, 2}));
  EXPECT_TRUE(ByteBuffer().empty());
  EXPECT_EQ(ByteBuffer::filled(4, 7), ByteBuffer({7, 7, 7, 7}));
}

TEST(ByteBuffer, copyingSharesUntilOneIsChanged) {
  ByteBuffer original{1, 2, 3};
  const ByteBuffer copy = original;
  EXPECT_TRUE(copy.sharesStorageWith(original));
  EXPECT_EQ(copy.data(), original.data());
  original.set(1, 9);
  EXPECT_FALSE(copy.sharesStorageWith(original));
  EXPECT_EQ(copy, ByteBuffer({1, 2, 3}));
  EXPECT_EQ(original, ByteBuffer({1, 9, 3}));
}

TEST(ByteBuffer, changingASoleOwnerCopiesNothing) {
  ByteBuffer buffer{1, 2, 3};
  const auto* const before = buffer.data();
  buffer.set(0, 5);
  buffer.mutableSpan()[1] = 6;
  EXPECT_EQ(buffer.data(), before);
  EXPECT_EQ(buffer, ByteBuffer({5, 6, 3}));
}

TEST(ByteBuffer, slicesTheWholeBySharingAndAPartByCopying) {
  const ByteBuffer buffer{1, 2, 3, 4};
  EXPECT_TRUE(buffer.slice(0, 4).sharesStorageWith(buffer));
  const ByteBuffer part = buffer.slice(1, 2);
  EXPECT_FALSE(part.sharesStorageWith(buffer));
  EXPECT_EQ(part, ByteBuffer({2, 3}));
  EXPECT_TRUE(buffer.slice(4, 0).empty());
}

TEST(ByteBuffer, replacesInsertsErasesAppendsAndTruncates) {
  ByteBuffer buffer{1, 2, 3, 4};
  buffer.replace(1, 2, ByteBuffer{7, 8, 9}.span());
  EXPECT_EQ(buffer, ByteBuffer({1, 7, 8, 9, 4}));
  buffer.insert(0, ByteBuffer{0}.span());
  buffer.append(ByteBuffer{5}.span());
  EXPECT_EQ(buffer, ByteBuffer({0, 1, 7, 8, 9, 4, 5}));
  buffer.erase(2, 3);
  EXPECT_EQ(buffer, ByteBuffer({0, 1, 4, 5}));
  buffer.truncate(2);
  EXPECT_EQ(buffer, ByteBuffer({0, 1}));
  buffer.truncate(0);
  EXPECT_TRUE(buffer.empty());
}

TEST(ByteBuffer, insertsAPartOfItself) {
  ByteBuffer buffer{1, 2, 3, 4, 5};
  buffer.insert(2, buffer.span(1, 3));
  EXPECT_EQ(buffer, ByteBuffer({1, 2, 2, 3, 4, 3, 4, 5}));
  buffer.replace(0, 4, buffer.span());
  EXPECT_EQ(buffer, ByteBuffer({1, 2, 2, 3, 4, 3, 4, 5, 4, 3, 4, 5}));
}

TEST(ByteBuffer, hasRoomAtBothEndsOfALargeBufferFromTheStart) {
  ByteBuffer buffer = ByteBuffer::filled(8 * kMiB, 0x11);
  const auto* const before = buffer.data();
  buffer.insert(0, ByteBuffer{1}.span());
  EXPECT_EQ(buffer.data(), before - 1);
  buffer.append(ByteBuffer{2}.span());
  EXPECT_EQ(buffer.data(), before - 1);
  EXPECT_EQ(buffer[0], 1);
  EXPECT_EQ(buffer[8 * kMiB], 0x11);
  EXPECT_EQ(buffer[8 * kMiB + 1], 2);
}

TEST(ByteBuffer, movesTheShorterSide) {
  ByteBuffer buffer = ByteBuffer::filled(kMiB, 0x11);
  const auto* const before = buffer.data();
  buffer.insert(kMiB / 2 - 1, ByteBuffer{1, 2, 3}.span());
  EXPECT_EQ(buffer.data(), before - 3);
  buffer.erase(10, 5);
  EXPECT_EQ(buffer.data(), before + 2);
  buffer.erase(buffer.size() - 5, 2);
  buffer.insert(buffer.size() - 1, ByteBuffer{9}.span());
  EXPECT_EQ(buffer.data(), before + 2);
}

TEST(ByteBuffer, cuttingAnEndOfASharedBufferCopiesNothingUnlessMuchIsCut) {
  const ByteBuffer whole = ByteBuffer::filled(1000, 3);
  ByteBuffer cut = whole;
  cut.truncate(950);
  EXPECT_TRUE(cut.sharesStorageWith(whole));
  cut.erase(0, 50);
  EXPECT_TRUE(cut.sharesStorageWith(whole));
  EXPECT_EQ(cut, ByteBuffer::filled(900, 3));
  cut.truncate(400);
  EXPECT_FALSE(cut.sharesStorageWith(whole));
  EXPECT_EQ(cut, ByteBuffer::filled(400, 3));
  EXPECT_EQ(whole, ByteBuffer::filled(1000, 3));
}

TEST(ByteBuffer, emptyBuffersShareNothing) {
  EXPECT_FALSE(ByteBuffer().sharesStorageWith(ByteBuffer()));
  EXPECT_EQ(ByteBuffer(), ByteBuffer::uninitialized(0));
  EXPECT_TRUE(ByteBuffer().slice(0, 0).empty());
  ByteBuffer buffer;
  buffer.append({});
  EXPECT_TRUE(buffer.mutableSpan().empty());
  buffer.append(ByteBuffer{1}.span());
  EXPECT_EQ(buffer, ByteBuffer({1}));
}

TEST(ByteBuffer, assignmentHandlesItselfAndLeavesNothingBehind) {
  ByteBuffer buffer{1, 2};
  const ByteBuffer& same = buffer;
  buffer = same;
  EXPECT_EQ(buffer, ByteBuffer({1, 2}));
  ByteBuffer other{3};
  other = std::move(buffer);
  EXPECT_EQ(other, ByteBuffer({1, 2}));
  const ByteBuffer third(std::move(other));
  EXPECT_EQ(third, ByteBuffer({1, 2}));
}

TEST(ByteBuffer, slackIsAddressSpaceAndNotMemory) {
  constexpr std::int64_t kSize = 32 * kMiB;
  const ByteBuffer buffer = ByteBuffer::filled(kSize, 1);
  const auto* const data = buffer.data();
  EXPECT_GE(residentBytes(data, data + kSize), kSize);
  EXPECT_LE(residentBytes(data - 8 * kMiB, data), kMiB);
  EXPECT_LE(residentBytes(data + kSize, data + kSize + 8 * kMiB), 2 * kMiB);
}

TEST(ByteBuffer, givesTheMemoryOfLargeErasuresBack) {
  constexpr std::int64_t kSize = 64 * kMiB;
  ByteBuffer buffer = ByteBuffer::filled(kSize, 1);
  const auto* const begin = buffer.data();
  const auto* const end = begin + kSize;
  buffer.erase(0, 30 * kMiB);
  EXPECT_EQ(buffer.data(), begin + 30 * kMiB);
  EXPECT_LE(residentBytes(begin, end), 34 * kMiB + ByteBlock::kReleaseThreshold);
  buffer.truncate(kMiB);
  EXPECT_LE(residentBytes(begin, end), kMiB + 2 * ByteBlock::kReleaseThreshold);
  EXPECT_EQ(buffer, ByteBuffer::filled(kMiB, 1));
  // What was given back is there again when it is needed.
  const ByteBuffer inserted = ByteBuffer::filled(20 * kMiB, 2);
  buffer.insert(0, inserted.span());
  EXPECT_EQ(buffer.span(0, 20 * kMiB).data(), begin + 10 * kMiB);
  EXPECT_EQ(buffer.slice(0, 20 * kMiB), inserted);
  EXPECT_EQ(buffer.slice(20 * kMiB, kMiB), ByteBuffer::filled(kMiB, 1));
}

TEST(ByteBuffer, staysAsItWasWhenAnEditRunsOutOfMemory) {
  ByteBuffer buffer = ByteBuffer::filled(kMiB, 1);
  const ByteBuffer snapshot = buffer;
  const ByteBuffer inserted{7};
  {
    const NoMoreAddressSpace limit;
    EXPECT_THROW(buffer.insert(5, inserted.span()), std::bad_alloc);
    EXPECT_THROW(buffer.mutableSpan(), std::bad_alloc);
    EXPECT_THROW(buffer.set(0, 9), std::bad_alloc);
    EXPECT_THROW(ByteBuffer::filled(kMiB, 1), std::bad_alloc);
  }
  EXPECT_TRUE(buffer.sharesStorageWith(snapshot));
  EXPECT_EQ(buffer, ByteBuffer::filled(kMiB, 1));
  buffer.insert(5, inserted.span());
  EXPECT_EQ(buffer[5], 7);
}

TEST(ByteBuffer, reportsThatMemoryRanOut) {
  EXPECT_THROW(ByteBuffer::uninitialized(std::int64_t{1} << 62), std::bad_alloc);
  EXPECT_THROW(ByteBuffer::uninitialized(std::numeric_limits<std::int64_t>::max()), std::bad_alloc);
}

TEST(ByteBufferDeathTest, stopsTheProcessOutsideOfTheContent) {
  ByteBuffer buffer{1, 2, 3};
  EXPECT_DEATH(buffer[3], "byte offset within the buffer");
  EXPECT_DEATH(buffer[-1], "byte offset within the buffer");
  EXPECT_DEATH(buffer.set(3, 0), "byte offset within the buffer");
  EXPECT_DEATH(buffer.span(2, 2), "byte range within the buffer");
  EXPECT_DEATH(buffer.slice(1, std::numeric_limits<std::int64_t>::max()), "byte range");
  EXPECT_DEATH(buffer.erase(0, 4), "byte range within the buffer");
  EXPECT_DEATH(buffer.replace(4, 0, {}), "byte range within the buffer");
  EXPECT_DEATH(buffer.truncate(4), "truncated size within the buffer");
  EXPECT_DEATH(ByteBuffer::uninitialized(-1), "buffer size not negative");
}

}  // namespace
}  // namespace quillmor
