#include "window/GroupedDecimal.h"

#include <gtest/gtest.h>

#include <limits>

namespace quillmor {
namespace {

TEST(GroupedDecimal, setsACommaBeforeEveryThreeDigits) {
  EXPECT_EQ(groupedDecimal(0), "0");
  EXPECT_EQ(groupedDecimal(7), "7");
  EXPECT_EQ(groupedDecimal(999), "999");
  EXPECT_EQ(groupedDecimal(1000), "1,000");
  EXPECT_EQ(groupedDecimal(999'999), "999,999");
  EXPECT_EQ(groupedDecimal(1'000'000), "1,000,000");
  EXPECT_EQ(groupedDecimal(40'960'000), "40,960,000");
  EXPECT_EQ(groupedDecimal(std::numeric_limits<std::int64_t>::max()), "9,223,372,036,854,775,807");
}

}  // namespace
}  // namespace quillmor
