#include "window/commands/SelectionMutation.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "document/UndoRecords.h"

namespace quillmor {
namespace {

constexpr std::int64_t kInPlace = kLargestRangeWrittenInPlace;
constexpr std::int64_t kUndoLimit = UndoRecords::maxUndoSnapshotBytes;
constexpr std::int64_t kMargin = 1000;

const auto stops = testing::Throws<Error>(testing::Property(&Error::isStopped, true));

/// Bytes whose values differ from place to place, also between one MiB and the next.
ByteBuffer variedBytes(std::int64_t size) {
  ByteBuffer bytes = ByteBuffer::uninitialized(size);
  std::uint32_t state = 1;
  for (std::uint8_t& byte : bytes.mutableSpan()) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(state >> 24U);
  }
  return bytes;
}

/// The complements of the bytes of `range`: no byte stays what it is.
ByteBuffer complements(const ByteBuffer& bytes, HexSelection range) {
  ByteBuffer result = ByteBuffer::uninitialized(range.length);
  std::ranges::transform(bytes.span(range.start, range.length), result.mutableSpan().begin(),
                         [](std::uint8_t byte) { return static_cast<std::uint8_t>(~byte); });
  return result;
}

/// The document that a mutation stands for, made in the simplest way.
ByteBuffer expectedDocument(const ByteBuffer& original, HexSelection range,
                            const ByteBuffer& bytes) {
  ByteBuffer expected = original;
  expected.replace(range.start, range.length, bytes.span());
  return expected;
}

SelectionMutation prepared(const ByteBuffer& original, HexSelection range,
                           const ByteBuffer& bytes) {
  TaskProgress progress;
  return prepareMutation(original, range, bytes, progress);
}

/// Where a range of some length may lie in a document that has `kMargin` bytes beyond it.
std::vector<HexSelection> placesOf(std::int64_t length) {
  return {{0, length}, {kMargin / 2, length}, {kMargin, length}};
}

TEST(SelectionMutation, carriesTheWholeDocumentFromTheFirstByteAboveTheLimit) {
  for (const std::int64_t length : {kInPlace - 1, kInPlace, kInPlace + 1}) {
    const ByteBuffer original = variedBytes(length + kMargin);
    for (const HexSelection range : placesOf(length)) {
      const ByteBuffer bytes = complements(original, range);
      const auto mutation = prepared(original, range, bytes);
      EXPECT_FALSE(mutation.changesNothing);
      EXPECT_TRUE(mutation.bytes == bytes);
      ASSERT_TRUE(mutation.before.has_value());
      EXPECT_TRUE(*mutation.before == ByteBuffer(original.span(range.start, range.length)));
      ASSERT_EQ(mutation.document.has_value(), length > kInPlace);
      if (mutation.document) {
        EXPECT_TRUE(*mutation.document == expectedDocument(original, range, bytes));
      }
    }
  }
}

TEST(SelectionMutation, ofAllBytesIsTheNewBytesThemselves) {
  const ByteBuffer original = variedBytes(kInPlace + 1);
  const HexSelection all{0, kInPlace + 1};
  const auto mutation = prepared(original, all, complements(original, all));
  ASSERT_TRUE(mutation.document.has_value());
  EXPECT_TRUE(mutation.document->sharesStorageWith(mutation.bytes));
  EXPECT_TRUE(*mutation.document == complements(original, all));
}

TEST(SelectionMutation, leavesTheOriginalAsItIs) {
  const ByteBuffer original = variedBytes(kInPlace + kMargin);
  const HexSelection range{7, kInPlace + 1};
  const auto mutation = prepared(original, range, complements(original, range));
  EXPECT_TRUE(original == variedBytes(kInPlace + kMargin));
}

TEST(SelectionMutation, ofEqualBytesCarriesNothingMore) {
  for (const std::int64_t length : {std::int64_t{1}, kInPlace + 1}) {
    const ByteBuffer original = variedBytes(length + kMargin);
    for (const HexSelection range : placesOf(length)) {
      const auto mutation =
          prepared(original, range, ByteBuffer(original.span(range.start, length)));
      EXPECT_TRUE(mutation.changesNothing);
      EXPECT_FALSE(mutation.before.has_value());
      EXPECT_FALSE(mutation.document.has_value());
    }
  }
}

TEST(SelectionMutation, noticesOneByteThatDiffersAtEitherEnd) {
  const ByteBuffer original = variedBytes(kInPlace + kMargin);
  const HexSelection range{kMargin / 2, kInPlace + 1};
  for (const std::int64_t changed : {std::int64_t{0}, range.length - 1}) {
    ByteBuffer bytes(original.span(range.start, range.length));
    bytes.set(changed, static_cast<std::uint8_t>(~bytes[changed]));
    const auto mutation = prepared(original, range, bytes);
    EXPECT_FALSE(mutation.changesNothing);
    ASSERT_TRUE(mutation.document.has_value());
    EXPECT_TRUE(*mutation.document == expectedDocument(original, range, bytes));
  }
}

TEST(SelectionMutation, keepsTheOldBytesUpToWhatUndoHolds) {
  const ByteBuffer original = ByteBuffer::filled(kUndoLimit + kMargin, 'a');
  const auto kept =
      prepared(original, {kMargin / 2, kUndoLimit}, ByteBuffer::filled(kUndoLimit, 'b'));
  ASSERT_TRUE(kept.before.has_value());
  EXPECT_TRUE(*kept.before == ByteBuffer::filled(kUndoLimit, 'a'));
  const auto tooMuch =
      prepared(original, {kMargin / 2, kUndoLimit + 1}, ByteBuffer::filled(kUndoLimit + 1, 'b'));
  EXPECT_FALSE(tooMuch.before.has_value());
  EXPECT_FALSE(tooMuch.changesNothing);
  ASSERT_TRUE(tooMuch.document.has_value());
  EXPECT_EQ(tooMuch.document->size(), original.size());
}

TEST(SelectionMutation, stopsWithoutTouchingTheOriginal) {
  const ByteBuffer original = variedBytes(2 * kInPlace);
  const HexSelection range{kMargin, kInPlace + 1};
  const ByteBuffer bytes = complements(original, range);
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { prepareMutation(original, range, bytes, progress); }, stops);
  EXPECT_TRUE(original == variedBytes(2 * kInPlace));
  EXPECT_TRUE(bytes == complements(original, range));
}

}  // namespace
}  // namespace quillmor
