#include "tools/firmware/PolarisRom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "support/GuardedBytes.h"
#include "support/OptionRomBuilder.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Rom = OptionRomBuilder;

const std::string kTooSmall = "The file is too small to contain a valid PCI option ROM header.";
const std::string kNoSignature =
    "This file does not start with the PCI option ROM signature 55 AA. The preset was not applied.";
const std::string kNoSize = "Invalid ROM size at offset 0x02. The size field is zero.";
const std::string kTruncated =
    "Invalid ROM size at offset 0x02. The header reports 1024 bytes, but the file has only 1023 "
    "bytes.";
const std::string kNoStructure =
    "The first PCI ROM image does not contain a complete PCIR structure at its declared offset. "
    "The Polaris preset was not applied.";
const std::string kStructureLength =
    "The PCIR structure length is invalid or extends beyond the first legacy ROM image. The "
    "Polaris preset was not applied.";
const std::string kSizeMismatch =
    "The legacy ROM size at offset 0x02 does not match the image length declared by PCIR. The "
    "Polaris preset was not applied.";
const std::string kCodeType =
    "The first PCI ROM image has PCIR code type 0x0A instead of the required legacy PC-AT type "
    "0x00. The Polaris preset was not applied.";
const std::string kOverlap =
    "The Polaris checksum byte at offset 0x21 overlaps the declared PCIR structure. The ROM is not "
    "safe for this preset and was not modified.";
const std::string kVendor =
    "The first PCI ROM image belongs to vendor 0x10DE, not AMD (0x1002). The Polaris preset was "
    "not applied.";

/// A valid image of `size` bytes, a multiple of 512, with its structure at `pcir`.
Rom polarisRom(std::size_t size = 1024, std::size_t pcir = 0x40) {
  return Rom(size).pcir(pcir).at(0x02, {static_cast<int>(size / 512)});
}

/// "valid, SIZE" or "CODE: MESSAGE".
std::string outcome(std::span<const std::uint8_t> bytes) {
  const auto validation = validatePCIRomForPolarisPreset(bytes);
  if (validation.isOk()) return "valid, " + std::to_string(validation.value().imageSize);
  EXPECT_EQ(validation.error().domain(), ErrorDomain::quillmor);
  return std::to_string(validation.error().code()) + ": " + validation.error().message();
}

std::string outcome(const Rom& rom) {
  return outcome(rom.bytes());
}

// --- validation -----------------------------------------------------------------------------

TEST(PolarisValidation, yieldsTheSizeOfTheImage) {
  EXPECT_EQ(outcome(polarisRom()), "valid, 1024");
  EXPECT_EQ(outcome(polarisRom(512)), "valid, 512");
  EXPECT_EQ(outcome(polarisRom(255 * 512)), "valid, 130560");
  EXPECT_EQ(outcome(Rom(3000).pcir(0x40).at(0x02, {2}).units(2)), "valid, 1024");
}

TEST(PolarisValidation, needs34Bytes) {
  EXPECT_EQ(outcome(Bytes{}), "2901: " + kTooSmall);
  EXPECT_EQ(outcome(Rom(33)), "2901: " + kTooSmall);
  EXPECT_EQ(outcome(Rom(33).at(0x02, {1})), "2901: " + kTooSmall);
  EXPECT_EQ(outcome(Rom(34)), "2903: " + kNoSize);
}

TEST(PolarisValidation, needsTheSignature) {
  EXPECT_EQ(outcome(polarisRom().at(0, {0x56})), "2902: " + kNoSignature);
  EXPECT_EQ(outcome(polarisRom().at(1, {0xA9})), "2902: " + kNoSignature);
}

