#include "tools/firmware/AcpiTables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/AcpiTableBytes.h"
#include "support/ErrorMatchers.h"
#include "support/GuardedBytes.h"
#include "support/Stopping.h"
#include "tools/analysis/FileStructure.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kMaxLength = 67'108'864;

constexpr const char* kNoTable =
    "This does not look like a valid ACPI System Description Table header.";
constexpr const char* kFacsText =
    "FACS uses the Firmware ACPI Control Structure layout and does not define the standard ACPI "
    "System Description Table checksum byte.";
constexpr const char* kFacsError =
    "FACS does not have the standard ACPI System Description Table checksum byte. No data was "
    "modified.";

bool isTable(const Bytes& bytes) {
  return acpiInfo(bytes).has_value();
}

bool isFacs(const Bytes& bytes) {
  return facsInfo(bytes).has_value();
}

std::string textOn(const Bytes& bytes) {
  return validateACPIChecksum(bytes).text;
}

/// The largest table there may be.
const Bytes& largestTable() {
  static const Bytes bytes = acpiTable("SSDT", kMaxLength, 7, 0);
  return bytes;
}

// --- recognising a table --------------------------------------------------------------------

TEST(AcpiInfo, describesAValidTable) {
  const auto info = acpiInfo(acpiTable("SSDT", 300, 0xAB, 0));
  ASSERT_TRUE(info.has_value());
  EXPECT_EQ(info->signature, "SSDT");
  EXPECT_EQ(info->length, 300);
  EXPECT_EQ(info->checksum, 0xAB);
  EXPECT_TRUE(info->isValid);
  EXPECT_EQ(info->report, "Signature: SSDT\nLength: 300 bytes\nChecksum byte: 0xAB\nSum: 0x00");
}

TEST(AcpiInfo, describesATableWhoseSumIsNotZero) {
  const auto info = acpiInfo(acpiTable("a0Z9", 36, 0x05, 0xFE));
  ASSERT_TRUE(info.has_value());
  EXPECT_FALSE(info->isValid);
  EXPECT_EQ(info->report, "Signature: a0Z9\nLength: 36 bytes\nChecksum byte: 0x05\nSum: 0xFE");
  EXPECT_FALSE(acpiInfo(acpiTable("DSDT", 36, 0, 1))->isValid);
  EXPECT_FALSE(acpiInfo(acpiTable("DSDT", 36, 0, 255))->isValid);
}

TEST(AcpiInfo, addsUpTheTableOnly) {
  Bytes bytes = acpiTable("SSDT", 40, 1, 0);
  bytes.push_back(7);
  EXPECT_TRUE(acpiInfo(bytes)->isValid);
  EXPECT_EQ(acpiInfo(bytes)->length, 40);
  bytes[39] ^= 0x80;
  EXPECT_FALSE(acpiInfo(bytes)->isValid);
}

TEST(AcpiInfo, needsALengthFrom36ToTheNumberOfBytes) {
  EXPECT_FALSE(isTable({}));
  EXPECT_FALSE(isTable(acpiStructure("SSDT", 35, 36)));
  EXPECT_FALSE(isTable(acpiStructure("SSDT", 35, 35)));
  EXPECT_FALSE(isTable(acpiStructure("SSDT", 36, 35)));
  EXPECT_TRUE(isTable(acpiStructure("SSDT", 36, 36)));
  EXPECT_FALSE(isTable(acpiStructure("SSDT", 37, 36)));
  EXPECT_TRUE(isTable(acpiStructure("SSDT", 37, 37)));
  EXPECT_FALSE(isTable(acpiStructure("SSDT", 0, 64)));
  EXPECT_FALSE(isTable(acpiStructure("SSDT", 0x80000000, 64)));
  EXPECT_FALSE(isTable(acpiStructure("SSDT", 0xFFFFFFFF, 64)));
}

