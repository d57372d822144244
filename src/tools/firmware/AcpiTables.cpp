#include "tools/firmware/AcpiTables.h"

#include <algorithm>
#include <string_view>

#include "base/ByteUnits.h"
#include "base/Error.h"
#include "kernels/ByteSum.h"
#include "tools/firmware/FieldReader.h"
#include "tools/firmware/FirmwareText.h"

namespace quillmor {

namespace {

constexpr std::size_t kSignatureLength = 4;
constexpr std::int64_t kLengthField = 4;
constexpr std::int64_t kHeaderLength = 36;
constexpr std::int64_t kLeastFacsSize = 12;
constexpr std::int64_t kLeastFacsLength = 64;
constexpr std::int64_t kHardwareSignatureField = 8;
constexpr std::int64_t kMaxLength = 64 * kMiB;

/// The bytes that are added up between two looks at the stop request.
constexpr std::size_t kPieceSize = 256 * kKiB;

constexpr int kNoTableCode = 2801;
constexpr int kNoChecksumCode = 2802;

bool isFacs(std::span<const std::uint8_t> bytes) {
  return FieldReader(bytes).has("FACS");
}

bool isLetterOrDigit(std::uint8_t byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
         (byte >= 'a' && byte <= 'z');
}

/// The bytes of the table that `bytes` begin with; none when they begin with no table.
std::span<const std::uint8_t> tableAtStart(std::span<const std::uint8_t> bytes) {
  if (isFacs(bytes) || std::ssize(bytes) < kHeaderLength) return {};
  if (!std::ranges::all_of(bytes.first(kSignatureLength), isLetterOrDigit)) return {};
  const std::int64_t length = FieldReader(bytes).doubleWord(kLengthField);
  if (length < kHeaderLength || length > kMaxLength || length > std::ssize(bytes)) return {};
  return bytes.first(static_cast<std::size_t>(length));
}

std::uint8_t sumOf(std::span<const std::uint8_t> table, TaskProgress* progress) {
  if (progress != nullptr) progress->setTotal(std::ssize(table));
  std::uint8_t sum = 0;
  while (!table.empty()) {
    if (progress != nullptr) progress->checkpoint();
    const auto piece = table.first(std::min(table.size(), kPieceSize));
    sum = static_cast<std::uint8_t>(sum + byteSum(piece));
    if (progress != nullptr) progress->advance(std::ssize(piece));
    table = table.subspan(piece.size());
  }
  return sum;
}

std::string tableReport(const ACPIInfo& info, std::uint8_t sum) {
  std::string report = "Signature: " + info.signature;
  report.append("\nLength: ").append(std::to_string(info.length)).append(" bytes");
  report.append("\nChecksum byte: ").append(hexText(info.checksum));
  report.append("\nSum: ").append(hexText(sum));
  return report;
}

Error noTableError() {
  return Error::quillmor(kNoTableCode,
                         "This does not look like a valid ACPI System Description Table header.");
}

}  // namespace

std::optional<ACPIInfo> acpiInfo(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  const auto table = tableAtStart(bytes);
  if (table.empty()) return std::nullopt;
  ACPIInfo info;
  info.signature.assign(table.begin(), table.begin() + kSignatureLength);
  info.length = std::ssize(table);
  info.checksum = FieldReader(table).byte(kACPIChecksumOffset);
  const std::uint8_t sum = sumOf(table, progress);
  info.isValid = sum == 0;
  info.report = tableReport(info, sum);
  return info;
}

std::optional<FACSInfo> facsInfo(std::span<const std::uint8_t> bytes) {
  const FieldReader facs(bytes);
  if (facs.size() < kLeastFacsSize || !isFacs(bytes)) return std::nullopt;
  const std::uint32_t length = facs.doubleWord(kLengthField);
  if (length < kLeastFacsLength || length > kMaxLength || length > facs.size()) return std::nullopt;
  return FACSInfo{length, facs.doubleWord(kHardwareSignatureField)};
}

ACPIValidation validateACPIChecksum(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  if (isFacs(bytes)) {
    return {.isValid = true,
            .text =
                "FACS uses the Firmware ACPI Control Structure layout and does not define the "
                "standard ACPI System Description Table checksum byte."};
  }
  const auto info = acpiInfo(bytes, progress);
  if (!info) throw noTableError();
  const char* const answer = info->isValid ? "Checksum is valid.\n\n" : "Checksum is invalid.\n\n";
  return {.isValid = info->isValid, .text = answer + info->report};
}

ACPIChecksumFix acpiChecksumFix(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  if (isFacs(bytes)) {
    throw Error::quillmor(kNoChecksumCode,
                          "FACS does not have the standard ACPI System Description Table checksum "
                          "byte. No data was modified.");
  }
  const auto table = tableAtStart(bytes);
  if (table.empty()) throw noTableError();
  const std::uint8_t old = FieldReader(table).byte(kACPIChecksumOffset);
  return {old, static_cast<std::uint8_t>(old - sumOf(table, progress))};
}

std::string acpiChecksumFixText(const ACPIChecksumFix& fix) {
  if (fix.oldValue == fix.newValue) return "Checksum is already valid: " + hexText(fix.oldValue);
  return "Checksum byte updated: " + hexText(fix.oldValue) + " -> " + hexText(fix.newValue);
}

}  // namespace quillmor