TEST(PolarisValidation, needsTheBytesThatTheHeaderReports) {
  EXPECT_EQ(outcome(polarisRom(512).cutTo(511)),
            "2904: Invalid ROM size at offset 0x02. The header reports 512 bytes, but the file has "
            "only 511 bytes.");
  EXPECT_EQ(outcome(polarisRom().cutTo(1023)), "2904: " + kTruncated);
  EXPECT_EQ(outcome(Rom(34).at(0x02, {0xFF})),
            "2904: Invalid ROM size at offset 0x02. The header reports 130560 bytes, but the file "
            "has only 34 bytes.");
}

TEST(PolarisValidation, needsTheStructureWithinTheImage) {
  EXPECT_EQ(outcome(polarisRom(1024, 1000)), "valid, 1024");
  EXPECT_EQ(outcome(Rom(2048).pcir(1001).at(0x02, {2}).units(2)), "2905: " + kNoStructure);
  EXPECT_EQ(outcome(polarisRom().word(0x18, 0xFFFF)), "2905: " + kNoStructure);
  for (const std::size_t offset : {0x40U, 0x41U, 0x42U, 0x43U}) {
    EXPECT_EQ(outcome(polarisRom().text(offset, "p")), "2905: " + kNoStructure) << offset;
  }
}

TEST(PolarisValidation, needsAStructureThatEndsWithinTheImage) {
  EXPECT_EQ(outcome(polarisRom().length(0)), "2906: " + kStructureLength);
  EXPECT_EQ(outcome(polarisRom().length(23)), "2906: " + kStructureLength);
  EXPECT_EQ(outcome(polarisRom().length(25)), "valid, 1024");
  EXPECT_EQ(outcome(polarisRom().length(960)), "valid, 1024");
  EXPECT_EQ(outcome(polarisRom().length(961)), "2906: " + kStructureLength);
  EXPECT_EQ(outcome(polarisRom().length(0xFFFF)), "2906: " + kStructureLength);
  EXPECT_EQ(outcome(Rom(2048).pcir(0x40).at(0x02, {2}).units(2).length(961)),
            "2906: " + kStructureLength);
}

TEST(PolarisValidation, needsEqualSizesInHeaderAndStructure) {
  for (const std::size_t units : {0U, 1U, 3U, 0x0102U, 0x0200U, 0xFFFFU}) {
    EXPECT_EQ(outcome(polarisRom().units(units)), "2907: " + kSizeMismatch) << units;
  }
}

TEST(PolarisValidation, needsLegacyCode) {
  EXPECT_EQ(outcome(polarisRom().codeType(0x0A)), "2908: " + kCodeType);
  EXPECT_EQ(outcome(polarisRom().codeType(1)).substr(0, 56),
            "2908: The first PCI ROM image has PCIR code type 0x01 in");
  EXPECT_EQ(outcome(polarisRom().codeType(0xFF)).substr(0, 56),
            "2908: The first PCI ROM image has PCIR code type 0xFF in");
}

TEST(PolarisValidation, needsTheChecksumByteOutsideOfTheStructure) {
  // The pointer at 0x18 and 0x19 leaves no room for the structure's first bytes there.
  for (const std::size_t offset : {0x0AU, 0x1AU, 0x20U, 0x21U}) {
    EXPECT_EQ(outcome(polarisRom(1024, offset)), "2909: " + kOverlap) << offset;
  }
  EXPECT_EQ(outcome(polarisRom(1024, 0x22)), "valid, 1024");
  EXPECT_EQ(outcome(polarisRom(1024, 0x1A).length(1024 - 0x1A)), "2909: " + kOverlap);
}

TEST(PolarisValidation, takesAStructureThatEndsBeforeTheChecksumByte) {
  // At 8 the image's length lies where the pointer lies: both are 8.
  const auto rom = polarisRom(8 * 512, 8);
  EXPECT_EQ(outcome(rom), "valid, 4096");
  EXPECT_EQ(outcome(Rom(rom).length(25)), "valid, 4096");
  EXPECT_EQ(outcome(Rom(rom).length(26)), "2909: " + kOverlap);
}