TEST(AcpiInfo, takesTablesUpTo64MiB) {
  Bytes bytes = acpiStructure("SSDT", kMaxLength, kMaxLength + 1);
  EXPECT_TRUE(isTable(bytes));
  bytes[4] = 1;
  EXPECT_FALSE(isTable(bytes));
  bytes[4] = 0;
  bytes[0] = bytes[1] = bytes[2] = bytes[3] = 0;
  const std::string facs = "FACS";
  std::copy(facs.begin(), facs.end(), bytes.begin());
  EXPECT_TRUE(isFacs(bytes));
  bytes[4] = 1;
  EXPECT_FALSE(isFacs(bytes));
}

TEST(AcpiInfo, needsLettersAndDigitsInTheSignature) {
  for (const char* signature : {"0000", "9999", "AAAA", "ZZZZ", "aaaa", "zzzz"}) {
    EXPECT_TRUE(isTable(acpiStructure(signature, 36, 36))) << signature;
  }
  // The characters beside the digits and letters.
  for (const char other : {'/', ':', '@', '[', '`', '{', ' ', '\0', '_', '\xE1', '\xFF'}) {
    for (std::size_t i = 0; i < 4; ++i) {
      std::string signature = "SSDT";
      signature[i] = other;
      EXPECT_FALSE(isTable(acpiStructure(signature, 36, 36))) << i << " " << int{other};
    }
  }
}

TEST(AcpiInfo, tellsFacsFromTablesWithSimilarSignatures) {
  EXPECT_FALSE(isTable(acpiStructure("FACS", 64, 64)));
  EXPECT_FALSE(isTable(acpiStructure("FACS", 36, 36)));
  EXPECT_TRUE(isTable(acpiStructure("FACX", 36, 36)));
  EXPECT_FALSE(isTable(acpiStructure("FACX", 36, 35)));
  EXPECT_FALSE(isTable(acpiStructure("FAC-", 36, 36)));
  EXPECT_TRUE(isTable(acpiStructure("FACs", 36, 36)));
  EXPECT_TRUE(isTable(acpiStructure("FACP", 36, 36)));
  EXPECT_EQ(acpiInfo(acpiStructure("FACX", 36, 36))->signature, "FACX");
}

// --- recognising a FACS ---------------------------------------------------------------------

TEST(FacsInfo, yieldsLengthAndHardwareSignature) {
  Bytes bytes = acpiStructure("FACS", 64, 64);
  bytes[8] = 0x78;
  bytes[9] = 0x56;
  bytes[10] = 0x34;
  bytes[11] = 0xF2;
  const auto info = facsInfo(bytes);
  ASSERT_TRUE(info.has_value());
  EXPECT_EQ(info->length, 64U);
  EXPECT_EQ(info->hardwareSignature, 0xF2345678U);
}

TEST(FacsInfo, needsALengthFrom64ToTheNumberOfBytes) {
  EXPECT_FALSE(isFacs({}));
  EXPECT_FALSE(isFacs(acpiStructure("FACS", 64, 11)));
  EXPECT_FALSE(isFacs(acpiStructure("FACS", 64, 12)));
  EXPECT_FALSE(isFacs(acpiStructure("FACS", 63, 64)));
  EXPECT_TRUE(isFacs(acpiStructure("FACS", 64, 64)));
  EXPECT_FALSE(isFacs(acpiStructure("FACS", 64, 63)));
  EXPECT_FALSE(isFacs(acpiStructure("FACS", 65, 64)));
  EXPECT_TRUE(isFacs(acpiStructure("FACS", 65, 66)));
  EXPECT_FALSE(isFacs(acpiStructure("FACS", 0xFFFFFFFF, 64)));
}

TEST(FacsInfo, needsItsSignature) {
  EXPECT_FALSE(isFacs(acpiStructure("FACX", 64, 64)));
  EXPECT_FALSE(isFacs(acpiStructure("facs", 64, 64)));
  EXPECT_FALSE(isFacs(acpiStructure("XACS", 64, 64)));
}

