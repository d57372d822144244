#include "base/ByteBuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "base/ByteBlock.h"

namespace quillmor {
namespace {

constexpr std::int64_t kMiB = 1024 * 1024;

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

TEST(ByteBuffer, reportsThatMemoryRanOutAndStaysAsItWas) {
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
