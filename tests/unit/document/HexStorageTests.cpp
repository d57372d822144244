#include "document/HexStorage.h"

#include <gtest/gtest.h>

#include "base/SaturatingMath.h"
#include "document/QuillmorResourceLimits.h"

namespace quillmor {
namespace {

HexStorage storageOfTwelve() {
  return {.bytes = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
}

TEST(HexSelection, clipsIntoTheData) {
  const auto clipped = [](std::int64_t start, std::int64_t length, std::int64_t count) {
    return HexSelection{start, length}.normalized(count);
  };
  EXPECT_EQ(clipped(0, 0, 12), (HexSelection{0, 0}));
  EXPECT_EQ(clipped(0, 0, 0), (HexSelection{0, 0}));
  EXPECT_EQ(clipped(10, 5, 12), (HexSelection{10, 2}));
  EXPECT_EQ(clipped(20, 5, 12), (HexSelection{12, 0}));
  EXPECT_EQ(clipped(-3, 5, 12), (HexSelection{0, 2}));
  EXPECT_EQ(clipped(-5, 10, 12), (HexSelection{0, 5}));
  EXPECT_EQ(clipped(-5, 3, 12), (HexSelection{0, 0}));
  EXPECT_EQ(clipped(5, -4, 12), (HexSelection{5, 0}));
  EXPECT_EQ(clipped(3, 2, 0), (HexSelection{0, 0}));
}

TEST(HexSelection, neverOverflows) {
  EXPECT_EQ((HexSelection{5, kMaxInt64}.normalized(12)), (HexSelection{5, 7}));
  EXPECT_EQ((HexSelection{kMaxInt64, kMaxInt64}.normalized(12)), (HexSelection{12, 0}));
  EXPECT_EQ((HexSelection{kMinInt64, kMaxInt64}.normalized(12)), (HexSelection{0, 0}));
  EXPECT_EQ((HexSelection{kMaxInt64 - 1, kMaxInt64}.normalized(kMaxInt64)),
            (HexSelection{kMaxInt64 - 1, 1}));
  EXPECT_EQ((HexSelection{kMinInt64, kMinInt64}.normalized(12)), (HexSelection{0, 0}));
}

TEST(HexSelection, isEqualFieldByField) {
  EXPECT_EQ((HexSelection{1, 2}), (HexSelection{1, 2}));
  EXPECT_NE((HexSelection{1, 2}), (HexSelection{2, 2}));
  EXPECT_NE((HexSelection{1, 2}), (HexSelection{1, 3}));
}

TEST(HexStorage, slicesTheNormalisedRange) {
  const HexStorage storage = storageOfTwelve();
  EXPECT_TRUE(storage.slice({0, 0}).empty());
  EXPECT_TRUE(storage.slice({20, 5}).empty());
  EXPECT_EQ(storage.slice({10, 5}), ByteBuffer({10, 11}));
  EXPECT_EQ(storage.slice({-3, 5}), ByteBuffer({0, 1}));
}

TEST(HexStorage, sharesASliceOfTheWhole) {
  const HexStorage storage = storageOfTwelve();
  EXPECT_TRUE(storage.slice({0, 12}).sharesStorageWith(storage.bytes));
  EXPECT_TRUE(storage.slice({-5, kMaxInt64}).sharesStorageWith(storage.bytes));
  EXPECT_FALSE(storage.slice({0, 11}).sharesStorageWith(storage.bytes));
}

TEST(HexStorage, deletesTheNormalisedRange) {
  HexStorage storage = storageOfTwelve();
  storage.delete_({0, 0});
  storage.delete_({5, -4});
  storage.delete_({12, 3});
  EXPECT_EQ(storage.bytes, storageOfTwelve().bytes);
  storage.delete_({2, 8});
  EXPECT_EQ(storage.bytes, ByteBuffer({0, 1, 10, 11}));
  storage.delete_({3, kMaxInt64});
  EXPECT_EQ(storage.bytes, ByteBuffer({0, 1, 10}));
}

TEST(HexStorage, comparesTheNormalisedRange) {
  const HexStorage storage = storageOfTwelve();
  EXPECT_TRUE(storage.bytesEqual({10, 2}, ByteBuffer{10, 11}.span()));
  EXPECT_TRUE(storage.bytesEqual({10, 99}, ByteBuffer{10, 11}.span()));
  EXPECT_FALSE(storage.bytesEqual({10, 2}, ByteBuffer{10, 12}.span()));
  EXPECT_FALSE(storage.bytesEqual({10, 5}, ByteBuffer{10, 11, 0, 0, 0}.span()));
  EXPECT_TRUE(storage.bytesEqual({40, 2}, {}));
  EXPECT_TRUE(HexStorage{}.bytesEqual({0, 0}, {}));
}

TEST(QuillmorResourceLimits, followsPhysicalMemory) {
  using QuillmorResourceLimits::maximumDocumentByteCountFor;
  EXPECT_EQ(maximumDocumentByteCountFor(0), 268435456);
  EXPECT_EQ(maximumDocumentByteCountFor(3221225472U), 268435456);
  EXPECT_EQ(maximumDocumentByteCountFor(4294967295U), 268435456);
  EXPECT_EQ(maximumDocumentByteCountFor(4294967296U), 268435456);
  EXPECT_EQ(maximumDocumentByteCountFor(8589934592U), 536870912);
  EXPECT_EQ(maximumDocumentByteCountFor(17179869184U), 1073741824);
  EXPECT_EQ(maximumDocumentByteCountFor(68719476736U), 1073741824);
  EXPECT_EQ(maximumDocumentByteCountFor(~std::uint64_t{0}), 1073741824);
}

TEST(QuillmorResourceLimits, isTheSameForTheLifeOfTheProcess) {
  const auto limit = QuillmorResourceLimits::maximumDocumentByteCount();
  EXPECT_GE(limit, 268435456);
  EXPECT_LE(limit, 1073741824);
  EXPECT_EQ(QuillmorResourceLimits::maximumDocumentByteCount(), limit);
}

}  // namespace
}  // namespace quillmor