TEST(AcpiTables, areReadWithinTheirBytes) {
  const Bytes table = acpiTable("SSDT", 100, 3, 0);
  const Bytes facs = acpiStructure("FACS", 100, 100);
  GuardedBytes guarded(100);
  for (std::size_t size = 0; size <= 100; ++size) {
    const auto partOfTable = guarded.atEnd(std::span(table).first(size));
    EXPECT_EQ(acpiInfo(partOfTable).has_value(), size == 100) << size;
    EXPECT_FALSE(facsInfo(partOfTable).has_value()) << size;
    const auto partOfFacs = guarded.atEnd(std::span(facs).first(size));
    EXPECT_EQ(facsInfo(partOfFacs).has_value(), size == 100) << size;
    EXPECT_FALSE(acpiInfo(partOfFacs).has_value()) << size;
  }
}

// --- validating -----------------------------------------------------------------------------

TEST(AcpiChecksumText, saysWhetherTheChecksumIsValid) {
  EXPECT_EQ(textOn(acpiTable("APIC", 44, 0x1F, 0)),
            "Checksum is valid.\n\n"
            "Signature: APIC\nLength: 44 bytes\nChecksum byte: 0x1F\nSum: 0x00");
  EXPECT_EQ(textOn(acpiTable("APIC", 44, 0x1F, 0x0A)),
            "Checksum is invalid.\n\n"
            "Signature: APIC\nLength: 44 bytes\nChecksum byte: 0x1F\nSum: 0x0A");
}

TEST(AcpiChecksumText, saysThatAFacsHasNone) {
  EXPECT_EQ(textOn(acpiStructure("FACS", 64, 64)), kFacsText);
  EXPECT_EQ(textOn(acpiStructure("FACS", 1, 8)), kFacsText);
  EXPECT_EQ(textOn(Bytes{'F', 'A', 'C', 'S'}), kFacsText);
}

TEST(AcpiChecksumText, refusesEverythingElse) {
  EXPECT_THAT([] { (void)textOn({}); }, failsWith(2801, kNoTable));
  EXPECT_THAT([] { (void)textOn(Bytes{'F', 'A', 'C'}); }, failsWith(2801, kNoTable));
  EXPECT_THAT([] { (void)textOn(acpiStructure("SSDT", 35, 64)); }, failsWith(2801, kNoTable));
}

TEST(AcpiChecksumText, comesWithWhetherTheChecksumIsValid) {
  EXPECT_TRUE(validateACPIChecksum(acpiTable("APIC", 44, 0x1F, 0)).isValid);
  EXPECT_FALSE(validateACPIChecksum(acpiTable("APIC", 44, 0x1F, 1)).isValid);
  EXPECT_TRUE(validateACPIChecksum(acpiStructure("FACS", 64, 64)).isValid);
}

// --- progress -------------------------------------------------------------------------------

TEST(AcpiPasses, addUpATableOnce) {
  const Bytes bytes = acpiTable("SSDT", 1'000'000, 7, 0);
  const auto countedBy = [&](auto work) {
    TaskProgress progress;
    work(progress);
    // The pass has set the total to the length of the table.
    EXPECT_EQ(progress.fraction(), 1);
    progress.setTotal(2 * std::ssize(bytes));
    return progress.fraction() * 2;
  };
  EXPECT_EQ(countedBy([&](auto& progress) { acpiInfo(bytes, &progress); }), 1);
  EXPECT_EQ(countedBy([&](auto& progress) { (void)validateACPIChecksum(bytes, &progress); }), 1);
  EXPECT_EQ(countedBy([&](auto& progress) { (void)acpiChecksumFix(bytes, &progress); }), 1);
  EXPECT_EQ(countedBy([&](auto& progress) { detectFileStructure(bytes, &progress); }), 1);
}

