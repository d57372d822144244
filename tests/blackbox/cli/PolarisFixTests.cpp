// polaris-fix, and what makes it and rx580 refuse a ROM.

#include "blackbox/cli/ChangeTest.h"
#include "support/OptionRomBuilder.h"

namespace quillmor::test {
namespace {

class CliPolarisFixTest : public ChangeTest {
 protected:
  /// Both commands refuse a ROM alike.
  void expectRefusals(const OptionRomBuilder& rom, const std::string& message) const {
    for (const Arguments& arguments :
         {Arguments{"polaris-fix", "in.bin"}, Arguments{"rx580", "in.bin"},
          Arguments{"rx580", "in.bin", "--fix-checksum"}})
      expectRefusal(arguments, content(rom.bytes()), message);
  }

  const Arguments fix = {"polaris-fix", "in.bin"};
};

/// A ROM of two units with its structure at 0x40.
OptionRomBuilder validRom() {
  return OptionRomBuilder(1024).at(0x02, {2}).pcir(0x40);
}

std::string romSummingTo(int sum, int checksum) {
  return content(validRom().at(0x21, {checksum}).summingTo(sum, 1024, 1023).bytes());
}

std::string withChecksum(std::string rom, char value) {
  rom.at(0x21) = value;
  return rom;
}

TEST_F(CliPolarisFixTest, theChecksumByteTakesUpTheSum) {
  const std::string input = romSummingTo(0x05, 0x10);
  expectChange(fix, input,
               "Polaris checksum: Checksum fixed.\n"
               "ROM image size: 1024 bytes\n"
               "Checksum offset: 0x00000021\n"
               "Old checksum byte: 0x10\n"
               "New checksum byte: 0x0B\n"
               "Sum before: 0x05\n"
               "Sum after: 0x00",
               withChecksum(input, '\x0B'));
}

TEST_F(CliPolarisFixTest, theChecksumByteWrapsAround) {
  const std::string input = romSummingTo(0x05, 0x02);
  expectChange(fix, input,
               "Polaris checksum: Checksum fixed.\n"
               "ROM image size: 1024 bytes\n"
               "Checksum offset: 0x00000021\n"
               "Old checksum byte: 0x02\n"
               "New checksum byte: 0xFD\n"
               "Sum before: 0x05\n"
               "Sum after: 0x00",
               withChecksum(input, '\xFD'));
}

TEST_F(CliPolarisFixTest, aValidRomStaysAsItIs) {
  // What follows the first image is not summed.
  const std::string input = romSummingTo(0x00, 0x10) + "another image";
  expectChange(fix, input,
               "Polaris checksum: Checksum already valid; no byte change was needed.\n"
               "ROM image size: 1024 bytes\n"
               "Checksum offset: 0x00000021\n"
               "Old checksum byte: 0x10\n"
               "New checksum byte: 0x10\n"
               "Sum before: 0x00\n"
               "Sum after: 0x00",
               input);
}

TEST_F(CliPolarisFixTest, theFixedRomIsValid) {
  folder.write("in.bin", romSummingTo(0x81, 0x42));
  EXPECT_EQ(run({"polaris-validate", "in.bin"}).status, 1);
  EXPECT_EQ(run({"polaris-fix", "in.bin", "--in-place"}).status, 0);
  EXPECT_EQ(run({"polaris-validate", "in.bin"}).status, 0);
}

TEST_F(CliPolarisFixTest, headersThatMakeNoSenseAreRefused) {
  expectRefusals(validRom().cutTo(33),
                 "The file is too small to contain a valid PCI option ROM header.");
  expectRefusals(validRom().at(0x00, {0x55, 0xAB}),
                 "This file does not start with the PCI option ROM signature 55 AA. The preset was "
                 "not applied.");
  expectRefusals(validRom().at(0x02, {0}).cutTo(34),
                 "Invalid ROM size at offset 0x02. The size field is zero.");
  expectRefusals(validRom().at(0x02, {1}).cutTo(511),
                 "Invalid ROM size at offset 0x02. The header reports 512 bytes, but the file has "
                 "only 511 bytes.");
}

TEST_F(CliPolarisFixTest, structuresThatMakeNoSenseAreRefused) {
  constexpr const char* kNoStructure =
      "The first PCI ROM image does not contain a complete PCIR structure at its declared offset. "
      "The Polaris preset was not applied.";
  constexpr const char* kWrongLength =
      "The PCIR structure length is invalid or extends beyond the first legacy ROM image. The "
      "Polaris preset was not applied.";
  expectRefusals(validRom().text(0x40, "PCIX"), kNoStructure);
  expectRefusals(OptionRomBuilder(1025).at(0x02, {2}).pcir(1024 - 23), kNoStructure);
  expectRefusals(validRom().length(23), kWrongLength);
  expectRefusals(validRom().length(1024 - 0x40 + 1), kWrongLength);
  expectRefusals(validRom().units(3),
                 "The legacy ROM size at offset 0x02 does not match the image length declared by "
                 "PCIR. The Polaris preset was not applied.");
}

TEST_F(CliPolarisFixTest, romsOfAnotherKindAreRefused) {
  expectRefusals(validRom().codeType(3),
                 "The first PCI ROM image has PCIR code type 0x03 instead of the required legacy "
                 "PC-AT type 0x00. The Polaris preset was not applied.");
  expectRefusals(OptionRomBuilder(1024).at(0x02, {2}).pcir(0x1C),
                 "The Polaris checksum byte at offset 0x21 overlaps the declared PCIR structure. "
                 "The ROM is not safe for this preset and was not modified.");
  expectRefusals(validRom().vendor(0x10DE),
                 "The first PCI ROM image belongs to vendor 0x10DE, not AMD (0x1002). The Polaris "
                 "preset was not applied.");
}

}  // namespace
}  // namespace quillmor::test
