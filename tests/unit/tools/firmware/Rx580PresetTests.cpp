// The replacement rules of PolarisRom.h.

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include "support/GuardedBytes.h"
#include "support/OptionRomBuilder.h"
#include "tools/firmware/PolarisRom.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Lines = std::vector<std::string>;

constexpr std::initializer_list<int> kSignature = {0xF0, 0xFD, 0xE6, 0x0F};
constexpr std::initializer_list<int> kNewSignature = {0xF0, 0x7D, 0xE6, 0x07};
constexpr std::initializer_list<int> kDevice = {0x02, 0x10, 0xDF, 0x6F};
constexpr std::initializer_list<int> kNewDevice = {0x02, 0x10, 0xDF, 0x67};

Lines report(int signatures, int devices) {
  return {"RX580 2048SP signature to RX580: " + std::to_string(signatures) + " replacement(s)",
          "Device ID 0x6FDF to 0x67DF: " + std::to_string(devices) + " replacement(s)"};
}

/// 1024 bytes of which 512 are the first image; its device is not the one to replace.
OptionRomBuilder rom() {
  return OptionRomBuilder(1024).pcir(0x40).at(0x02, {1}).units(1).device(0x67DF);
}

Rx580PatchRun runOn(const OptionRomBuilder& builder) {
  return applyRx580MacOSPatchRules(builder.bytes(), {512});
}

Bytes firstImage(const OptionRomBuilder& builder) {
  return OptionRomBuilder(builder).cutTo(512).bytes();
}

TEST(Rx580Preset, hasTwoRules) {
  const auto rules = rx580MacOSPatchRules();
  ASSERT_EQ(rules.size(), 2U);
  EXPECT_EQ(rules[0].name, "RX580 2048SP signature to RX580");
  EXPECT_TRUE(std::ranges::equal(rules[0].find, kSignature));
  EXPECT_TRUE(std::ranges::equal(rules[0].replace, kNewSignature));
  EXPECT_EQ(rules[1].name, "Device ID 0x6FDF to 0x67DF");
  EXPECT_TRUE(std::ranges::equal(rules[1].find, kDevice));
  EXPECT_TRUE(std::ranges::equal(rules[1].replace, kNewDevice));
}

TEST(Rx580Preset, replacesWhatItFinds) {
  const auto run = runOn(rom().at(0x100, kSignature).at(0x80, kDevice).at(0x180, kDevice));
  EXPECT_EQ(run.report, report(1, 2));
  EXPECT_EQ(run.totalReplacements, 3);
  EXPECT_EQ(run.firstReplacementOffset, 0x100);  // the first of the run, not of the file
  const auto expected = rom().at(0x100, kNewSignature).at(0x80, kNewDevice).at(0x180, kNewDevice);
  EXPECT_TRUE(run.region == firstImage(expected));
}

TEST(Rx580Preset, replacesTheDeviceOfTheStructureItself) {
  const auto run = runOn(rom().device(0x6FDF));
  EXPECT_EQ(run.report, report(0, 1));
  EXPECT_EQ(run.firstReplacementOffset, 0x44);
  EXPECT_TRUE(run.region == firstImage(rom()));
}

TEST(Rx580Preset, leavesARomWithoutMatchesAlone) {
  const auto run = runOn(rom());
  EXPECT_EQ(run.report, report(0, 0));
  EXPECT_EQ(run.totalReplacements, 0);
  EXPECT_EQ(run.firstReplacementOffset, std::nullopt);
  EXPECT_TRUE(run.region.empty());
}

TEST(Rx580Preset, findsTheBytesAtBothEndsOfTheImage) {
  // Only the rules are looked at here: a ROM cannot begin so.
  const auto run = runOn(rom().at(0, kSignature).at(508, kSignature));
  EXPECT_EQ(run.report, report(2, 0));
  EXPECT_EQ(run.firstReplacementOffset, 0);
  EXPECT_TRUE(run.region == firstImage(rom().at(0, kNewSignature).at(508, kNewSignature)));
}

