// Tries the functions on Polaris ROMs on any bytes. The last byte of the input chooses zeros behind
// the others; see FuzzImage.h. Invariants:
//  - validation ends at the check at which the reference ends, with a message;
//  - a valid image lies within the bytes, and what is behind it changes nothing;
//  - an image with its checksum fixed adds up to 0, is still valid, and fixing it again changes
//    nothing; the fix is a change exactly when the sum was not 0;
//  - the preset keeps the length of the image and makes of it what a plain loop makes of it; so do
//    rules that are cut from the input, whatever the bytes are;
//  - counts add up, and a first offset there is exactly when there is a replacement.

#include <algorithm>
#include <array>
#include <optional>

#include "base/Check.h"
#include "fuzz/FuzzImage.h"
#include "fuzz/FuzzTargets.h"
#include "tools/firmware/PolarisRom.h"

namespace quillmor::fuzz {

namespace {

// --- the reference --------------------------------------------------------------------------

/// Two bytes, with those that are missing being zero.
std::int64_t pairAt(const Bytes& bytes, std::int64_t offset) {
  const auto at = static_cast<std::size_t>(offset);
  const auto byteAt = [&](std::size_t i) { return i < bytes.size() ? bytes[i] : 0; };
  return byteAt(at) + 256 * byteAt(at + 1);
}

/// The number, 1 to 10, of the first check that fails; 0 when none does.
int failingCheck(const Bytes& bytes) {
  if (bytes.size() < 34) return 1;
  if (pairAt(bytes, 0) != 0xAA55) return 2;
  const std::int64_t units = bytes[2];
  if (units == 0) return 3;
  const std::int64_t size = units * 512;
  if (size > std::ssize(bytes)) return 4;
  const std::int64_t pcir = pairAt(bytes, 0x18);
  if (pcir + 24 > size) return 5;
  if (pairAt(bytes, pcir) != 0x4350 || pairAt(bytes, pcir + 2) != 0x5249) return 5;
  const std::int64_t length = pairAt(bytes, pcir + 0x0A);
  if (length < 24 || pcir + length > size) return 6;
  if (pairAt(bytes, pcir + 0x10) != units) return 7;
  if (pairAt(bytes, pcir + 0x14) % 256 != 0) return 8;
  if (pcir <= 0x21 && 0x21 < pcir + length) return 9;
  return pairAt(bytes, pcir + 4) == 0x1002 ? 0 : 10;
}

struct Replaced {
  Bytes bytes;
  std::int64_t count = 0;
  std::optional<std::int64_t> first;
};

/// What the rules make of `bytes`, byte by byte.
Replaced replaced(Bytes bytes, std::span<const Rx580PatchRule> rules) {
  Replaced result{std::move(bytes), 0, {}};
  for (const Rx580PatchRule& rule : rules) {
    if (rule.find.empty() || rule.find.size() != rule.replace.size()) continue;
    for (std::size_t i = 0; i + rule.find.size() <= result.bytes.size(); ++i) {
      const auto at = std::span(result.bytes).subspan(i, rule.find.size());
      if (!std::ranges::equal(at, rule.find)) continue;
      std::ranges::copy(rule.replace, at.begin());
      ++result.count;
      if (!result.first) result.first = static_cast<std::int64_t>(i);
      i += rule.find.size() - 1;
    }
  }
  return result;
}

// --- the checks -----------------------------------------------------------------------------

void checkRun(const Rx580PatchRun& run, const Replaced& expected, std::size_t ruleCount) {
  checkPrecondition(run.report.size() == ruleCount, "Every rule has a line");
  checkPrecondition(run.totalReplacements == expected.count, "Replacements are those of the loop");
  checkPrecondition(run.firstReplacementOffset == expected.first, "So is the first of them");
  checkPrecondition(run.region == (expected.count == 0 ? Bytes{} : expected.bytes),
                    "The region is that of the loop");
}

void checkFix(const Bytes& bytes, const PCIRomValidation& validation) {
  const auto fix = polarisChecksumFix(bytes, validation);
  checkPrecondition(fix.sumAfter == 0, "What is fixed adds up to zero");
  checkPrecondition(fix.changed == (fix.sumBefore != 0), "Only what is invalid is changed");
  checkPrecondition(fix.changed == (fix.oldChecksum != fix.newChecksum),
                    "A change changes the byte");
  Bytes fixed = bytes;
  fixed[kPolarisChecksumOffset] = fix.newChecksum;
  checkPrecondition(failingCheck(fixed) == 0 && validatePCIRomForPolarisPreset(fixed).isOk(),
                    "What is fixed is still a ROM");
  checkPrecondition(polarisImageSum(fixed, validation.imageSize) == 0, "And adds up to zero");
  checkPrecondition(!polarisChecksumFix(fixed, validation).changed, "Fixing twice changes nothing");
  checkPrecondition(polarisValidationText(fixed, validation).starts_with("Checksum is valid.\n"),
                    "And is called valid");
  const Bytes other = invertedFrom(bytes, validation.imageSize);
  checkPrecondition(polarisChecksumFix(other, validation) == fix, "Only the image is added up");
}

void checkPreset(const Bytes& bytes, const PCIRomValidation& validation) {
  const Bytes image(bytes.begin(), bytes.begin() + validation.imageSize);
  const auto rules = rx580MacOSPatchRules();
  const Replaced expected = replaced(image, rules);
  checkRun(applyRx580MacOSPatchRules(bytes, validation), expected, rules.size());
  const Bytes other = invertedFrom(bytes, validation.imageSize);
  checkRun(applyRx580MacOSPatchRules(other, validation), expected, rules.size());
}

/// Two rules whose sides are pieces of up to three bytes from the end of `bytes`; applied to the
/// rest.
void checkCutRules(const Bytes& bytes) {
  std::span<const std::uint8_t> rest(bytes);
  const auto cut = [&rest](std::size_t size) {
    const auto piece = rest.last(std::min(size, rest.size()));
    rest = rest.first(rest.size() - piece.size());
    return piece;
  };
  const std::size_t sizes = rest.empty() ? 0 : cut(1).front();
  std::array<std::span<const std::uint8_t>, 4> sides;
  for (std::size_t i = 0; i < sides.size(); ++i) sides[i] = cut(sizes >> (2 * i) & 3);
  const std::array<Rx580PatchRule, 2> rules = {
      {{"a", sides[0], sides[1]}, {"b", sides[2], sides[3]}}};
  checkRun(applyPatchRules(rest, rules), replaced({rest.begin(), rest.end()}, rules), rules.size());
}

}  // namespace

void fuzzPolaris(std::span<const std::uint8_t> input) {
  checkCutRules({input.begin(), input.end()});
  const Bytes bytes = imageOf(input);
  const auto validation = validatePCIRomForPolarisPreset(bytes);
  const int check = failingCheck(bytes);
  checkPrecondition(validation.isOk() == (check == 0), "Validation agrees with the reference");
  if (!validation.isOk()) {
    checkPrecondition(validation.error().code() == 2900 + check, "The first check that fails");
    checkPrecondition(!validation.error().message().empty(), "A failure has a message");
    return;
  }
  checkPrecondition(validation.value().imageSize == bytes[2] * 512, "The size is the header's");
  checkFix(bytes, validation.value());
  checkPreset(bytes, validation.value());
}

}  // namespace quillmor::fuzz
