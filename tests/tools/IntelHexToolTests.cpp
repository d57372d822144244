// Intel HEX beside what srec_cat and objcopy write, and read back by both.

#include <string>
#include <vector>

#include "ToolFixture.h"
#include "support/RandomBytes.h"
#include "tools/export/IntelHexExporter.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

class IntelHexTools : public ToolFixture {
 protected:
  void exportBytes(const Bytes& bytes) const {
    write("bytes", bytes);
    TaskProgress progress;
    IntelHexExporter::write(bytes, {folder.location("ours.hex"), {}}, progress);
  }

  void expectObjcopyReads() const {
    outputOf("objcopy -I ihex -O binary ours.hex objcopy.bin");
    EXPECT_EQ(outputOf("cmp objcopy.bin bytes"), "");
  }

  void expectSrecCatReads() const {
    outputOf("srec_cat ours.hex -intel -o srec_cat.bin -binary");
    EXPECT_EQ(outputOf("cmp srec_cat.bin bytes"), "");
  }

  /// The formats agree to the byte when srec_cat puts 16 bytes into a record.
  void expectSrecCatWritesTheSame() const {
    outputOf("srec_cat bytes -binary -o srec_cat.hex -intel -obs=16");
    EXPECT_EQ(outputOf("cmp srec_cat.hex ours.hex"), "");
  }

  /// objcopy ends lines in CR and LF, and splits addresses below 1 MiB in another way: what is left
  /// are the data records.
  void expectObjcopyWritesTheSameData() const {
    outputOf("objcopy -I binary -O ihex bytes objcopy.hex");
    outputOf("tr -d '\\r' < objcopy.hex | grep '^:......00' > theirs");
    outputOf("grep '^:......00' ours.hex > ours");
    EXPECT_EQ(outputOf("cmp theirs ours"), "");
  }
};

TEST_F(IntelHexTools, agreeOnManySegments) {
  exportBytes(randomBytes(300'005, 1));
  expectObjcopyReads();
  expectSrecCatReads();
  expectSrecCatWritesTheSame();
  expectObjcopyWritesTheSameData();
}

TEST_F(IntelHexTools, agreeOnShortRecords) {
  for (const std::size_t length : {1U, 2U, 15U, 16U, 17U}) {
    SCOPED_TRACE(length);
    exportBytes(randomBytes(length, length));
    expectObjcopyReads();
    expectSrecCatReads();
    expectSrecCatWritesTheSame();
    expectObjcopyWritesTheSameData();
  }
}

TEST_F(IntelHexTools, agreeAtTheEndOfASegment) {
  for (const std::size_t length : {0xFFFFU, 0x10000U, 0x10001U, 0x10010U}) {
    SCOPED_TRACE(length);
    exportBytes(randomBytes(length, length));
    expectSrecCatReads();
    expectSrecCatWritesTheSame();
  }
}

TEST_F(IntelHexTools, agreeOnAddressesOf25Bits) {
  exportBytes(randomBytes(0x100'0021, 2));
  expectObjcopyReads();
}

TEST_F(IntelHexTools, findNothingInTheFileOfAnEmptyDocument) {
  exportBytes({});
  EXPECT_NE(outputOf("srec_info ours.hex -intel 2>&1", 1).find("file contains no data"),
            std::string::npos);
}

}  // namespace
}  // namespace quillmor::test