TEST(PolarisValidation, needsTheVendor) {
  EXPECT_EQ(outcome(polarisRom().vendor(0x10DE)), "2910: " + kVendor);
  EXPECT_EQ(outcome(polarisRom().vendor(0x1003)).substr(0, 55),
            "2910: The first PCI ROM image belongs to vendor 0x1003,");
  EXPECT_EQ(outcome(polarisRom().vendor(0x1001)).substr(0, 55),
            "2910: The first PCI ROM image belongs to vendor 0x1001,");
  EXPECT_EQ(outcome(polarisRom().vendor(0x0210)).substr(0, 55),
            "2910: The first PCI ROM image belongs to vendor 0x0210,");
}

/// Breaks one thing that a check looks at and, as far as can be, nothing before it.
struct Fault {
  std::string outcome;
  std::function<void(Rom&)> make;
};

std::vector<Fault> faultsInOrder() {
  return {
      {"2901: " + kTooSmall, [](Rom& rom) { rom.cutTo(33); }},
      {"2902: " + kNoSignature, [](Rom& rom) { rom.at(0, {0xAA}); }},
      {"2903: " + kNoSize, [](Rom& rom) { rom.at(0x02, {0}); }},
      {"2904: " + kTruncated, [](Rom& rom) { rom.cutTo(1023); }},
      {"2905: " + kNoStructure, [](Rom& rom) { rom.text(0x20, "X"); }},
      {"2906: " + kStructureLength, [](Rom& rom) { rom.length(23); }},
      {"2907: " + kSizeMismatch, [](Rom& rom) { rom.units(1); }},
      {"2908: " + kCodeType, [](Rom& rom) { rom.codeType(0x0A); }},
      {"2909: " + kOverlap, [](Rom&) {}},  // the structure lies at 0x20 in all of them
      {"2910: " + kVendor, [](Rom& rom) { rom.vendor(0x10DE); }},
  };
}

TEST(PolarisValidation, reportsTheFirstFaultOfSeveral) {
  const auto faults = faultsInOrder();
  for (std::size_t first = 0; first < faults.size(); ++first) {
    for (std::size_t second = first + 1; second < faults.size(); ++second) {
      Rom rom = polarisRom(1024, 0x20);
      faults[second].make(rom);
      faults[first].make(rom);
      EXPECT_EQ(outcome(rom), faults[first].outcome) << first << " " << second;
    }
  }
}

TEST(PolarisValidation, readsNothingOutsideOfItsBytes) {
  const Bytes rom = polarisRom(512).bytes();
  GuardedBytes guarded(rom.size());
  for (std::size_t size = 0; size < rom.size(); ++size) {
    const std::string expected =
        size < 34 ? "2901: " + kTooSmall
                  : "2904: Invalid ROM size at offset 0x02. The header reports 512 bytes, but the "
                    "file has only " +
                        std::to_string(size) + " bytes.";
    EXPECT_EQ(outcome(guarded.atEnd(std::span(rom).first(size))), expected);
  }
  EXPECT_EQ(outcome(guarded.atEnd(rom)), "valid, 512");
  const Bytes late = polarisRom(512, 488).bytes();
  EXPECT_EQ(outcome(guarded.atEnd(late)), "valid, 512");
}

// --- checksum -------------------------------------------------------------------------------

TEST(PolarisChecksum, addsUpTheFirstImageOnly) {
  const Bytes bytes = {0xFF, 0x02, 0x10, 0x80};
  EXPECT_EQ(polarisImageSum(bytes, 0), 0x00);
  EXPECT_EQ(polarisImageSum(bytes, 1), 0xFF);
  EXPECT_EQ(polarisImageSum(bytes, 2), 0x01);
  EXPECT_EQ(polarisImageSum(bytes, 3), 0x11);
  EXPECT_EQ(polarisImageSum(bytes, 4), 0x91);
  GuardedBytes guarded(4);
  EXPECT_EQ(polarisImageSum(guarded.atEnd(bytes), 4), 0x91);
}

