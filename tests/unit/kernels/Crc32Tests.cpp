#include "kernels/Crc32.h"

#include <gtest/gtest.h>

#include <string_view>

#include "support/RandomBytes.h"

namespace quillmor {
namespace {

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(Crc32, hasTheCheckValuesOfTheStandard) {
  Crc32 crc;
  EXPECT_EQ(crc.value(), 0U);
  crc.add(bytesOf("123456789"));
  EXPECT_EQ(crc.value(), 0xCBF43926U);
}

TEST(Crc32, isTheSameHoweverTheBytesAreCut) {
  const auto bytes = test::randomBytes(1000, 3);
  Crc32 whole;
  whole.add(bytes);
  for (std::size_t cut = 0; cut <= bytes.size(); cut += 37) {
    Crc32 inPieces;
    inPieces.add(std::span(bytes).first(cut));
    inPieces.add(std::span(bytes).subspan(cut));
    EXPECT_EQ(inPieces.value(), whole.value()) << cut;
  }
}

}  // namespace
}  // namespace quillmor