TEST(AcpiPasses, doNoWorkAfterAStop) {
  const Bytes bytes = acpiTable("SSDT", 1'000'000, 7, 0);
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { acpiInfo(bytes, &progress); }, isStopped());
  EXPECT_THAT([&] { (void)validateACPIChecksum(bytes, &progress); }, isStopped());
  EXPECT_THAT([&] { (void)acpiChecksumFix(bytes, &progress); }, isStopped());
  EXPECT_THAT([&] { detectFileStructure(bytes, &progress); }, isStopped());
  EXPECT_EQ(progress.fraction(), 0);
}

TEST(AcpiPasses, stopInTheMiddle) {
  const Bytes& bytes = largestTable();
  const auto watched = [&](TaskProgress& progress) {
    try {
      acpiInfo(bytes, &progress);
    } catch (const Error&) {
      // What was left undone is most of it.
      EXPECT_LT(progress.fraction(), 1);
      throw;
    }
  };
  EXPECT_TRUE(stopsInTheMiddle(watched));
  EXPECT_TRUE(
      stopsInTheMiddle([&](TaskProgress& progress) { (void)acpiChecksumFix(bytes, &progress); }));
  EXPECT_TRUE(
      stopsInTheMiddle([&](TaskProgress& progress) { detectFileStructure(bytes, &progress); }));
}

// --- fixing ---------------------------------------------------------------------------------

TEST(AcpiChecksumFix, yieldsTheByteThatMakesTheSumZero) {
  const auto fixOf = [](std::uint8_t checksum, std::uint8_t sum) {
    const auto fix = acpiChecksumFix(acpiTable("SSDT", 52, checksum, sum));
    EXPECT_EQ(fix.oldValue, checksum);
    return fix.newValue;
  };
  EXPECT_EQ(fixOf(0x10, 0x05), 0x0B);
  EXPECT_EQ(fixOf(0x02, 0x05), 0xFD);
  EXPECT_EQ(fixOf(0x00, 0x01), 0xFF);
  EXPECT_EQ(fixOf(0xFF, 0xFF), 0x00);
  EXPECT_EQ(fixOf(0x37, 0x00), 0x37);
}

TEST(AcpiChecksumFix, makesAnyTableValid) {
  for (int sum = 0; sum < 256; ++sum) {
    Bytes bytes = acpiTable("SSDT", 52, static_cast<std::uint8_t>(sum * 7), 0);
    bytes[20] = static_cast<std::uint8_t>(bytes[20] + sum);
    const auto fix = acpiChecksumFix(bytes);
    EXPECT_EQ(fix.oldValue == fix.newValue, sum == 0) << sum;
    bytes[static_cast<std::size_t>(kACPIChecksumOffset)] = fix.newValue;
    EXPECT_TRUE(acpiInfo(bytes)->isValid) << sum;
  }
}

TEST(AcpiChecksumFix, refusesWhatHasNoChecksum) {
  EXPECT_THAT([] { (void)acpiChecksumFix(acpiStructure("FACS", 64, 64)); },
              failsWith(2802, kFacsError));
  EXPECT_THAT(
      [] {
        (void)acpiChecksumFix(Bytes{'F', 'A', 'C', 'S'});
      },
      failsWith(2802, kFacsError));
  EXPECT_THAT([] { (void)acpiChecksumFix({}); }, failsWith(2801, kNoTable));
  EXPECT_THAT([] { (void)acpiChecksumFix(acpiStructure("SSDT", 65, 64)); },
              failsWith(2801, kNoTable));
}

TEST(AcpiChecksumFix, hasItsTexts) {
  EXPECT_EQ(acpiChecksumFixText({0x0A, 0x0A}), "Checksum is already valid: 0x0A");
  EXPECT_EQ(acpiChecksumFixText({0x0B, 0xFD}), "Checksum byte updated: 0x0B -> 0xFD");
}

}  // namespace
}  // namespace quillmor::test
