// What the program without a window is linked with.

#include "ToolFixture.h"

namespace quillmor::test {
namespace {

class CliLinkage : public ToolFixture {};

TEST_F(CliLinkage, needsNoToolkit) {
  const std::string dynamic = outputOf("readelf -d '" QUILLMOR_CLI "'");
  EXPECT_NE(dynamic.find("NEEDED"), std::string::npos) << dynamic;
  EXPECT_EQ(dynamic.find("libQt"), std::string::npos) << dynamic;
}

}  // namespace
}  // namespace quillmor::test
