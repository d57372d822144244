#include "tools/analysis/FileStructure.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/AcpiTableBytes.h"
#include "support/GuardedBytes.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

const std::string kHead = "Detected structures:\n";
const std::string kUnknown = kHead + "- Unknown / raw binary";

std::string reportOn(std::span<const std::uint8_t> bytes) {
  return detectFileStructure(bytes).report;
}

bool isKnown(std::span<const std::uint8_t> bytes) {
  return detectFileStructure(bytes).isKnown;
}

struct Magic {
  Bytes bytes;
  std::string line;
};

const std::vector<Magic>& magics() {
  static const std::string machO = "- Mach-O / Universal Mach-O";
  static const std::vector<Magic> all = {
      {{0x55, 0xAA}, "- PCI Option ROM / VBIOS"},
      {{0x7F, 0x45, 0x4C, 0x46}, "- ELF executable"},
      {{0x4D, 0x5A}, "- PE/MZ executable"},
      {{0xCE, 0xFA, 0xED, 0xFE}, machO},
      {{0xFE, 0xED, 0xFA, 0xCE}, machO},
      {{0xCF, 0xFA, 0xED, 0xFE}, machO},
      {{0xFE, 0xED, 0xFA, 0xCF}, machO},
      {{0xCA, 0xFE, 0xBA, 0xBE}, machO},
      {{0xBE, 0xBA, 0xFE, 0xCA}, machO},
      {{0xCA, 0xFE, 0xBA, 0xBF}, machO},
      {{0xBF, 0xBA, 0xFE, 0xCA}, machO},
      {{0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A}, "- PNG image"},
      {{0xFF, 0xD8, 0xFF}, "- JPEG image"},
      {{0x42, 0x4D}, "- BMP image"},
      {{0x50, 0x4B, 0x03, 0x04}, "- ZIP archive"},
      {{0x62, 0x70, 0x6C, 0x69, 0x73, 0x74, 0x30, 0x30}, "- Binary plist"},
  };
  return all;
}

TEST(FileStructure, isUnknownWithoutBytes) {
  EXPECT_EQ(reportOn({}), "Detected structures:\n- Unknown / raw binary");
}

TEST(FileStructure, knowsEveryMagic) {
  for (const Magic& magic : magics()) {
    EXPECT_EQ(reportOn(magic.bytes), kHead + magic.line);
    Bytes more = magic.bytes;
    more.resize(100);
    EXPECT_EQ(reportOn(more), kHead + magic.line);
  }
}

TEST(FileStructure, needsEveryByteOfAMagicAtTheStart) {
  for (const Magic& magic : magics()) {
    for (std::size_t i = 0; i < magic.bytes.size(); ++i) {
      Bytes other = magic.bytes;
      other[i] ^= 0x20;
      EXPECT_EQ(reportOn(other), kUnknown) << magic.line << " " << i;
    }
    Bytes later = magic.bytes;
    later.insert(later.begin(), 0x00);
    EXPECT_EQ(reportOn(later), kUnknown) << magic.line;
  }
}

TEST(FileStructure, readsNoMoreThanThereIs) {
  GuardedBytes guarded(8);
  for (const Magic& magic : magics()) {
    for (std::size_t size = 0; size < magic.bytes.size(); ++size) {
      const auto part = guarded.atEnd(std::span(magic.bytes).first(size));
      EXPECT_EQ(reportOn(part), kUnknown) << magic.line << " " << size;
    }
  }
}

TEST(FileStructure, describesAcpiTables) {
  EXPECT_EQ(reportOn(acpiTable("SSDT", 36, 7, 0)),
            kHead + "- ACPI table: SSDT, length 36, checksum valid");
  EXPECT_EQ(reportOn(acpiTable("DSDT", 1000, 7, 1)),
            kHead + "- ACPI table: DSDT, length 1000, checksum invalid");
  EXPECT_EQ(reportOn(acpiStructure("SSDT", 35, 36)), kUnknown);
  EXPECT_EQ(reportOn(acpiStructure("SSDT", 37, 36)), kUnknown);
}

TEST(FileStructure, describesAFacs) {
  const std::string malformed =
      kHead +
      "- ACPI FACS signature with a malformed or truncated structure (no SDT checksum field)";
  EXPECT_EQ(reportOn(acpiStructure("FACS", 64, 64)),
            kHead + "- ACPI FACS, length 64 bytes (no SDT checksum field)");
  EXPECT_EQ(reportOn(acpiStructure("FACS", 63, 64)), malformed);
  EXPECT_EQ(reportOn(acpiStructure("FACS", 65, 64)), malformed);
  EXPECT_EQ(reportOn(Bytes{'F', 'A', 'C', 'S'}), malformed);
  EXPECT_EQ(reportOn(Bytes{'F', 'A', 'C'}), kUnknown);
}

TEST(FileStructure, takesFacxForATable) {
  EXPECT_EQ(reportOn(acpiTable("FACX", 36, 7, 0)),
            kHead + "- ACPI table: FACX, length 36, checksum valid");
  EXPECT_EQ(reportOn(acpiStructure("FACX", 36, 35)), kUnknown);
}

TEST(FileStructure, hasALineForEveryMatch) {
  EXPECT_EQ(reportOn(acpiTable("MZ00", 36, 7, 0)),
            kHead + "- PE/MZ executable\n- ACPI table: MZ00, length 36, checksum valid");
  EXPECT_EQ(reportOn(acpiTable("BMzz", 40, 7, 9)),
            kHead + "- BMP image\n- ACPI table: BMzz, length 40, checksum invalid");
}

TEST(FileStructure, isKnownWhereTheReportNamesOne) {
  EXPECT_FALSE(isKnown({}));
  for (const Magic& magic : magics()) {
    EXPECT_TRUE(isKnown(magic.bytes)) << magic.line;
    EXPECT_FALSE(isKnown(std::span(magic.bytes).first(magic.bytes.size() - 1))) << magic.line;
    Bytes later = magic.bytes;
    later.insert(later.begin(), 0x00);
    EXPECT_FALSE(isKnown(later)) << magic.line;
  }
  EXPECT_TRUE(isKnown(acpiTable("SSDT", 36, 7, 0)));
  EXPECT_TRUE(isKnown(acpiTable("SSDT", 36, 7, 1)));
  EXPECT_FALSE(isKnown(acpiStructure("SSDT", 35, 36)));
  EXPECT_TRUE(isKnown(acpiStructure("FACS", 64, 64)));
  EXPECT_TRUE(isKnown(acpiStructure("FACS", 63, 64)));
}

}  // namespace
}  // namespace quillmor::test