TEST(Rx580Preset, staysWithinTheFirstImage) {
  for (const std::size_t offset : {509U, 510U, 511U, 512U, 600U, 1020U}) {
    EXPECT_EQ(runOn(rom().at(offset, kSignature)).totalReplacements, 0) << offset;
    EXPECT_EQ(runOn(rom().at(offset, kDevice)).totalReplacements, 0) << offset;
  }
  const auto run = runOn(rom().at(508, kDevice).at(512, kDevice));
  EXPECT_EQ(run.report, report(0, 1));
  EXPECT_EQ(run.region.size(), 512U);
}

TEST(Rx580Preset, replacesAdjacentCopies) {
  const auto run = runOn(rom().at(0x100, kSignature).at(0x104, kSignature).at(0x108, kDevice));
  EXPECT_EQ(run.report, report(2, 1));
  EXPECT_EQ(run.firstReplacementOffset, 0x100);
  const auto expected =
      rom().at(0x100, kNewSignature).at(0x104, kNewSignature).at(0x108, kNewDevice);
  EXPECT_TRUE(run.region == firstImage(expected));
}

TEST(Rx580Preset, replacesWholePatternsOnly) {
  for (std::size_t i = 0; i < 4; ++i) {
    auto almost = rom().at(0x100, kSignature).at(0x180, kDevice);
    almost.at(0x100 + i, {0x55}).at(0x180 + i, {0x55});
    EXPECT_EQ(runOn(almost).totalReplacements, 0) << i;
  }
}

TEST(Rx580Preset, changesNothingTheSecondTime) {
  const auto run = runOn(rom().at(0x100, kSignature).at(0x180, kDevice));
  EXPECT_EQ(applyPatchRules(run.region, rx580MacOSPatchRules()).totalReplacements, 0);
}

TEST(Rx580Preset, readsNothingOutsideOfTheImage) {
  const Bytes image = firstImage(rom().at(508, kDevice));
  GuardedBytes guarded(512);
  EXPECT_EQ(applyRx580MacOSPatchRules(guarded.atEnd(image), {512}).totalReplacements, 1);
  EXPECT_EQ(applyRx580MacOSPatchRules(guarded.atStart(image), {512}).totalReplacements, 1);
}

// --- rules of any kind ----------------------------------------------------------------------

Bytes bytesOf(std::string_view text) {
  return {text.begin(), text.end()};
}

struct TextRule {
  std::string_view find;
  std::string_view replace;
};

Rx580PatchRun applied(std::string_view region, const std::vector<TextRule>& textRules) {
  std::vector<Bytes> sides;
  for (const TextRule& rule : textRules) {
    sides.push_back(bytesOf(rule.find));
    sides.push_back(bytesOf(rule.replace));
  }
  std::vector<Rx580PatchRule> rules;
  for (std::size_t i = 0; i < sides.size(); i += 2) rules.push_back({"r", sides[i], sides[i + 1]});
  return applyPatchRules(bytesOf(region), rules);
}

std::string regionOf(const Rx580PatchRun& run) {
  return {run.region.begin(), run.region.end()};
}

TEST(PatchRules, replaceFrontToBackWithoutOverlaps) {
  EXPECT_EQ(regionOf(applied("aaaaa", {{"aa", "bb"}})), "bbbba");
  EXPECT_EQ(regionOf(applied("abababa", {{"aba", "xyz"}})), "xyzbxyz");
  // The replacement makes a match with the byte behind it, which is not looked at again.
  EXPECT_EQ(regionOf(applied("aab", {{"aa", "xa"}, {"zz", "zz"}})), "xab");
  EXPECT_EQ(regionOf(applied("abb", {{"ab", "aa"}})), "aab");
}

TEST(PatchRules, workOnWhatTheOnesBeforeLeft) {
  const auto run = applied("abc", {{"ab", "xy"}, {"yc", "zz"}, {"bc", "!!"}});
  EXPECT_EQ(regionOf(run), "xzz");
  EXPECT_EQ(run.report,
            (Lines{"r: 1 replacement(s)", "r: 1 replacement(s)", "r: 0 replacement(s)"}));
  EXPECT_EQ(run.totalReplacements, 2);
  EXPECT_EQ(run.firstReplacementOffset, 0);
}

TEST(PatchRules, rememberTheFirstReplacementOfALaterRule) {
  const auto run = applied("..b..a", {{"x", "y"}, {"a", "A"}, {"b", "B"}});
  EXPECT_EQ(run.firstReplacementOffset, 5);
  EXPECT_EQ(regionOf(run), "..B..A");
}

