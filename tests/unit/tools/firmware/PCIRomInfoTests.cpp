#include "tools/firmware/PCIRomInfo.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/GuardedBytes.h"
#include "support/OptionRomBuilder.h"
#include "support/RandomBytes.h"

namespace quillmor::test {
namespace {

using Rom = OptionRomBuilder;

constexpr const char* kNoRom = "Not a PCI Option ROM: missing 55 AA signature.";

/// How the report on a ROM of 1024 bytes begins when its structure is at 0x40.
const std::string kHead = "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x0040\n";
/// What follows when the structure is of revision 0 and has 24 bytes.
const std::string kSizes =
    "PCIR revision: 0x00\nPCIR length: 24 bytes\nImage size from PCIR: 1024 bytes\n";
const std::string kFields =
    "Vendor ID: 0x1002\nDevice ID: 0x6FDF\nCode type: 0x00\nIndicator: 0x00\n";

const std::string kNoStructure =
    "PCIR structure was not found at the declared offset. A reliable image size cannot be derived "
    "from the generic legacy header.\n";
const std::string kBadLength =
    "The PCIR structure length is invalid or exceeds the available file data.\n";
const std::string kRevision3Length =
    "PCI Data Structure revision 3 requires a PCIR length of at least 0x001C bytes.\n";
const std::string kUnaligned = "Warning: PCIR is not aligned to the required 4-byte boundary.\n";
const std::string kBehind64KiB =
    "Warning: PCIR does not fit entirely within the first 64 KiB of the image.\n";
const std::string kLargeFile =
    "Warning: file size exceeds the UEFI PCI Option ROM maximum of 16 MiB.\n";
const std::string kLargeImage =
    "Warning: PCIR declares an image larger than the UEFI PCI Option ROM maximum of 16 MiB.\n";
const std::string kBadImageSize =
    "The image size declared by PCIR is invalid or exceeds the available file data.\n";
const std::string kOutsideImage =
    "The PCIR structure extends beyond the first declared ROM image.\n";
const std::string kIndicator =
    "Warning: PCIR Indicator bits 0...6 are reserved and must be zero.\n";
const std::string kReserved08 =
    "Warning: pre-PCI-3.0 PCIR reserved field at +0x08...+0x09 must be zero.\n";
const std::string kReserved16 =
    "Warning: pre-PCI-3.0 PCIR reserved field at +0x16...+0x17 must be zero.\n";

Rom legacyRom() {
  return Rom(1024).pcir(0x40);
}

std::string infoOn(const Rom& rom) {
  return pciRomInfo(rom.bytes());
}

bool contains(const std::string& report, const std::string& line) {
  return report.find(line) != std::string::npos;
}

TEST(PCIRomInfo, needsTheSignatureAnd28Bytes) {
  EXPECT_EQ(pciRomInfo({}), kNoRom);
  EXPECT_EQ(infoOn(Rom(27)), kNoRom);
  EXPECT_EQ(infoOn(Rom(28).at(0, {0x54})), kNoRom);
  EXPECT_EQ(infoOn(Rom(28).at(1, {0xAB})), kNoRom);
  EXPECT_EQ(infoOn(Rom(28).at(0, {0xAA, 0x55})), kNoRom);
  EXPECT_EQ(infoOn(Rom(28)),
            "PCI Option ROM\nFile size: 28 bytes\nPCIR offset: 0x0000\n" + kNoStructure);
}

TEST(PCIRomInfo, knowsAnOptionRom) {
  EXPECT_FALSE(hasOptionRomSignature({}));
  EXPECT_FALSE(hasOptionRomSignature(Rom(27).bytes()));
  EXPECT_TRUE(hasOptionRomSignature(Rom(28).bytes()));
  EXPECT_FALSE(hasOptionRomSignature(Rom(28).at(0, {0x54}).bytes()));
  EXPECT_FALSE(hasOptionRomSignature(Rom(28).at(1, {0xAB}).bytes()));
  EXPECT_FALSE(hasOptionRomSignature(Rom(28).at(0, {0xAA, 0x55}).bytes()));
  EXPECT_TRUE(hasOptionRomSignature(legacyRom().bytes()));
  GuardedBytes guarded(28);
  EXPECT_FALSE(hasOptionRomSignature(guarded.atEnd(Rom(2).bytes())));
  EXPECT_TRUE(hasOptionRomSignature(guarded.atEnd(Rom(28).bytes())));
}

TEST(PCIRomInfo, describesALegacyImage) {
  EXPECT_EQ(infoOn(legacyRom()), kHead + kSizes + kFields);
}

TEST(PCIRomInfo, writesHexInCapitals) {
  const auto rom = Rom(0xF00).pcir(0xBCC).vendor(0xABCD).device(0xEF0A).indicator(0x80);
  EXPECT_EQ(infoOn(rom),
            "PCI Option ROM\nFile size: 3840 bytes\nPCIR offset: 0x0BCC\nPCIR revision: 0x00\n"
            "PCIR length: 24 bytes\nImage size from PCIR: 3584 bytes\nVendor ID: 0xABCD\n"
            "Device ID: 0xEF0A\nCode type: 0x00\nIndicator: 0x80\n");
}

TEST(PCIRomInfo, warnsOfFilesOverTheMaximum) {
  constexpr std::size_t kMaximum = 16 << 20;
  EXPECT_EQ(infoOn(Rom(kMaximum)),
            "PCI Option ROM\nFile size: 16777216 bytes\nPCIR offset: 0x0000\n" + kNoStructure);
  EXPECT_EQ(infoOn(Rom(kMaximum + 1)), "PCI Option ROM\nFile size: 16777217 bytes\n" + kLargeFile +
                                           "PCIR offset: 0x0000\n" + kNoStructure);
}

// --- the structure --------------------------------------------------------------------------

TEST(PCIRomInfo, stopsWhereTheStructureIsNotFound) {
  EXPECT_EQ(infoOn(legacyRom().text(0x43, "S")), kHead + kNoStructure);
  EXPECT_EQ(infoOn(legacyRom().text(0x40, "p")), kHead + kNoStructure);
  EXPECT_EQ(infoOn(legacyRom().word(0x18, 0xFFFF)),
            "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0xFFFF\n" + kNoStructure);
}

TEST(PCIRomInfo, readsAStructureWhose24BytesAreTheLast) {
  const auto rom = Rom(1024).pcir(1000);
  EXPECT_EQ(infoOn(rom),
            "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x03E8\n" + kSizes + kFields);
  EXPECT_EQ(infoOn(Rom(rom).cutTo(1023)),
            "PCI Option ROM\nFile size: 1023 bytes\nPCIR offset: 0x03E8\n" + kNoStructure);
}

TEST(PCIRomInfo, stopsAtALengthThatIsTooSmallOrLeavesTheFile) {
  EXPECT_EQ(infoOn(legacyRom().length(0)), kHead + kBadLength);
  EXPECT_EQ(infoOn(legacyRom().length(23)), kHead + kBadLength);
  EXPECT_EQ(infoOn(legacyRom().length(1024 - 0x40 + 1)), kHead + kBadLength);
  EXPECT_EQ(infoOn(legacyRom().length(0xFFFF)), kHead + kBadLength);
  EXPECT_EQ(infoOn(legacyRom().length(1024 - 0x40)),
            kHead +
                "PCIR revision: 0x00\nPCIR length: 960 bytes\nImage size from PCIR: 1024 bytes\n" +
                kFields);
}

TEST(PCIRomInfo, stopsAtRevision3WithoutItsFields) {
  EXPECT_EQ(infoOn(legacyRom().revision(3)), kHead + kRevision3Length);
  EXPECT_EQ(infoOn(legacyRom().revision(3).length(27)), kHead + kRevision3Length);
  EXPECT_FALSE(contains(infoOn(legacyRom().revision(3).length(28)), kRevision3Length));
  EXPECT_FALSE(contains(infoOn(legacyRom().revision(2)), kRevision3Length));
  EXPECT_FALSE(contains(infoOn(legacyRom().revision(4)), kRevision3Length));
}

TEST(PCIRomInfo, warnsOfAnUnalignedStructure) {
  EXPECT_EQ(infoOn(Rom(1024).pcir(0x1A)),
            "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x001A\n" + kUnaligned + kSizes +
                kFields);
  for (const std::size_t offset : {0x41U, 0x42U, 0x43U}) {
    EXPECT_TRUE(contains(infoOn(Rom(1024).pcir(offset)), kUnaligned)) << offset;
  }
  EXPECT_FALSE(contains(infoOn(Rom(1024).pcir(0x44)), kUnaligned));
}

TEST(PCIRomInfo, warnsOfAStructureThatLeavesTheFirst64KiB) {
  const auto rom = Rom(66048).pcir(65512);
  const std::string head = "PCI Option ROM\nFile size: 66048 bytes\nPCIR offset: 0xFFE8\n";
  EXPECT_EQ(infoOn(rom), head +
                             "PCIR revision: 0x00\nPCIR length: 24 bytes\n"
                             "Image size from PCIR: 66048 bytes\n" +
                             kFields);
  EXPECT_EQ(infoOn(Rom(rom).length(25)), head + kBehind64KiB +
                                             "PCIR revision: 0x00\nPCIR length: 25 bytes\n"
                                             "Image size from PCIR: 66048 bytes\n" +
                                             kFields);
  EXPECT_TRUE(contains(infoOn(Rom(66048).pcir(65513)), kUnaligned + kBehind64KiB));
  EXPECT_TRUE(contains(infoOn(Rom(66048).pcir(65516)), "0xFFEC\n" + kBehind64KiB));
}

TEST(PCIRomInfo, leavesLaterRevisionsUninterpreted) {
  const auto rom = legacyRom().revision(4).deviceList(1).maximumUnits(1);
  EXPECT_EQ(infoOn(rom),
            kHead +
                "PCIR revision: 0x04\n"
                "Warning: PCIR revision 0x04 is newer than the PCI Firmware 3.0 layout understood "
                "by this inspector; revision-dependent fields are left uninterpreted.\n"
                "PCIR length: 24 bytes\nImage size from PCIR: 1024 bytes\n" +
                kFields);
  EXPECT_TRUE(contains(infoOn(Rom(rom).revision(0xFE)),
                       "PCIR revision: 0xFE\nWarning: PCIR revision 0xFE is newer than "));
}

// --- the image ------------------------------------------------------------------------------

TEST(PCIRomInfo, stopsAtAnImageThatIsEmptyOrLeavesTheFile) {
  const std::string start = kHead + "PCIR revision: 0x00\nPCIR length: 24 bytes\n";
  EXPECT_EQ(infoOn(legacyRom().units(0)),
            start + "Image size from PCIR: 0 bytes\n" + kBadImageSize);
  EXPECT_EQ(infoOn(legacyRom().units(1)), start + "Image size from PCIR: 512 bytes\n" + kFields);
  EXPECT_EQ(infoOn(legacyRom().units(3)),
            start + "Image size from PCIR: 1536 bytes\n" + kBadImageSize);
  EXPECT_EQ(
      infoOn(legacyRom().cutTo(1023)),
      "PCI Option ROM\nFile size: 1023 bytes\nPCIR offset: 0x0040\n" + kSizes + kBadImageSize);
}

TEST(PCIRomInfo, warnsOfAnImageOverTheMaximum) {
  const std::string start = kHead + "PCIR revision: 0x00\nPCIR length: 24 bytes\n";
  EXPECT_EQ(infoOn(legacyRom().units(32768)),
            start + "Image size from PCIR: 16777216 bytes\n" + kBadImageSize);
  EXPECT_EQ(infoOn(legacyRom().units(32769)),
            start + "Image size from PCIR: 16777728 bytes\n" + kLargeImage + kBadImageSize);
  EXPECT_EQ(infoOn(legacyRom().units(65535)),
            start + "Image size from PCIR: 33553920 bytes\n" + kLargeImage + kBadImageSize);
  EXPECT_EQ(infoOn(Rom(32769 * 512).pcir(0x40)),
            "PCI Option ROM\nFile size: 16777728 bytes\n" + kLargeFile +
                "PCIR offset: 0x0040\nPCIR revision: 0x00\nPCIR length: 24 bytes\n"
                "Image size from PCIR: 16777728 bytes\n" +
                kLargeImage + kFields);
}

TEST(PCIRomInfo, stopsAtAStructureBehindTheImage) {
  const auto rom = Rom(1024).pcir(488).units(1);
  const std::string head = "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x01E8\n";
  EXPECT_EQ(infoOn(rom), head +
                             "PCIR revision: 0x00\nPCIR length: 24 bytes\n"
                             "Image size from PCIR: 512 bytes\n" +
                             kFields);
  EXPECT_EQ(infoOn(Rom(rom).length(25)), head +
                                             "PCIR revision: 0x00\nPCIR length: 25 bytes\n"
                                             "Image size from PCIR: 512 bytes\n" +
                                             kOutsideImage);
  EXPECT_TRUE(infoOn(Rom(1024).pcir(489).units(1)).ends_with(" 512 bytes\n" + kOutsideImage));
  EXPECT_TRUE(infoOn(Rom(1024).pcir(600).units(1)).ends_with(" 512 bytes\n" + kOutsideImage));
  EXPECT_TRUE(infoOn(legacyRom().units(1).length(960)).ends_with(" 512 bytes\n" + kOutsideImage));
}

// --- the fields -----------------------------------------------------------------------------

TEST(PCIRomInfo, warnsOfReservedBitsOfTheIndicator) {
  for (const int bit : {0, 1, 2, 3, 4, 5, 6}) {
    EXPECT_TRUE(infoOn(legacyRom().indicator(1 << bit)).ends_with(kIndicator)) << bit;
  }
  EXPECT_TRUE(infoOn(legacyRom().indicator(0x80)).ends_with("Indicator: 0x80\n"));
  EXPECT_TRUE(infoOn(legacyRom().indicator(0xFF)).ends_with("Indicator: 0xFF\n" + kIndicator));
}

TEST(PCIRomInfo, describesTheFieldsOfRevision3) {
  const auto rom = legacyRom()
                       .revision(3)
                       .length(28)
                       .deviceList(0x00AB)
                       .maximumUnits(0xFFFF)
                       .configuration(0xCDEF)
                       .entryPoint(0x0123);
  EXPECT_EQ(infoOn(rom),
            kHead +
                "PCIR revision: 0x03\nPCIR length: 28 bytes\nImage size from PCIR: 1024 bytes\n" +
                kFields +
                "PCI 3.0 Device List offset: 0x00AB\nMaximum runtime image length: 33553920 bytes\n"
                "Configuration utility offset: 0xCDEF\n"
                "DMTF CLP entry-point offset: 0x0123\n");
}

TEST(PCIRomInfo, warnsOfFieldsThatWereReservedBeforeRevision3) {
  const std::string start = kHead + kSizes + kFields;
  EXPECT_EQ(infoOn(legacyRom().deviceList(0x0001)), start + kReserved08);
  EXPECT_EQ(infoOn(legacyRom().deviceList(0x0100)), start + kReserved08);
  EXPECT_EQ(infoOn(legacyRom().maximumUnits(0x0001)), start + kReserved16);
  EXPECT_EQ(infoOn(legacyRom().maximumUnits(0x0100)), start + kReserved16);
  EXPECT_EQ(infoOn(legacyRom().deviceList(1).maximumUnits(1)), start + kReserved08 + kReserved16);
  EXPECT_TRUE(infoOn(legacyRom().revision(2).deviceList(1).maximumUnits(1))
                  .ends_with(kFields + kReserved08 + kReserved16));
}

TEST(PCIRomInfo, endsAtCodeTypesWithoutAnEfiHeader) {
  const auto fields = [](const std::string& type) {
    return "Vendor ID: 0x1002\nDevice ID: 0x6FDF\nCode type: 0x" + type + "\nIndicator: 0x00\n";
  };
  const std::string start = kHead + kSizes;
  EXPECT_EQ(infoOn(legacyRom().codeType(1)), start + fields("01"));
  EXPECT_EQ(infoOn(legacyRom().codeType(2)), start + fields("02"));
  EXPECT_EQ(infoOn(legacyRom().codeType(4)),
            start + fields("04") + "Warning: PCIR code type 0x04 is reserved.\n");
  EXPECT_EQ(infoOn(legacyRom().codeType(0xFF)),
            start + fields("FF") + "Warning: PCIR code type 0xFF is reserved.\n");
  EXPECT_EQ(infoOn(legacyRom().codeType(1).deviceList(1)), start + fields("01") + kReserved08);
}

TEST(PCIRomInfo, looksAtTheFirstImageOnly) {
  const auto rom = Rom(2048).pcir(0x40).units(2);
  const std::string report = infoOn(rom);
  const auto next = Rom(rom).at(1024, {0x55, 0xAA}).word(1024 + 0x18, 0x40).text(1088, "PCIR");
  EXPECT_EQ(infoOn(next), report);
}

TEST(PCIRomInfo, readsNothingOutsideOfItsBytes) {
  const auto rom = Rom(1024).pcir(0x40).revision(3).length(28).efi(0x80).pe(0x40).bytes();
  GuardedBytes guarded(rom.size());
  for (std::size_t size = 0; size <= rom.size(); ++size) {
    const std::string report = pciRomInfo(guarded.atEnd(std::span(rom).first(size)));
    EXPECT_EQ(report == kNoRom, size < 28) << size;
    EXPECT_EQ(contains(report, "Embedded PE/COFF"), size == rom.size()) << size;
  }
}

TEST(PCIRomInfo, survivesAnyFieldsAtTheEndOfItsBytes) {
  const auto rom = Rom(512).pcir(0x40).revision(3).length(28).efi(0x80).pe(0x40).bytes();
  GuardedBytes guarded(rom.size());
  for (std::uint64_t seed = 0; seed < 5000; ++seed) {
    auto bytes = rom;
    const auto noise = randomBytes(8, seed);
    for (std::size_t i = 0; i < 4; ++i) bytes[noise[i]] = noise[i + 4];
    const std::string report = pciRomInfo(guarded.atEnd(bytes));
    ASSERT_TRUE(report == kNoRom || report.ends_with('\n')) << seed;
  }
}

}  // namespace
}  // namespace quillmor::test
