#include "tools/DataInspector.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace quillmor {
namespace {

using DataInspector::inspectorText;

const std::vector<std::uint8_t> kBytes = {0x01, 0x02, 0x80, 0xFF, 0x00};

TEST(InspectorText, readsAllWidthsWhenFourBytesRemain) {
  EXPECT_EQ(inspectorText(kBytes, 0),
            "UInt8: 1  |  Int8: 1  |  Hex: 0x01  |  U16LE: 0x0201  |  U16BE: 0x0102  |  "
            "U32LE: 0xFF800201  |  U32BE: 0x010280FF");
  EXPECT_EQ(inspectorText(kBytes, 1),
            "UInt8: 2  |  Int8: 2  |  Hex: 0x02  |  U16LE: 0x8002  |  U16BE: 0x0280  |  "
            "U32LE: 0x00FF8002  |  U32BE: 0x0280FF00");
}

TEST(InspectorText, leavesOutWidthsThatReachBehindTheEnd) {
  EXPECT_EQ(inspectorText(kBytes, 2),
            "UInt8: 128  |  Int8: -128  |  Hex: 0x80  |  U16LE: 0xFF80  |  U16BE: 0x80FF");
  EXPECT_EQ(inspectorText(kBytes, 3),
            "UInt8: 255  |  Int8: -1  |  Hex: 0xFF  |  U16LE: 0x00FF  |  U16BE: 0xFF00");
  EXPECT_EQ(inspectorText(kBytes, 4), "UInt8: 0  |  Int8: 0  |  Hex: 0x00");
}

TEST(InspectorText, isEofOutsideTheBytes) {
  EXPECT_EQ(inspectorText(kBytes, 5), "EOF");
  EXPECT_EQ(inspectorText(kBytes, -1), "EOF");
  EXPECT_EQ(inspectorText(kBytes, std::numeric_limits<std::int64_t>::max()), "EOF");
  EXPECT_EQ(inspectorText(kBytes, std::numeric_limits<std::int64_t>::min()), "EOF");
  EXPECT_EQ(inspectorText({}, 0), "EOF");
}

}  // namespace
}  // namespace quillmor
