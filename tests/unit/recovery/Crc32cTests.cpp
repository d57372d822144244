#include "recovery/Crc32c.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>

#include "support/FileAccessTest.h"

namespace quillmor {
namespace {

// The vectors of RFC 3720, B.4.
TEST(Crc32c, hasThePublishedValues) {
  std::array<std::uint8_t, 32> bytes{};
  EXPECT_EQ(crc32c(bytes), 0x8A9136AAu);
  bytes.fill(0xFF);
  EXPECT_EQ(crc32c(bytes), 0x62A8AB43u);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{0});
  EXPECT_EQ(crc32c(bytes), 0x46DD794Eu);
  EXPECT_EQ(crc32c(test::bytesOf("123456789")), 0xE3069283u);
  EXPECT_EQ(crc32c({}), 0u);
}

TEST(Crc32c, continuesWhereItWasLeft) {
  EXPECT_EQ(crc32c(test::bytesOf("56789"), crc32c(test::bytesOf("1234"))), 0xE3069283u);
}

}  // namespace
}  // namespace quillmor
