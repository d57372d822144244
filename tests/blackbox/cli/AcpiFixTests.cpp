// acpi-fix.

#include "blackbox/cli/ChangeTest.h"
#include "support/AcpiTableBytes.h"

namespace quillmor::test {
namespace {

class CliAcpiFixTest : public ChangeTest {
 protected:
  const Arguments fix = {"acpi-fix", "in.bin"};
};

std::string table(std::uint8_t checksum, std::uint8_t sum) {
  return content(acpiTable("DSDT", 40, checksum, sum));
}

std::string withByteAt9(std::string bytes, char value) {
  bytes.at(9) = value;
  return bytes;
}

TEST_F(CliAcpiFixTest, theChecksumByteTakesUpTheSum) {
  const std::string input = table(0x10, 0x05);
  expectChange(fix, input, "Checksum byte updated: 0x10 -> 0x0B", withByteAt9(input, '\x0B'));
}

TEST_F(CliAcpiFixTest, theChecksumByteWrapsAround) {
  const std::string input = table(0x02, 0x05);
  expectChange(fix, input, "Checksum byte updated: 0x02 -> 0xFD", withByteAt9(input, '\xFD'));
}

TEST_F(CliAcpiFixTest, bytesBehindTheTableCountForNothing) {
  const std::string input = table(0x10, 0x05) + "tail";
  expectChange(fix, input, "Checksum byte updated: 0x10 -> 0x0B", withByteAt9(input, '\x0B'));
}

TEST_F(CliAcpiFixTest, aValidTableStaysAsItIs) {
  const std::string input = table(0x10, 0x00);
  expectChange(fix, input, "Checksum is already valid: 0x10", input);
}

TEST_F(CliAcpiFixTest, theFixedTableIsValid) {
  folder.write("in.bin", table(0x7F, 0x80));
  EXPECT_EQ(run({"acpi-validate", "in.bin"}).status, 1);
  EXPECT_EQ(run({"acpi-fix", "in.bin", "--in-place"}).status, 0);
  EXPECT_EQ(run({"acpi-validate", "in.bin"}).status, 0);
}

TEST_F(CliAcpiFixTest, whatIsNoTableIsRefused) {
  constexpr const char* kNoTable =
      "This does not look like a valid ACPI System Description Table header.";
  expectRefusal(fix, "", kNoTable);
  expectRefusal(fix, "DSDT", kNoTable);
  expectRefusal(fix, content(acpiStructure("DSDT", 36, 35)), kNoTable);
  expectRefusal(fix, content(acpiStructure("DSDT", 35, 36)), kNoTable);
  expectRefusal(fix, content(acpiStructure("DSDT", 37, 36)), kNoTable);
  expectRefusal(fix, content(acpiStructure("DS T", 36, 36)), kNoTable);
}

TEST_F(CliAcpiFixTest, aFacsHasNoChecksumToFix) {
  expectRefusal(fix, content(acpiStructure("FACS", 64, 64)),
                "FACS does not have the standard ACPI System Description Table checksum byte. No "
                "data was modified.");
}

}  // namespace
}  // namespace quillmor::test