/// A ROM with `checksum` at 0x21 and an image that adds up to `sum`, more bytes behind it.
Rom summedRom(int checksum, int sum) {
  Rom rom = Rom(2000).pcir(0x40).at(0x02, {2}).units(2).at(1500, {0x77});
  return rom.at(0x21, {checksum}).summingTo(sum, 1024, 0x3F0);
}

TEST(PolarisChecksum, isDescribedInFourLines) {
  EXPECT_EQ(polarisValidationText(summedRom(0xAB, 0).bytes(), {1024}),
            "Checksum is valid.\nROM image size: 1024 bytes\nChecksum byte at 0x21: 0xAB\n"
            "Image checksum sum: 0x00");
  EXPECT_EQ(polarisValidationText(summedRom(0x0C, 0xDE).bytes(), {1024}),
            "Checksum is invalid. Use Presets > Fix Polaris Checksum to correct it.\n"
            "ROM image size: 1024 bytes\nChecksum byte at 0x21: 0x0C\nImage checksum sum: 0xDE");
}

TEST(PolarisChecksum, isFixedModulo256) {
  const auto fixOf = [](int checksum, int sum) {
    return polarisChecksumFix(summedRom(checksum, sum).bytes(), {1024});
  };
  EXPECT_EQ(fixOf(0x10, 0x05), (PolarisChecksumResult{1024, 0x21, 0x10, 0x0B, 0x05, 0x00, true}));
  EXPECT_EQ(fixOf(0x02, 0x05), (PolarisChecksumResult{1024, 0x21, 0x02, 0xFD, 0x05, 0x00, true}));
  EXPECT_EQ(fixOf(0x37, 0x00), (PolarisChecksumResult{1024, 0x21, 0x37, 0x37, 0x00, 0x00, false}));
  EXPECT_EQ(fixOf(0x00, 0xFF), (PolarisChecksumResult{1024, 0x21, 0x00, 0x01, 0xFF, 0x00, true}));
  EXPECT_EQ(fixOf(0xFF, 0xFF), (PolarisChecksumResult{1024, 0x21, 0xFF, 0x00, 0xFF, 0x00, true}));
}

TEST(PolarisChecksum, isValidOnceFixed) {
  Bytes bytes = summedRom(0x99, 0x44).bytes();
  const auto fix = polarisChecksumFix(bytes, {1024});
  bytes[0x21] = fix.newChecksum;
  EXPECT_EQ(polarisImageSum(bytes, 1024), 0);
  const auto again = polarisChecksumFix(bytes, {1024});
  EXPECT_FALSE(again.changed);
  EXPECT_EQ(again.newChecksum, fix.newChecksum);
}

TEST(PolarisChecksum, readsNothingBehindTheBytes) {
  GuardedBytes guarded(512);
  const auto rom = guarded.atEnd(polarisRom(512).summingTo(3, 512, 511).bytes());
  EXPECT_EQ(polarisChecksumFix(rom, {512}).sumBefore, 3);
  EXPECT_EQ(polarisValidationText(rom, {512}).substr(0, 20), "Checksum is invalid.");
}

TEST(PolarisChecksum, isReportedInSevenLines) {
  EXPECT_EQ(polarisChecksumReport({130560, 0x21, 0x10, 0x0B, 0x05, 0x00, true}),
            "Polaris checksum: Checksum fixed.\nROM image size: 130560 bytes\n"
            "Checksum offset: 0x00000021\nOld checksum byte: 0x10\nNew checksum byte: 0x0B\n"
            "Sum before: 0x05\nSum after: 0x00");
  EXPECT_EQ(polarisChecksumReport({512, 0x21, 0xEF, 0xEF, 0, 0, false}),
            "Polaris checksum: Checksum already valid; no byte change was needed.\n"
            "ROM image size: 512 bytes\nChecksum offset: 0x00000021\nOld checksum byte: 0xEF\n"
            "New checksum byte: 0xEF\nSum before: 0x00\nSum after: 0x00");
}

}  // namespace
}  // namespace quillmor::test
