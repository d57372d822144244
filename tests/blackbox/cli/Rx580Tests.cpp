// rx580.

#include "blackbox/cli/ChangeTest.h"
#include "support/OptionRomBuilder.h"

namespace quillmor::test {
namespace {

class CliRx580Test : public ChangeTest {
 protected:
  const Arguments plain = {"rx580", "in.bin"};
  const Arguments withFix = {"rx580", "in.bin", "--fix-checksum"};
};

constexpr const char* kPostStep =
    "\n\nPost-step: run Presets > Fix Polaris Checksum before any flash attempt, or validate/fix "
    "the VBIOS checksum with a proper Polaris BIOS tool.";

/// What is printed of the two rules.
std::string counts(int signatures, int devices) {
  return "RX580 2048SP signature to RX580: " + std::to_string(signatures) +
         " replacement(s)\nDevice ID 0x6FDF to 0x67DF: " + std::to_string(devices) +
         " replacement(s)\n\nTotal: " + std::to_string(signatures + devices) + " replacement(s)";
}

/// A ROM of one unit for the device 0x67DF, in which no rule finds anything.
OptionRomBuilder romWithoutMatch() {
  return OptionRomBuilder(512).at(0x02, {1}).pcir(0x40).device(0x67DF);
}

/// A ROM with two signatures side by side and the device 0x6FDF.
OptionRomBuilder romToPatch() {
  return romWithoutMatch()
      .device(0x6FDF)
      .at(0x80, {0xF0, 0xFD, 0xE6, 0x0F})
      .at(0x84, {0xF0, 0xFD, 0xE6, 0x0F});
}

OptionRomBuilder patchedRom() {
  return romToPatch()
      .device(0x67DF)
      .at(0x80, {0xF0, 0x7D, 0xE6, 0x07})
      .at(0x84, {0xF0, 0x7D, 0xE6, 0x07});
}

TEST_F(CliRx580Test, bothRulesReplaceAllTheirMatches) {
  expectChange(plain, content(romToPatch().bytes()), counts(2, 1) + kPostStep,
               content(patchedRom().bytes()));
}

TEST_F(CliRx580Test, bytesBehindTheFirstImageStay) {
  const std::string tail = "\xF0\xFD\xE6\x0F";
  expectChange(plain, content(romToPatch().bytes()) + tail, counts(2, 1) + kPostStep,
               content(patchedRom().bytes()) + tail);
}

TEST_F(CliRx580Test, aRomWithoutMatchIsTheAnswerNo) {
  expectNoChange(plain, content(romWithoutMatch().bytes()), counts(0, 0) + kPostStep);
}

TEST_F(CliRx580Test, theFixFollowsTheRules) {
  const auto input = romToPatch().at(0x21, {0x30}).summingTo(0, 512, 0x1FF).bytes();
  auto expected = OptionRomBuilder(patchedRom()).at(0x21, {0x30}).at(0x1FF, {input.at(0x1FF)});
  // Each signature loses 0x80 and 0x08, the device 0x08.
  expected.at(0x21, {0x30 + 2 * 0x88 + 0x08});
  expectChange(withFix, content(input),
               counts(2, 1) +
                   "\n\nPolaris checksum: Checksum fixed.\n"
                   "ROM image size: 512 bytes\n"
                   "Checksum offset: 0x00000021\n"
                   "Old checksum byte: 0x30\n"
                   "New checksum byte: 0x48\n"
                   "Sum before: 0xE8\n"
                   "Sum after: 0x00",
               content(expected.bytes()));
}

TEST_F(CliRx580Test, theFixAloneIsAChange) {
  const auto input = romWithoutMatch().at(0x21, {0x10}).summingTo(5, 512, 0x1FF);
  expectChange(withFix, content(input.bytes()),
               counts(0, 0) +
                   "\n\nPolaris checksum: Checksum fixed.\n"
                   "ROM image size: 512 bytes\n"
                   "Checksum offset: 0x00000021\n"
                   "Old checksum byte: 0x10\n"
                   "New checksum byte: 0x0B\n"
                   "Sum before: 0x05\n"
                   "Sum after: 0x00",
               content(OptionRomBuilder(input).at(0x21, {0x0B}).bytes()));
}

TEST_F(CliRx580Test, nothingToReplaceAndNothingToFixIsTheAnswerNo) {
  const auto input = romWithoutMatch().at(0x21, {0x10}).summingTo(0, 512, 0x1FF);
  expectNoChange(withFix, content(input.bytes()),
                 counts(0, 0) +
                     "\n\nPolaris checksum: Checksum already valid; no byte change was needed.\n"
                     "ROM image size: 512 bytes\n"
                     "Checksum offset: 0x00000021\n"
                     "Old checksum byte: 0x10\n"
                     "New checksum byte: 0x10\n"
                     "Sum before: 0x00\n"
                     "Sum after: 0x00");
}

TEST_F(CliRx580Test, rulesThatSpoilTheRomForTheFixWriteNothing) {
  // The pointer to the structure is the start of a signature, and points elsewhere when that is
  // replaced.
  const auto rom = OptionRomBuilder(255 * 512)
                       .at(0x02, {255})
                       .pcir(0xFDF0)
                       .device(0x67DF)
                       .at(0x18, {0xF0, 0xFD, 0xE6, 0x0F});
  expectRefusal(withFix, content(rom.bytes()),
                "The first PCI ROM image does not contain a complete PCIR structure at its "
                "declared offset. The Polaris preset was not applied.");
  expectChange(plain, content(rom.bytes()), counts(1, 0) + kPostStep,
               content(OptionRomBuilder(rom).at(0x18, {0xF0, 0x7D, 0xE6, 0x07}).bytes()));
}

}  // namespace
}  // namespace quillmor::test
