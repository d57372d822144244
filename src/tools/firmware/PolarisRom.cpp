#include "tools/firmware/PolarisRom.h"

#include <algorithm>
#include <utility>

#include "base/Check.h"
#include "kernels/ByteSum.h"
#include "search/OccurrenceWalk.h"
#include "tools/firmware/FieldReader.h"
#include "tools/firmware/FirmwareText.h"

namespace quillmor {

namespace {

constexpr std::int64_t kLeastSize = 34;
constexpr std::int64_t kUnit = 512;
constexpr std::int64_t kLeastPcirLength = 24;
constexpr std::uint16_t kAmdVendor = 0x1002;

/// The errors of the ten checks, in their order.
enum Failure {
  kTooSmall = 2901,
  kNoSignature,
  kNoSize,
  kTruncated,
  kNoStructure,
  kStructureLength,
  kSizeMismatch,
  kCodeType,
  kOverlap,
  kVendor
};

std::optional<Error> failure(Failure code, std::string message) {
  return Error::quillmor(code, std::move(message));
}

/// Checks 1 to 4, of the header.
std::optional<Error> headerFailure(const FieldReader& rom) {
  if (rom.size() < kLeastSize) {
    return failure(kTooSmall, "The file is too small to contain a valid PCI option ROM header.");
  }
  if (!rom.has("\x55\xAA")) {
    return failure(kNoSignature,
                   "This file does not start with the PCI option ROM signature 55 AA. The preset "
                   "was not applied.");
  }
  const std::int64_t imageSize = rom.byte(0x02) * kUnit;
  if (imageSize == 0) {
    return failure(kNoSize, "Invalid ROM size at offset 0x02. The size field is zero.");
  }
  if (rom.size() < imageSize) {
    return failure(kTruncated, "Invalid ROM size at offset 0x02. The header reports " +
                                   std::to_string(imageSize) + " bytes, but the file has only " +
                                   std::to_string(rom.size()) + " bytes.");
  }
  return std::nullopt;
}

/// Checks 5 to 7, of the structure at `pcir`, which has to lie within the image.
std::optional<Error> structureFailure(const FieldReader& rom, std::int64_t pcir) {
  const std::uint8_t imageUnits = rom.byte(0x02);
  const std::int64_t imageSize = imageUnits * kUnit;
  if (pcir > imageSize - kLeastPcirLength || !rom.has("PCIR", pcir)) {
    return failure(kNoStructure,
                   "The first PCI ROM image does not contain a complete PCIR structure at its "
                   "declared offset. The Polaris preset was not applied.");
  }
  const std::uint16_t length = rom.word(pcir + 0x0A);
  if (length < kLeastPcirLength || length > imageSize - pcir) {
    return failure(kStructureLength,
                   "The PCIR structure length is invalid or extends beyond the first legacy ROM "
                   "image. The Polaris preset was not applied.");
  }
  if (rom.word(pcir + 0x10) != imageUnits) {
    return failure(kSizeMismatch,
                   "The legacy ROM size at offset 0x02 does not match the image length declared by "
                   "PCIR. The Polaris preset was not applied.");
  }
  return std::nullopt;
}

/// Checks 8 to 10: the facts about the image in the structure.
std::optional<Error> kindFailure(const FieldReader& rom, std::int64_t pcir) {
  const std::uint8_t codeType = rom.byte(pcir + 0x14);
  if (codeType != 0) {
    return failure(kCodeType, "The first PCI ROM image has PCIR code type " + hexText(codeType) +
                                  " instead of the required legacy PC-AT type 0x00. The Polaris "
                                  "preset was not applied.");
  }
  if (pcir <= kPolarisChecksumOffset && pcir + rom.word(pcir + 0x0A) > kPolarisChecksumOffset) {
    return failure(kOverlap,
                   "The Polaris checksum byte at offset 0x21 overlaps the declared PCIR structure. "
                   "The ROM is not safe for this preset and was not modified.");
  }
  const std::uint16_t vendor = rom.word(pcir + 0x04);
  if (vendor != kAmdVendor) {
    return failure(kVendor, "The first PCI ROM image belongs to vendor " + hexText(vendor) +
                                ", not AMD (0x1002). The Polaris preset was not applied.");
  }
  return std::nullopt;
}

std::span<const std::uint8_t> imageOf(std::span<const std::uint8_t> bytes, std::int64_t imageSize) {
  checkPrecondition(imageSize >= 0 && imageSize <= std::ssize(bytes),
                    "an image within the bytes of the ROM");
  return bytes.first(static_cast<std::size_t>(imageSize));
}

// --- rules ----------------------------------------------------------------------------------

constexpr std::array<std::uint8_t, 4> kFindSignature = {0xF0, 0xFD, 0xE6, 0x0F};
constexpr std::array<std::uint8_t, 4> kReplaceSignature = {0xF0, 0x7D, 0xE6, 0x07};
/// The vendor and the device, each with its low byte first.
constexpr std::array<std::uint8_t, 4> kFindDevice = {0x02, 0x10, 0xDF, 0x6F};
constexpr std::array<std::uint8_t, 4> kReplaceDevice = {0x02, 0x10, 0xDF, 0x67};

constexpr std::array<Rx580PatchRule, 2> kRx580Rules = {{
    {"RX580 2048SP signature to RX580", kFindSignature, kReplaceSignature},
    {"Device ID 0x6FDF to 0x67DF", kFindDevice, kReplaceDevice},
}};

/// Applies `rule` to the region of `run`; the number of its replacements.
std::int64_t applyRule(const Rx580PatchRule& rule, Rx580PatchRun& run) {
  if (rule.find.empty() || rule.find.size() != rule.replace.size()) return 0;
  std::int64_t count = 0;
  OccurrenceWalk walk(run.region, rule.find);
  while (const auto match = walk.next(StopCheck())) {
    std::ranges::copy(rule.replace, run.region.begin() + match->offset);
    if (!run.firstReplacementOffset) run.firstReplacementOffset = match->offset;
    ++count;
  }
  return count;
}

/// The counts of the rules, a line each, and their total.
std::string countsText(const Rx580PatchRun& run) {
  std::string text;
  for (const std::string& line : run.report) text += line + '\n';
  return text + "\nTotal: " + std::to_string(run.totalReplacements) + " replacement(s)";
}

}  // namespace

Result<PCIRomValidation> validatePCIRomForPolarisPreset(std::span<const std::uint8_t> bytes) {
  const FieldReader rom(bytes);
  if (auto error = headerFailure(rom)) return *std::move(error);
  const std::int64_t pcir = rom.word(0x18);
  if (auto error = structureFailure(rom, pcir)) return *std::move(error);
  if (auto error = kindFailure(rom, pcir)) return *std::move(error);
  return PCIRomValidation{rom.byte(0x02) * kUnit};
}

std::uint8_t polarisImageSum(std::span<const std::uint8_t> bytes, std::int64_t imageSize) {
  return byteSum(imageOf(bytes, imageSize));
}

std::string polarisValidationText(std::span<const std::uint8_t> bytes,
                                  const PCIRomValidation& validation) {
  const std::uint8_t sum = polarisImageSum(bytes, validation.imageSize);
  std::string text = sum == 0
                         ? "Checksum is valid."
                         : "Checksum is invalid. Use Presets > Fix Polaris Checksum to correct it.";
  text.append("\nROM image size: ").append(std::to_string(validation.imageSize)).append(" bytes");
  text.append("\nChecksum byte at 0x21: ");
  text.append(hexText(FieldReader(bytes).byte(kPolarisChecksumOffset)));
  return text.append("\nImage checksum sum: ").append(hexText(sum));
}

PolarisChecksumResult polarisChecksumFix(std::span<const std::uint8_t> bytes,
                                         const PCIRomValidation& validation) {
  const auto image = imageOf(bytes, validation.imageSize);
  PolarisChecksumResult result;
  result.imageSize = validation.imageSize;
  result.oldChecksum = FieldReader(image).byte(kPolarisChecksumOffset);
  result.sumBefore = polarisImageSum(image, validation.imageSize);
  result.newChecksum = static_cast<std::uint8_t>(result.oldChecksum - result.sumBefore);
  result.changed = result.sumBefore != 0;
  // Added up rather than derived: the report states the image's real sum.
  std::vector<std::uint8_t> fixed(image.begin(), image.end());
  fixed[kPolarisChecksumOffset] = result.newChecksum;
  result.sumAfter = polarisImageSum(fixed, validation.imageSize);
  return result;
}

std::string polarisChecksumReport(const PolarisChecksumResult& result) {
  std::string report = "Polaris checksum: ";
  report.append(result.changed ? "Checksum fixed."
                               : "Checksum already valid; no byte change was needed.");
  report.append("\nROM image size: ").append(std::to_string(result.imageSize)).append(" bytes");
  report.append("\nChecksum offset: ").append(offsetText(result.checksumOffset));
  report.append("\nOld checksum byte: ").append(hexText(result.oldChecksum));
  report.append("\nNew checksum byte: ").append(hexText(result.newChecksum));
  report.append("\nSum before: ").append(hexText(result.sumBefore));
  return report.append("\nSum after: ").append(hexText(result.sumAfter));
}

std::span<const Rx580PatchRule> rx580MacOSPatchRules() {
  return kRx580Rules;
}

Rx580PatchRun applyPatchRules(std::span<const std::uint8_t> region,
                              std::span<const Rx580PatchRule> rules) {
  Rx580PatchRun run;
  run.region.assign(region.begin(), region.end());
  for (const Rx580PatchRule& rule : rules) {
    const std::int64_t count = applyRule(rule, run);
    run.totalReplacements += count;
    run.report.push_back(std::string(rule.name) + ": " + std::to_string(count) + " replacement(s)");
  }
  if (run.totalReplacements == 0) run.region.clear();
  return run;
}

Rx580PatchRun applyRx580MacOSPatchRules(std::span<const std::uint8_t> bytes,
                                        const PCIRomValidation& validation) {
  return applyPatchRules(imageOf(bytes, validation.imageSize), rx580MacOSPatchRules());
}

std::string rx580ResultText(const Rx580PatchRun& run) {
  return countsText(run) +
         "\n\nPost-step: run Presets > Fix Polaris Checksum before any flash attempt, or "
         "validate/fix the VBIOS checksum with a proper Polaris BIOS tool.";
}

std::string rx580AndFixResultText(const Rx580PatchRun& run,
                                  const std::optional<PolarisChecksumResult>& fix) {
  return fix ? countsText(run) + "\n\n" + polarisChecksumReport(*fix) : countsText(run);
}

}  // namespace quillmor
