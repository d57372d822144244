#include "kernels/ByteSum.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/RandomBytes.h"

namespace quillmor {
namespace {

TEST(ByteSum, isTakenModulo256) {
  EXPECT_EQ(byteSum({}), 0);
  EXPECT_EQ(byteSum(std::vector<std::uint8_t>{0xFF}), 0xFF);
  EXPECT_EQ(byteSum(std::vector<std::uint8_t>{0xFF, 0x02}), 0x01);
}

TEST(ByteSum, countsEveryByteAtAnyLength) {
  for (std::size_t size = 0; size < 300; ++size) {
    const auto bytes = test::randomBytes(size, size);
    std::uint8_t expected = 0;
    for (const std::uint8_t byte : bytes) expected = static_cast<std::uint8_t>(expected + byte);
    EXPECT_EQ(byteSum(bytes), expected) << size;
  }
}

}  // namespace
}  // namespace quillmor
