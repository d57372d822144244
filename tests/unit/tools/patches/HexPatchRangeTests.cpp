#include "tools/patches/HexPatchRange.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillmor::test {
namespace {

constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

QuillmorPatch patchAt(std::int64_t offset) {
  return {.offset = offset, .data = {1, 2, 3, 4}};
}

TEST(HexPatchRange, coversAsManyBytesAsThePatchHas) {
  EXPECT_EQ(rangeReplacedByPatch(patchAt(2), 10).value(), (HexSelection{2, 4}));
  EXPECT_EQ(rangeReplacedByPatch(patchAt(6), 10).value(), (HexSelection{6, 4}));
}

TEST(HexPatchRange, endsWithTheDocument) {
  EXPECT_EQ(rangeReplacedByPatch(patchAt(7), 10).value(), (HexSelection{7, 3}));
  EXPECT_EQ(rangeReplacedByPatch(patchAt(10), 10).value(), (HexSelection{10, 0}));
}

TEST(HexPatchRange, doesNotBeginBehindTheDocument) {
  const auto range = rangeReplacedByPatch(patchAt(11), 10);
  ASSERT_FALSE(range.isOk());
  EXPECT_EQ(range.error().code(), 2509);
  EXPECT_EQ(range.error().message(), "Patch offset is outside the file.");
}

TEST(HexPatchRange, doesNotEndBehindAllOffsets) {
  EXPECT_EQ(rangeReplacedByPatch(patchAt(kMax - 4), kMax).value(), (HexSelection{kMax - 4, 4}));
  const auto range = rangeReplacedByPatch(patchAt(kMax - 3), kMax);
  ASSERT_FALSE(range.isOk());
  EXPECT_EQ(range.error().code(), 2510);
  EXPECT_EQ(range.error().message(), "Patch range is too large.");
}

}  // namespace
}  // namespace quillmor::test
