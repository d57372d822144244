// Tries the functions on ACPI tables, and the detector of file structures, on any bytes.
// Invariants:
//  - bytes are a table, a FACS or neither, never both, and only what begins "FACS" is a FACS;
//  - a table has four letters or digits for a signature, lies within the bytes, has its checksum
//    where it belongs, and is none any more without its last byte;
//  - the bytes behind a table or a FACS change nothing;
//  - a table with its checksum fixed is valid, and fixing it again changes nothing; a table is
//    valid exactly when there is nothing to fix;
//  - validating and fixing throw for everything else, and fixing throws for a FACS;
//  - the detector's report has its head, one line or more, and names the table or FACS.

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "base/Check.h"
#include "base/Error.h"
#include "fuzz/FuzzImage.h"
#include "fuzz/FuzzTargets.h"
#include "tools/analysis/FileStructure.h"
#include "tools/firmware/AcpiTables.h"

namespace quillmor::fuzz {

namespace {

constexpr std::size_t kChecksum = kACPIChecksumOffset;

bool startsWithFacs(const Bytes& bytes) {
  return bytes.size() >= 4 &&
         std::string_view(reinterpret_cast<const char*>(bytes.data()), 4) == "FACS";
}

/// The code of what `action` throws; 0 when it throws nothing.
template <class Action>
int codeThrownBy(Action action) {
  try {
    action();
  } catch (const Error& error) {
    return error.code();
  }
  return 0;
}

void checkTable(const Bytes& bytes, const ACPIInfo& info) {
  checkPrecondition(info.signature.size() == 4, "A signature has four characters");
  for (std::size_t i = 0; i < 4; ++i) {
    const char c = info.signature[i];
    checkPrecondition(static_cast<std::uint8_t>(c) == bytes[i], "The signature comes first");
    const bool isDigit = c >= '0' && c <= '9';
    const bool isLetter = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    checkPrecondition(isDigit || isLetter, "A signature is letters and digits");
  }
  checkPrecondition(info.length >= 36 && info.length <= std::ssize(bytes),
                    "A table lies within the bytes");
  checkPrecondition(info.checksum == bytes[kChecksum], "The checksum is where it belongs");
  checkPrecondition(info.report.starts_with("Signature: " + info.signature + "\nLength: " +
                                            std::to_string(info.length) + " bytes\n"),
                    "The report names the table");
  checkPrecondition(info.report.ends_with("\nSum: 0x00") == info.isValid, "A valid sum is zero");
  checkPrecondition(
      validateACPIChecksum(bytes).text ==
          (info.isValid ? "Checksum is valid.\n\n" : "Checksum is invalid.\n\n") + info.report,
      "Validating says what the table is");
}

void checkBoundsOfTable(const Bytes& bytes, const ACPIInfo& info) {
  const auto after = acpiInfo(invertedFrom(bytes, info.length));
  checkPrecondition(after && after->report == info.report, "Bytes behind a table change nothing");
  const Bytes shorter(bytes.begin(), bytes.begin() + info.length - 1);
  checkPrecondition(!acpiInfo(shorter), "A table that is cut is none");
}

void checkFix(const Bytes& bytes, const ACPIInfo& info) {
  const ACPIChecksumFix fix = acpiChecksumFix(bytes);
  checkPrecondition(fix.oldValue == bytes[kChecksum], "A fix starts from the byte there is");
  checkPrecondition((fix.oldValue == fix.newValue) == info.isValid,
                    "What is valid needs no fix and nothing else");
  Bytes fixed = bytes;
  fixed[kChecksum] = fix.newValue;
  const auto fixedInfo = acpiInfo(fixed);
  checkPrecondition(fixedInfo && fixedInfo->isValid, "What is fixed is valid");
  const ACPIChecksumFix again = acpiChecksumFix(fixed);
  checkPrecondition(again.oldValue == fix.newValue && again.newValue == fix.newValue,
                    "Fixing twice changes nothing");
}

void checkOthers(const Bytes& bytes) {
  const bool isFacs = startsWithFacs(bytes);
  checkPrecondition(codeThrownBy([&] { (void)validateACPIChecksum(bytes); }) == (isFacs ? 0 : 2801),
                    "Validating refuses what is neither table nor FACS");
  checkPrecondition(codeThrownBy([&] { (void)acpiChecksumFix(bytes); }) == (isFacs ? 2802 : 2801),
                    "Fixing refuses what has no checksum");
}

void checkFacs(const Bytes& bytes) {
  const auto facs = facsInfo(bytes);
  if (!facs) return;
  checkPrecondition(startsWithFacs(bytes), "A FACS has its signature");
  checkPrecondition(facs->length >= 64 && facs->length <= bytes.size(),
                    "A FACS lies within the bytes");
  const auto after = facsInfo(invertedFrom(bytes, facs->length));
  checkPrecondition(
      after && after->length == facs->length && after->hardwareSignature == facs->hardwareSignature,
      "Bytes behind a FACS change nothing");
}

void checkDetector(const Bytes& bytes, const std::optional<ACPIInfo>& table) {
  const std::string report = detectFileStructure(bytes).report;
  checkPrecondition(report.starts_with("Detected structures:\n- ") && !report.ends_with('\n'),
                    "The detector's report has a head and lines");
  const std::string name = table ? "\n- ACPI table: " + table->signature + ", length " +
                                       std::to_string(table->length) + ", checksum " +
                                       (table->isValid ? "valid" : "invalid")
                           : startsWithFacs(bytes) ? "\n- ACPI FACS"
                                                   : "";
  const bool hasAcpi = report.find("- ACPI ") != std::string::npos;
  checkPrecondition(hasAcpi == !name.empty() && report.find(name) != std::string::npos,
                    "The detector names the table");
}

}  // namespace

void fuzzAcpi(std::span<const std::uint8_t> input) {
  const Bytes bytes(input.begin(), input.end());
  const auto table = acpiInfo(bytes);
  checkPrecondition(!table || !startsWithFacs(bytes), "A FACS is no table");
  checkDetector(bytes, table);
  checkFacs(bytes);
  if (!table) return checkOthers(bytes);
  checkTable(bytes, *table);
  checkBoundsOfTable(bytes, *table);
  checkFix(bytes, *table);
}

}  // namespace quillmor::fuzz
