// Raw copies beside cmp.

#include <cstdint>
#include <numeric>
#include <vector>

#include "ToolFixture.h"
#include "tools/export/TextExport.h"

namespace quillmor::test {
namespace {

class RawCopies : public ToolFixture {};

TEST_F(RawCopies, areTheBytesThemselves) {
  std::vector<std::uint8_t> bytes(3'000'001);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{7});
  write("original", bytes);
  TaskProgress progress;
  writeBytes(bytes, {folder.location("copy"), {}}, progress);
  EXPECT_EQ(outputOf("cmp original copy"), "");
  EXPECT_EQ(progress.fraction(), 1);
}

}  // namespace
}  // namespace quillmor::test
