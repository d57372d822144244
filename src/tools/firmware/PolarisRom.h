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
// the RX 580 preset. Pure functions, any thread; never fail otherwise than said, whatever the bytes
// are.

/// The checksum byte that the fix adjusts.
inline constexpr std::int64_t kPolarisChecksumOffset = 0x21;

/// What a valid ROM says about itself.
struct PCIRomValidation {
  std::int64_t imageSize = 0;  ///< of the first image, in bytes
};

/// Checks that `bytes` begin with an image that the preset may touch. The error, codes 2901 to 2910
/// in the order of the checks, says what is wrong.
Result<PCIRomValidation> validatePCIRomForPolarisPreset(std::span<const std::uint8_t> bytes);

/// The sum, modulo 256, of the image's bytes; 0 when it is valid. `imageSize` is at most the number
/// of bytes.
std::uint8_t polarisImageSum(std::span<const std::uint8_t> bytes, std::int64_t imageSize);

/// What validating a valid ROM says, in four lines.
std::string polarisValidationText(std::span<const std::uint8_t> bytes,
                                  const PCIRomValidation& validation);

/// What fixing the checksum comes to.
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

/// The fix of a validated ROM; the bytes stay as they are. Its `sumAfter` is counted anew, with the
/// new byte in its place.
PolarisChecksumResult polarisChecksumFix(std::span<const std::uint8_t> bytes,
                                         const PCIRomValidation& validation);

/// The fix in seven lines.
std::string polarisChecksumReport(const PolarisChecksumResult& result);

/// One byte replacement of the RX 580 preset; both sides have the same length.
struct Rx580PatchRule {
  std::string_view name;
  std::span<const std::uint8_t> find;
  std::span<const std::uint8_t> replace;
};

/// The two rules of the preset, in order.
std::span<const Rx580PatchRule> rx580MacOSPatchRules();

/// What the preset comes to.
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

/// What the preset says.
std::string rx580ResultText(const Rx580PatchRun& run);

/// What the preset says when the checksum was to be fixed afterwards; `fix` is absent where that
/// could not be done.
std::string rx580AndFixResultText(const Rx580PatchRun& run,
                                  const std::optional<PolarisChecksumResult>& fix);

/// Applies any rules to a copy of `region`, front to back and without overlaps, each to what the
/// one before left. A rule that finds nothing to find, or whose sides differ in length, replaces
/// nothing.
Rx580PatchRun applyPatchRules(std::span<const std::uint8_t> region,
                              std::span<const Rx580PatchRule> rules);

}  // namespace quillmor
