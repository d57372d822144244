// pci-rom, acpi-validate and polaris-validate.

#include "blackbox/cli/CliTest.h"
#include "support/AcpiTableBytes.h"
#include "support/OptionRomBuilder.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Rom = OptionRomBuilder;

class CliFirmwareTest : public CliTest {
 protected:
  void write(const Bytes& bytes) const {
    folder.write("a.rom", std::string(bytes.begin(), bytes.end()));
  }

  void expectReport(const std::string& command, const Bytes& bytes, int status,
                    const std::string& report) const {
    write(bytes);
    expectOutput({command, "a.rom"}, status, report);
  }

  void expectRefusal(const std::string& command, const Bytes& bytes,
                     const std::string& message) const {
    write(bytes);
    expectFailure({command, "a.rom"}, message);
  }
};

// --- pci-rom --------------------------------------------------------------------------------

constexpr const char* kNoRom = "Not a PCI Option ROM: missing 55 AA signature.\n";

TEST_F(CliFirmwareTest, pciRomNeedsASignature) {
  expectReport("pci-rom", {}, 1, kNoRom);
  expectReport("pci-rom", Rom(27).bytes(), 1, kNoRom);
  expectReport("pci-rom", Rom(28).at(0, {0x56}).bytes(), 1, kNoRom);
}

TEST_F(CliFirmwareTest, pciRomWithASignatureIsReportedOn) {
  expectReport("pci-rom", Rom(28).bytes(), 0,
               "PCI Option ROM\nFile size: 28 bytes\nPCIR offset: 0x0000\n"
               "PCIR structure was not found at the declared offset. A reliable image size cannot "
               "be derived from the generic legacy header.\n");
  expectReport("pci-rom", Rom(1024).pcir(0x40).bytes(), 0,
               "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x0040\nPCIR revision: 0x00\n"
               "PCIR length: 24 bytes\nImage size from PCIR: 1024 bytes\nVendor ID: 0x1002\n"
               "Device ID: 0x6FDF\nCode type: 0x00\nIndicator: 0x00\n");
  expectReport("pci-rom", Rom(1024).pcir(0x1A).revision(3).bytes(), 0,
               "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x001A\n"
               "PCI Data Structure revision 3 requires a PCIR length of at least 0x001C bytes.\n");
  expectReport("pci-rom", Rom(1024).pcir(0x41).codeType(4).bytes(), 0,
               "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x0041\n"
               "Warning: PCIR is not aligned to the required 4-byte boundary.\n"
               "PCIR revision: 0x00\nPCIR length: 24 bytes\nImage size from PCIR: 1024 bytes\n"
               "Vendor ID: 0x1002\nDevice ID: 0x6FDF\nCode type: 0x04\nIndicator: 0x00\n"
               "Warning: PCIR code type 0x04 is reserved.\n");
}

TEST_F(CliFirmwareTest, pciRomOfAnEfiDriverIsReportedOn) {
  expectReport("pci-rom", Rom(1024).pcir(0x1C).efi(0x60).pe(0x80).bytes(), 0,
               "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x001C\nPCIR revision: 0x00\n"
               "PCIR length: 24 bytes\nImage size from PCIR: 1024 bytes\nVendor ID: 0x1002\n"
               "Device ID: 0x6FDF\nCode type: 0x03\nIndicator: 0x00\n"
               "EFI initialization size: 1024 bytes\nEFI subsystem: 0x000B\n"
               "EFI machine type: 0x8664\nEFI image offset: 0x0060\n"
               "Embedded PE/COFF machine type: 0x8664\nEmbedded PE/COFF subsystem: 0x000B\n");
}

TEST_F(CliFirmwareTest, pciRomPrintsTheNulsOfAWarning) {
  write(Rom(1024).pcir(0x1C).efi(0x60).pe(0x80).text(0xE0, "XX").bytes());
  const CliRun ended = run({"pci-rom", "a.rom"});
  EXPECT_EQ(ended.status, 0);
  const std::string warning = std::string("Warning: the embedded EFI image is missing the PE") +
                              std::string(2, '\0') +
                              " signature at its declared PE header offset.\n";
  EXPECT_TRUE(ended.output.ends_with(warning));
}

// --- acpi-validate --------------------------------------------------------------------------

constexpr const char* kNoTable =
    "This does not look like a valid ACPI System Description Table header.";

TEST_F(CliFirmwareTest, acpiChecksums) {
  expectReport("acpi-validate", acpiTable("SSDT", 40, 0xAB, 0), 0,
               "Checksum is valid.\n\nSignature: SSDT\nLength: 40 bytes\nChecksum byte: 0xAB\n"
               "Sum: 0x00\n");
  expectReport("acpi-validate", acpiTable("SSDT", 40, 0xAB, 0xCD), 1,
               "Checksum is invalid.\n\nSignature: SSDT\nLength: 40 bytes\nChecksum byte: 0xAB\n"
               "Sum: 0xCD\n");
  expectReport("acpi-validate", acpiTable("FACX", 36, 1, 0), 0,
               "Checksum is valid.\n\nSignature: FACX\nLength: 36 bytes\nChecksum byte: 0x01\n"
               "Sum: 0x00\n");
}

