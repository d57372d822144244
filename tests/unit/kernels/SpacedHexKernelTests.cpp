#include "kernels/SpacedHexKernel.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "support/RandomBytes.h"

namespace quillmor {
namespace {

TEST(SpacedHexKernels, writeTheSameTextAtEveryLength) {
  for (std::size_t size = 0; size < 300; ++size) {
    const auto bytes = test::randomBytes(size, size);
    for (const std::string_view digits : {"0123456789ABCDEF", "0123456789abcdef"}) {
      for (const char separator : {' ', ':', '\n', '\xFF', '\0'}) {
        std::string expected;
        for (const std::uint8_t byte : bytes) {
          expected += {digits[byte / 16], digits[byte % 16], separator};
        }
        for (const SpacedHexKernel* kernel : availableSpacedHexKernels()) {
          // One character more shows whether one is written after the end.
          std::string text(expected.size() + 1, '?');
          char* const end = kernel->write(text.data(), bytes, digits, separator);
          EXPECT_EQ(end, text.data() + expected.size()) << kernel->name;
          ASSERT_EQ(text, expected + '?') << kernel->name << " " << size;
        }
      }
    }
  }
}

TEST(SpacedHexKernels, offerThePortableOneEverywhereAndTheBestOneLast) {
  const auto available = availableSpacedHexKernels();
  ASSERT_FALSE(available.empty());
  EXPECT_STREQ(available.front()->name, "portable");
  EXPECT_EQ(available.back(), &fastestSpacedHexKernel());
}

}  // namespace
}  // namespace quillmor
