// Hex dumps beside those of xxd, and read back by it.

#include <string>
#include <vector>

#include "ToolFixture.h"
#include "support/RandomBytes.h"
#include "tools/export/HexDumpExporter.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Turns our lines into those that `xxd -u -g 1` writes.
constexpr const char* kAsXxd =
    "sed -E 's/^([0-9A-F]+)  (.{47})  [|](.*)[|]$/\\L\\1\\E: \\2  \\3/' ours.txt > converted.txt";

class HexDumpTools : public ToolFixture {
 protected:
  void exportBytes(const Bytes& bytes, HexSelection range) const {
    write("bytes", bytes);
    TaskProgress progress;
    HexDumpExporter::write(bytes, range, {folder.location("ours.txt"), {}}, progress);
  }

  void exportAll(const Bytes& bytes) const {
    exportBytes(bytes, {0, static_cast<std::int64_t>(bytes.size())});
  }
};

TEST_F(HexDumpTools, agreeOnEveryColumn) {
  exportAll(randomBytes(300'005, 1));
  outputOf(kAsXxd);
  EXPECT_EQ(outputOf("xxd -u -g 1 bytes | cmp - converted.txt"), "");
}

TEST_F(HexDumpTools, agreeOnShortLastLines) {
  for (const std::size_t length : {1U, 2U, 15U, 16U, 17U, 31U, 33U}) {
    exportAll(randomBytes(length, length));
    outputOf(kAsXxd);
    EXPECT_EQ(outputOf("xxd -u -g 1 bytes | cmp - converted.txt"), "") << length;
  }
}

TEST_F(HexDumpTools, agreeOnSelections) {
  exportBytes(randomBytes(100'000, 2), {1001, 70'003});
  outputOf(kAsXxd);
  EXPECT_EQ(outputOf("xxd -u -g 1 -s 1001 -l 70003 bytes | cmp - converted.txt"), "");
}

TEST_F(HexDumpTools, agreeOnOffsetsBeyond32Bits) {
  const Bytes bytes = randomBytes(16, 3);
  write("bytes", bytes);
  for (const std::int64_t offset : {0xFFFF'FFF0L, 0x1'0000'0000L, 0x123'4567'89A0L}) {
    folder.write("ours.txt", HexDumpExporter::line(bytes, offset));
    outputOf(kAsXxd);
    const std::string xxd = "xxd -u -g 1 -o " + std::to_string(offset);
    EXPECT_EQ(outputOf(xxd + " bytes | cmp - converted.txt"), "") << offset;
  }
}

TEST_F(HexDumpTools, readTheBytesBack) {
  exportAll(randomBytes(300'005, 4));
  EXPECT_EQ(outputOf("sed -E 's/  [|].*//; s/  /: /' ours.txt | xxd -r | cmp - bytes"), "");
}

}  // namespace
}  // namespace quillmor::test