TEST_F(CliFirmwareTest, acpiChecksumsLeaveOutWhatFollowsTheTable) {
  Bytes bytes = acpiTable("DSDT", 36, 0, 0);
  bytes.push_back(0x55);
  expectReport("acpi-validate", bytes, 0,
               "Checksum is valid.\n\nSignature: DSDT\nLength: 36 bytes\nChecksum byte: 0x00\n"
               "Sum: 0x00\n");
}

TEST_F(CliFirmwareTest, acpiFacsHasNoChecksum) {
  const std::string text =
      "FACS uses the Firmware ACPI Control Structure layout and does not define the standard ACPI "
      "System Description Table checksum byte.\n";
  expectReport("acpi-validate", acpiStructure("FACS", 64, 64), 0, text);
  expectReport("acpi-validate", {'F', 'A', 'C', 'S'}, 0, text);
}

TEST_F(CliFirmwareTest, acpiNeedsATable) {
  expectRefusal("acpi-validate", {}, kNoTable);
  expectRefusal("acpi-validate", {'F', 'A', 'C'}, kNoTable);
  expectRefusal("acpi-validate", acpiStructure("SSDT", 36, 35), kNoTable);
  expectRefusal("acpi-validate", acpiStructure("SSDT", 35, 36), kNoTable);
  expectRefusal("acpi-validate", acpiStructure("SSDT", 37, 36), kNoTable);
  expectRefusal("acpi-validate", acpiStructure("SS T", 36, 36), kNoTable);
}

// --- polaris-validate -----------------------------------------------------------------------

/// A valid image of 1024 bytes with `checksum` at 0x21, all of which add up to `sum`; more behind.
Rom polarisRom(int checksum, int sum) {
  return Rom(1500)
      .pcir(0x40)
      .at(0x02, {2})
      .units(2)
      .at(0x21, {checksum})
      .at(1400, {0x77})
      .summingTo(sum, 1024, 0x3F0);
}

TEST_F(CliFirmwareTest, polarisChecksums) {
  expectReport("polaris-validate", polarisRom(0xAB, 0).bytes(), 0,
               "Checksum is valid.\nROM image size: 1024 bytes\nChecksum byte at 0x21: 0xAB\n"
               "Image checksum sum: 0x00\n");
  expectReport("polaris-validate", polarisRom(0x0C, 0xDE).bytes(), 1,
               "Checksum is invalid. Use Presets > Fix Polaris Checksum to correct it.\n"
               "ROM image size: 1024 bytes\nChecksum byte at 0x21: 0x0C\n"
               "Image checksum sum: 0xDE\n");
}

TEST_F(CliFirmwareTest, polarisRefusesWhatIsNoSuchRom) {
  const std::string notApplied = " The Polaris preset was not applied.";
  expectRefusal("polaris-validate", Rom(33).bytes(),
                "The file is too small to contain a valid PCI option ROM header.");
  expectRefusal("polaris-validate", polarisRom(0, 0).at(0, {0}).bytes(),
                "This file does not start with the PCI option ROM signature 55 AA. The preset was "
                "not applied.");
  expectRefusal("polaris-validate", Rom(34).bytes(),
                "Invalid ROM size at offset 0x02. The size field is zero.");
  expectRefusal("polaris-validate", Rom(511).at(0x02, {1}).bytes(),
                "Invalid ROM size at offset 0x02. The header reports 512 bytes, but the file has "
                "only 511 bytes.");
  expectRefusal("polaris-validate", polarisRom(0, 0).text(0x40, "X").bytes(),
                "The first PCI ROM image does not contain a complete PCIR structure at its "
                "declared offset." +
                    notApplied);
  expectRefusal("polaris-validate", polarisRom(0, 0).length(23).bytes(),
                "The PCIR structure length is invalid or extends beyond the first legacy ROM "
                "image." +
                    notApplied);
  expectRefusal("polaris-validate", polarisRom(0, 0).units(3).bytes(),
                "The legacy ROM size at offset 0x02 does not match the image length declared by "
                "PCIR." +
                    notApplied);
  expectRefusal("polaris-validate", polarisRom(0, 0).codeType(3).bytes(),
                "The first PCI ROM image has PCIR code type 0x03 instead of the required legacy "
                "PC-AT type 0x00." +
                    notApplied);
  expectRefusal("polaris-validate", Rom(1024).pcir(0x20).at(0x02, {2}).bytes(),
                "The Polaris checksum byte at offset 0x21 overlaps the declared PCIR structure. "
                "The ROM is not safe for this preset and was not modified.");
  expectRefusal("polaris-validate", polarisRom(0, 0).vendor(0x10DE).bytes(),
                "The first PCI ROM image belongs to vendor 0x10DE, not AMD (0x1002)." + notApplied);
}

}  // namespace
}  // namespace quillmor::test
