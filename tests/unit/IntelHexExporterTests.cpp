#include "tools/IntelHexExporter.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/FileAccessTest.h"

namespace quillmor::test {
namespace {

std::string fileOf(std::span<const std::uint8_t> bytes) {
  std::string text;
  TaskProgress progress;
  IntelHexExporter::produce(
      bytes, [&text](std::string_view piece) { text += piece; }, progress);
  return text;
}

TEST(IntelHex, ofNothingIsTheEndRecord) {
  EXPECT_EQ(fileOf({}), ":00000001FF\n");
}

TEST(IntelHex, beginsWithAnExtendedLinearAddress) {
  EXPECT_EQ(fileOf(bytesOf("Hello, Intel HEX!")),
            ":020000040000FA\n"
            ":1000000048656C6C6F2C20496E74656C20484558AF\n"
            ":0100100021CE\n"
            ":00000001FF\n");
}

}  // namespace
}  // namespace quillmor::test