TEST(PatchRules, tellUpperFromLowerCase) {
  EXPECT_EQ(regionOf(applied("aA", {{"A", "x"}})), "ax");
}

TEST(PatchRules, countReplacementsThatChangeNothing) {
  const auto run = applied("abab", {{"ab", "ab"}});
  EXPECT_EQ(run.totalReplacements, 2);
  EXPECT_EQ(regionOf(run), "abab");
}

TEST(PatchRules, skipRulesThatCannotBeApplied) {
  const auto run =
      applied("abab", {{"", ""}, {"ab", "a"}, {"ab", "abc"}, {"", "a"}, {"ababa", "12345"}});
  EXPECT_EQ(run.report, Lines(5, "r: 0 replacement(s)"));
  EXPECT_TRUE(run.region.empty());
  EXPECT_EQ(applied("", {{"a", "b"}}).report, Lines{"r: 0 replacement(s)"});
  EXPECT_TRUE(applied("abab", {}).report.empty());
}

/// The obvious version of one rule.
std::string replacedNaively(std::string text, const TextRule& rule, std::int64_t& count) {
  for (std::size_t i = 0; i + rule.find.size() <= text.size();) {
    if (std::string_view(text).substr(i, rule.find.size()) == rule.find) {
      text.replace(i, rule.find.size(), rule.replace);
      i += rule.find.size();
      ++count;
    } else {
      ++i;
    }
  }
  return text;
}

TEST(PatchRules, agreeWithThePlainLoop) {
  constexpr unsigned kSeed = 580;
  std::mt19937 random(kSeed);
  const auto textOf = [&random](std::size_t size) {
    std::string text(size, 'a');
    for (char& c : text) c = static_cast<char>('a' + random() % 2);
    return text;
  };
  for (int i = 0; i < 2000; ++i) {
    const std::string region = textOf(random() % 200);
    const std::size_t first = 1 + random() % 4;
    const std::size_t second = 1 + random() % 4;
    const std::string sides[] = {textOf(first), textOf(first), textOf(second), textOf(second)};
    const std::vector<TextRule> rules = {{sides[0], sides[1]}, {sides[2], sides[3]}};
    std::int64_t count = 0;
    std::string expected = region;
    for (const TextRule& rule : rules) expected = replacedNaively(expected, rule, count);
    const auto run = applied(region, rules);
    ASSERT_EQ(run.totalReplacements, count) << "seed " << kSeed << ", round " << i;
    ASSERT_TRUE(regionOf(run) == (count == 0 ? "" : expected)) << "seed " << kSeed << ", " << i;
  }
}

const std::string kCounts =
    "RX580 2048SP signature to RX580: 1 replacement(s)\n"
    "Device ID 0x6FDF to 0x67DF: 2 replacement(s)\n\n"
    "Total: 3 replacement(s)";

TEST(Rx580Preset, saysWhatItReplacedAndWhatIsLeftToDo) {
  const std::string postStep =
      "\n\nPost-step: run Presets > Fix Polaris Checksum before any flash attempt, or "
      "validate/fix the VBIOS checksum with a proper Polaris BIOS tool.";
  EXPECT_EQ(rx580ResultText({.report = report(1, 2), .totalReplacements = 3}), kCounts + postStep);
  EXPECT_EQ(rx580ResultText({.report = report(0, 0)}),
            "RX580 2048SP signature to RX580: 0 replacement(s)\n"
            "Device ID 0x6FDF to 0x67DF: 0 replacement(s)\n\n"
            "Total: 0 replacement(s)" +
                postStep);
}

TEST(Rx580Preset, saysWhatBecameOfTheChecksum) {
  const Rx580PatchRun run{.report = report(1, 2), .totalReplacements = 3};
  EXPECT_EQ(rx580AndFixResultText(run, PolarisChecksumResult{512, 0x21, 0x10, 0x0B, 0x05, 0, true}),
            kCounts +
                "\n\nPolaris checksum: Checksum fixed.\nROM image size: 512 bytes\n"
                "Checksum offset: 0x00000021\nOld checksum byte: 0x10\nNew checksum byte: 0x0B\n"
                "Sum before: 0x05\nSum after: 0x00");
  EXPECT_EQ(rx580AndFixResultText(run, std::nullopt), kCounts);
}

}  // namespace
}  // namespace quillmor::test
