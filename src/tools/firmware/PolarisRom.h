#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Result.h"

namespace quillmor {

// The option ROMs of AMD Polaris graphics cards: validation, the checksum of the first image, and
// the RX 580 preset. Pure functions, any thread. They fail only as stated, whatever the bytes are.

/// The offset of the checksum byte that the fix adjusts.
inline constexpr std::int64_t kPolarisChecksumOffset = 0x21;

/// The facts about a valid ROM.
struct PCIRomValidation {
  std::int64_t imageSize = 0;  ///< of the first image, in bytes
};

/// Checks that `bytes` begin with an image that the preset may change. The error says what is
/// wrong: codes 2901 to 2910, in the order of the checks.
Result<PCIRomValidation> validatePCIRomForPolarisPreset(std::span<const std::uint8_t> bytes);

/// Returns the sum of the image's bytes modulo 256, which is 0 for a valid image. `imageSize` is at
/// most the number of bytes.
std::uint8_t polarisImageSum(std::span<const std::uint8_t> bytes, std::int64_t imageSize);

/// Returns the four lines about a valid ROM.
std::string polarisValidationText(std::span<const std::uint8_t> bytes,
                                  const PCIRomValidation& validation);

/// The result of fixing the checksum.
struct PolarisChecksumResult {
  std::int64_t imageSize = 0;
  std::int64_t checksumOffset = kPolarisChecksumOffset;
  std::uint8_t oldChecksum = 0;
  std::uint8_t newChecksum = 0;
  std::uint8_t sumBefore = 0;  ///< 0 when no change is needed
  std::uint8_t sumAfter = 0;   ///< of the image with the new byte
  bool changed = false;

  bool operator==(const PolarisChecksumResult&) const = default;
};

/// Returns the fix for a validated ROM; changes no byte. `sumAfter` is computed from all bytes,
/// with the new byte in place.
PolarisChecksumResult polarisChecksumFix(std::span<const std::uint8_t> bytes,
                                         const PCIRomValidation& validation);

/// Returns the seven lines about a fix.
std::string polarisChecksumReport(const PolarisChecksumResult& result);

/// One byte replacement of the RX 580 preset; both sides have the same length.
struct Rx580PatchRule {
  std::string_view name;
  std::span<const std::uint8_t> find;
  std::span<const std::uint8_t> replace;
};

/// The two rules of the preset, in order.
std::span<const Rx580PatchRule> rx580MacOSPatchRules();

/// The result of the preset.
struct Rx580PatchRun {
  std::vector<std::string> report = {};  ///< a line a rule
  std::int64_t totalReplacements = 0;
  std::optional<std::int64_t> firstReplacementOffset = {};
  /// The first image with the replacements; empty when there are none.
  std::vector<std::uint8_t> region = {};
};

/// Applies the rules to a copy of the first image of a validated ROM.
Rx580PatchRun applyRx580MacOSPatchRules(std::span<const std::uint8_t> bytes,
                                        const PCIRomValidation& validation);

/// Returns the text about the preset.
std::string rx580ResultText(const Rx580PatchRun& run);

/// Returns the text about the preset when the checksum was to be fixed too; `fix` is absent if that
/// failed.
std::string rx580AndFixResultText(const Rx580PatchRun& run,
                                  const std::optional<PolarisChecksumResult>& fix);

/// Applies any rules to a copy of `region`, one after another, each from front to back and without
/// overlaps. A rule with an empty find side, or with sides of different lengths, replaces nothing.
Rx580PatchRun applyPatchRules(std::span<const std::uint8_t> region,
                              std::span<const Rx580PatchRule> rules);

}  // namespace quillmor
