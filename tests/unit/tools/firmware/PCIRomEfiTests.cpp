// The lines of pciRomInfo on EFI images.

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "support/OptionRomBuilder.h"
#include "tools/firmware/PCIRomInfo.h"

namespace quillmor::test {
namespace {

using Rom = OptionRomBuilder;
using namespace std::string_literals;

const std::string kStart =
    "PCI Option ROM\nFile size: 1024 bytes\nPCIR offset: 0x0040\nPCIR revision: 0x00\n"
    "PCIR length: 24 bytes\nImage size from PCIR: 1024 bytes\nVendor ID: 0x1002\n"
    "Device ID: 0x6FDF\nCode type: 0x03\nIndicator: 0x00\n";
const std::string kEfi =
    "EFI initialization size: 1024 bytes\nEFI subsystem: 0x000B\nEFI machine type: 0x8664\n"
    "EFI image offset: 0x0080\n";
const std::string kPe =
    "Embedded PE/COFF machine type: 0x8664\nEmbedded PE/COFF subsystem: 0x000B\n";

const std::string kNoSignature =
    "Warning: EFI code type is declared but the EFI expansion ROM header signature 0x00000EF1 is "
    "missing.\n";
const std::string kApplication =
    "Warning: EFI applications in PCI Option ROMs are ignored by the PCI Bus Driver; a loadable "
    "PCI device driver uses subsystem 0x000B or 0x000C.\n";
const std::string kBadInitialization =
    "Warning: the EFI initialization size is invalid or exceeds the available file data.\n";
const std::string kOtherInitialization =
    "Warning: EFI initialization size does not match the PCIR image length.\n";
const std::string kCompression = "Warning: EFI compression type is reserved/invalid.\n";
const std::string kReserved =
    "Warning: EFI expansion ROM reserved bytes at 0x0E...0x15 must be zero.\n";
const std::string kOffsetOutside =
    "Warning: EFI image offset is outside the first declared ROM image or the first 64 KiB.\n";
const std::string kNoMz =
    "Warning: uncompressed EFI image data does not begin with a bounded PE/COFF MZ image at the "
    "declared EFI image offset.\n";
const std::string kPeOutside =
    "Warning: the embedded PE/COFF header offset is outside the declared EFI ROM image.\n";
const std::string kNoPe =
    "Warning: the embedded EFI image is missing the PE\0\0 signature at its declared PE header "
    "offset.\n"s;
const std::string kOptionalHeader =
    "Warning: the embedded PE/COFF optional header is truncated or too small to contain the UEFI "
    "Subsystem field.\n";

/// 1024 bytes, the EFI image at 0x80, its PE header at 0xC0.
Rom efiRom() {
  return Rom(1024).pcir(0x40).efi(0x80).pe(0x40);
}

/// The report's part from the EFI header on.
std::string efiPart(const Rom& rom) {
  const std::string report = pciRomInfo(rom.bytes());
  const auto at = report.find("EFI initialization size");
  return at == std::string::npos ? "none in " + report : report.substr(at);
}

/// What stands there when the header is that of `kEfi`.
std::string peText(const Rom& rom) {
  const std::string part = efiPart(rom);
  return part.starts_with(kEfi) ? part.substr(kEfi.size()) : "not behind the header: " + part;
}

TEST(PCIRomEfi, describesADriver) {
  EXPECT_EQ(pciRomInfo(efiRom().bytes()), kStart + kEfi + kPe);
}

TEST(PCIRomEfi, comesBehindTheFieldsOfTheRevision) {
  const std::string report = pciRomInfo(efiRom().revision(3).length(28).bytes());
  EXPECT_NE(report.find("DMTF CLP entry-point offset: 0x0000\n" + kEfi), std::string::npos);
}

TEST(PCIRomEfi, warnsOfAMissingSignature) {
  for (const std::size_t offset : {4U, 5U, 6U, 7U}) {
    EXPECT_EQ(efiPart(efiRom().at(offset, {0x01})), kEfi + kNoSignature + kPe) << offset;
  }
}

// --- subsystem and machine ------------------------------------------------------------------

TEST(PCIRomEfi, warnsOfSubsystemsOfNoDriver) {
  const auto part = [](std::size_t subsystem) {
    return efiPart(efiRom().subsystem(subsystem).peSubsystem(subsystem));
  };
  const auto expected = [](const std::string& digits, const std::string& warning) {
    return "EFI initialization size: 1024 bytes\nEFI subsystem: 0x" + digits +
           "\nEFI machine type: 0x8664\nEFI image offset: 0x0080\n" + warning +
           "Embedded PE/COFF machine type: 0x8664\nEmbedded PE/COFF subsystem: 0x" + digits + "\n";
  };
  const auto other = [&](const std::string& digits) {
    return expected(digits, "Warning: EFI subsystem 0x" + digits +
                                " is not a PCI device-driver subsystem (expected 0x000B or "
                                "0x000C).\n");
  };
  EXPECT_EQ(part(0x0000), other("0000"));
  EXPECT_EQ(part(0x0009), other("0009"));
  EXPECT_EQ(part(0x000A), expected("000A", kApplication));
  EXPECT_EQ(part(0x000B), expected("000B", ""));
  EXPECT_EQ(part(0x000C), expected("000C", ""));
  EXPECT_EQ(part(0x000D), other("000D"));
  EXPECT_EQ(part(0xFFFF), other("FFFF"));
  EXPECT_EQ(part(0x0B00), other("0B00"));
}

TEST(PCIRomEfi, knowsTheMachineTypes) {
  const auto hasWarning = [](std::size_t machine) {
    return efiPart(efiRom().machine(machine)).find("is not defined by UEFI") != std::string::npos;
  };
  for (const std::size_t machine : {0x014CU, 0x01C2U, 0x0200U, 0x0EBCU, 0x5032U, 0x5064U, 0x5128U,
                                    0x6232U, 0x6264U, 0x8664U, 0xAA64U}) {
    EXPECT_FALSE(hasWarning(machine)) << machine;
    EXPECT_TRUE(hasWarning(machine - 1)) << machine;
    EXPECT_TRUE(hasWarning(machine + 1)) << machine;
  }
  EXPECT_TRUE(hasWarning(0));
  EXPECT_EQ(efiPart(efiRom().machine(0xABCD).peMachine(0xABCD)),
            "EFI initialization size: 1024 bytes\nEFI subsystem: 0x000B\n"
            "EFI machine type: 0xABCD\nEFI image offset: 0x0080\n"
            "Warning: EFI machine type 0xABCD is not defined by UEFI 2.11.\n"
            "Embedded PE/COFF machine type: 0xABCD\nEmbedded PE/COFF subsystem: 0x000B\n");
}

// --- sizes, compression, reserved bytes -----------------------------------------------------

TEST(PCIRomEfi, comparesTheInitializationSize) {
  const auto part = [](std::size_t units, std::size_t fileSize) {
    return efiPart(Rom(fileSize).pcir(0x40).units(2).efi(0x80).pe(0x40).initializationUnits(units));
  };
  const auto expected = [](const std::string& size, const std::string& warning) {
    return "EFI initialization size: " + size +
           " bytes\nEFI subsystem: 0x000B\nEFI machine type: 0x8664\nEFI image offset: 0x0080\n" +
           warning + kPe;
  };
  EXPECT_EQ(part(0, 1024), expected("0", kBadInitialization));
  EXPECT_EQ(part(1, 1024), expected("512", kOtherInitialization));
  EXPECT_EQ(part(2, 1024), expected("1024", ""));
  EXPECT_EQ(part(3, 1024), expected("1536", kBadInitialization));
  EXPECT_EQ(part(3, 1535), expected("1536", kBadInitialization));
  EXPECT_EQ(part(3, 1536), expected("1536", kOtherInitialization));
  EXPECT_EQ(part(65535, 1536), expected("33553920", kBadInitialization));
}

TEST(PCIRomEfi, endsBeforeTheImageWhenItIsCompressed) {
  EXPECT_EQ(efiPart(efiRom().compression(1)), kEfi);
  EXPECT_EQ(efiPart(efiRom().compression(1).at(0x0E, {1})), kEfi + kReserved);
  EXPECT_EQ(efiPart(efiRom().compression(2)), kEfi + kCompression);
  EXPECT_EQ(efiPart(efiRom().compression(0x0100)), kEfi + kCompression);
  EXPECT_EQ(efiPart(efiRom().compression(0xFFFF).at(0x15, {1})), kEfi + kCompression + kReserved);
}

TEST(PCIRomEfi, warnsOfReservedBytes) {
  for (std::size_t offset = 0x0E; offset <= 0x15; ++offset) {
    EXPECT_EQ(efiPart(efiRom().at(offset, {0x80})), kEfi + kReserved + kPe) << offset;
  }
}

TEST(PCIRomEfi, hasItsWarningsInOrder) {
  const auto rom = efiRom()
                       .at(4, {0})
                       .subsystem(0x000A)
                       .machine(1)
                       .initializationUnits(1)
                       .compression(2)
                       .at(0x10, {1})
                       .word(0x16, 0xFFFF);
  EXPECT_EQ(efiPart(rom),
            "EFI initialization size: 512 bytes\nEFI subsystem: 0x000A\n"
            "EFI machine type: 0x0001\nEFI image offset: 0xFFFF\n" +
                kNoSignature + kApplication +
                "Warning: EFI machine type 0x0001 is not defined by UEFI 2.11.\n" +
                kOtherInitialization + kCompression + kReserved + kOffsetOutside);
}

// --- where the image is ---------------------------------------------------------------------

/// The report's end for an image at `offset` with nothing but "MZ" where it fits.
std::string endOfImageAt(std::size_t offset) {
  Rom rom = Rom(1026).pcir(0x40).efi(offset).text(offset, "MZ");
  const std::string part = efiPart(rom);
  return part.substr(part.find("Warning"));
}

TEST(PCIRomEfi, findsTheImageWithinTheRom) {
  // 64 bytes are left at 960: the offset of the PE header, 0, is that of "MZ".
  EXPECT_EQ(endOfImageAt(959), kNoPe);
  EXPECT_EQ(endOfImageAt(960), kNoPe);
  EXPECT_EQ(endOfImageAt(961), kNoMz);
  EXPECT_EQ(endOfImageAt(1023), kNoMz);
  EXPECT_EQ(endOfImageAt(1024), kOffsetOutside);
  EXPECT_EQ(efiPart(efiRom().compression(1).word(0x16, 1024)),
            "EFI initialization size: 1024 bytes\nEFI subsystem: 0x000B\n"
            "EFI machine type: 0x8664\nEFI image offset: 0x0400\n" +
                kOffsetOutside);
}

TEST(PCIRomEfi, needsMzAtTheStartOfTheImage) {
  EXPECT_EQ(peText(efiRom().text(0x80, "ZM")), kNoMz);
  EXPECT_EQ(peText(efiRom().text(0x81, "z")), kNoMz);
  EXPECT_EQ(efiPart(Rom(1024).pcir(0x40).efi(0)).substr(kEfi.size()), kNoMz);
}

TEST(PCIRomEfi, findsThePeHeaderWithinTheImage) {
  // 1024 - 0x80 - 24 = 872 leaves the 24 bytes of the header, which has no optional one then.
  EXPECT_EQ(peText(efiRom().doubleWord(0xBC, 872)), kNoPe);
  EXPECT_EQ(peText(efiRom().doubleWord(0xBC, 873)), kPeOutside);
  EXPECT_EQ(peText(efiRom().doubleWord(0xBC, 896)), kPeOutside);
  EXPECT_EQ(peText(efiRom().doubleWord(0xBC, 897)), kPeOutside);
  EXPECT_EQ(peText(efiRom().doubleWord(0xBC, 0x7FFFFFFF)), kPeOutside);
  EXPECT_EQ(peText(efiRom().doubleWord(0xBC, 0x80000000)), kPeOutside);
  EXPECT_EQ(peText(efiRom().doubleWord(0xBC, 0xFFFFFFFF)), kPeOutside);
}

TEST(PCIRomEfi, boundsThePeHeaderByTheImageNotTheFile) {
  const auto rom = Rom(2048).pcir(0x40).units(2).efi(0x80).initializationUnits(2);
  EXPECT_EQ(peText(Rom(rom).pe(873)), kPeOutside);
  EXPECT_EQ(peText(Rom(rom).pe(872)), kOptionalHeader);
}

TEST(PCIRomEfi, needsThePeSignature) {
  EXPECT_EQ(kNoPe.size(), 96U);  // the two NUL characters are in the text
  for (const std::size_t offset : {0xC0U, 0xC1U, 0xC2U, 0xC3U}) {
    EXPECT_EQ(peText(efiRom().at(offset, {0x01})), kNoPe) << offset;
  }
}

TEST(PCIRomEfi, needsAnOptionalHeaderWithASubsystem) {
  EXPECT_EQ(peText(efiRom().optionalSize(0)), kOptionalHeader);
  EXPECT_EQ(peText(efiRom().optionalSize(69)), kOptionalHeader);
  EXPECT_EQ(peText(efiRom().optionalSize(70)), kPe);
  // The header's 24 bytes at 0xC0 end at 0xD8; 808 bytes are left.
  EXPECT_EQ(peText(efiRom().optionalSize(808)), kPe);
  EXPECT_EQ(peText(efiRom().optionalSize(809)), kOptionalHeader);
  EXPECT_EQ(peText(efiRom().optionalSize(0xFFFF)), kOptionalHeader);
}

TEST(PCIRomEfi, readsASubsystemThatEndsTheImage) {
  const auto rom = Rom(1024).pcir(0x40).efi(0x80).pe(1024 - 0x80 - 94);
  EXPECT_EQ(peText(rom), kPe);
  EXPECT_EQ(peText(Rom(rom).optionalSize(71)), kOptionalHeader);
}

// --- what the image says --------------------------------------------------------------------

TEST(PCIRomEfi, knowsTheMagicsOfPe) {
  const auto warning = [](const std::string& digits) {
    return "Warning: embedded PE/COFF optional-header magic 0x" + digits +
           " is not PE32 or PE32+.\n";
  };
  EXPECT_EQ(peText(efiRom().magic(0x010B)), kPe);
  EXPECT_EQ(peText(efiRom().magic(0x020B)), kPe);
  EXPECT_EQ(peText(efiRom().magic(0x010A)), kPe + warning("010A"));
  EXPECT_EQ(peText(efiRom().magic(0x010C)), kPe + warning("010C"));
  EXPECT_EQ(peText(efiRom().magic(0x020A)), kPe + warning("020A"));
  EXPECT_EQ(peText(efiRom().magic(0x020C)), kPe + warning("020C"));
  EXPECT_EQ(peText(efiRom().magic(0)), kPe + warning("0000"));
}

TEST(PCIRomEfi, comparesMachineAndSubsystem) {
  EXPECT_EQ(peText(efiRom().peMachine(0xAA64)),
            "Embedded PE/COFF machine type: 0xAA64\nEmbedded PE/COFF subsystem: 0x000B\n"
            "Warning: EFI expansion-ROM Machine Type 0x8664 does not match embedded PE/COFF "
            "Machine 0xAA64.\n");
  EXPECT_EQ(peText(efiRom().peSubsystem(0x000C)),
            "Embedded PE/COFF machine type: 0x8664\nEmbedded PE/COFF subsystem: 0x000C\n"
            "Warning: EFI expansion-ROM Subsystem 0x000B does not match embedded PE/COFF "
            "Subsystem 0x000C.\n");
  EXPECT_EQ(peText(efiRom().magic(0xBEEF).peMachine(0).peSubsystem(0xFFFF)),
            "Embedded PE/COFF machine type: 0x0000\nEmbedded PE/COFF subsystem: 0xFFFF\n"
            "Warning: embedded PE/COFF optional-header magic 0xBEEF is not PE32 or PE32+.\n"
            "Warning: EFI expansion-ROM Machine Type 0x8664 does not match embedded PE/COFF "
            "Machine 0x0000.\n"
            "Warning: EFI expansion-ROM Subsystem 0x000B does not match embedded PE/COFF "
            "Subsystem 0xFFFF.\n");
}

}  // namespace
}  // namespace quillmor::test
