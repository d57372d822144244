// preset-dry-run and preset-apply.

#include "blackbox/cli/ChangeTest.h"

namespace quillmor::test {
namespace {

class CliPresetTest : public ChangeTest {
 protected:
  void writePreset(const std::string& rules, const std::string& name = "Clean up") const {
    folder.write("preset.json", R"({"name": ")" + name + R"(", "rules": [)" + rules + "]}");
  }

  /// What both commands print alike, and what the one that applies makes of it.
  void expectReplacements(const std::string& input, const std::string& report,
                          const std::string& output) const {
    expectChange(apply, input, report, output);
    folder.write("in.bin", input);
    expectDryRun(0, report);
  }

  void expectNoReplacements(const std::string& input, const std::string& report) const {
    expectNoChange(apply, input, report);
    expectDryRun(1, report);
  }

  void expectPresetRefused(const std::string& preset, const std::string& message) const {
    folder.write("preset.json", preset);
    expectRefusal(apply, "ABCD", "preset.json: " + message);
    expectFailure(dryRun, "preset.json: " + message);
  }

  void expectRuleRefused(const std::string& rule, const std::string& reason) const {
    expectPresetRefused(R"({"rules": [{"find": "41", "replace": "42"}, )" + rule + "]}",
                        "Invalid rule at index 1: " + reason);
  }

  const Arguments apply = {"preset-apply", "in.bin", "preset.json"};
  const Arguments dryRun = {"preset-dry-run", "in.bin", "preset.json"};

 private:
  void expectDryRun(int status, const std::string& report) const {
    const FileState before = stateOf("in.bin");
    const auto namesBefore = names();
    expectOutput(dryRun, status, report + "\n");
    EXPECT_TRUE(stateOf("in.bin") == before);
    EXPECT_EQ(names(), namesBefore);
  }
};

std::string rule(const std::string& name, const std::string& find, const std::string& replace) {
  return R"({"name": ")" + name + R"(", "find": ")" + find + R"(", "replace": ")" + replace +
         R"("})";
}

TEST_F(CliPresetTest, rulesAreAppliedInOrder) {
  // The second rule sees what the first one has made, the first one does not.
  writePreset(rule("A to AA", "41", "41 41") + "," + rule("AA to B", "41 41", "42") + "," +
              rule("none", "FF", "00"));
  expectReplacements("AxA",
                     "Preset: Clean up\n"
                     "A to AA: 2 match(es)\n"
                     "AA to B: 2 match(es)\n"
                     "none: 0 match(es)\n"
                     "\n"
                     "Total: 4 replacement(s)",
                     "BxB");
}

TEST_F(CliPresetTest, whatHasNoNameIsGivenOne) {
  folder.write("preset.json", R"({"rules": [{"find": "41", "replace": "42"},
                                            {"find": "43", "replace": "44"}]})");
  expectReplacements("ABCD",
                     "Preset: Untitled\n"
                     "Rule 1: 1 match(es)\n"
                     "Rule 2: 1 match(es)\n"
                     "\n"
                     "Total: 2 replacement(s)",
                     "BBDD");
}

TEST_F(CliPresetTest, replacementsThatChangeNothingCountAndLeaveTheFileAlone) {
  writePreset(rule("A to A", "41", "41"));
  expectReplacements("ABCD",
                     "Preset: Clean up\n"
                     "A to A: 1 match(es)\n"
                     "\n"
                     "Total: 1 replacement(s)",
                     "ABCD");
}

TEST_F(CliPresetTest, aTotalOfZeroIsTheAnswerNo) {
  writePreset(rule("none", "FF", "00"));
  expectNoReplacements("ABCD",
                       "Preset: Clean up\n"
                       "none: 0 match(es)\n"
                       "\n"
                       "Total: 0 replacement(s)");
  writePreset("");
  expectNoReplacements("ABCD",
                       "Preset: Clean up\n"
                       "\n"
                       "Total: 0 replacement(s)");
}

TEST_F(CliPresetTest, presetsThatMakeNoSenseAreRefused) {
  expectPresetRefused("{", "Preset file is not valid JSON.");
  expectPresetRefused("[]", "Preset must be a JSON object.");
  expectPresetRefused("{}", "Preset is missing rules array.");
  expectPresetRefused(R"({"rules": {}})", "Preset is missing rules array.");
}

TEST_F(CliPresetTest, rulesThatMakeNoSenseAreRefusedByTheirIndex) {
  expectRuleRefused("7", "a rule must be an object.");
  expectRuleRefused(R"({"replace": "42"})", R"("find" must be hexadecimal bytes.)");
  expectRuleRefused(R"({"find": "", "replace": "42"})", R"("find" must be hexadecimal bytes.)");
  expectRuleRefused(R"({"find": "41", "replace": ""})", R"("replace" must be hexadecimal bytes.)");
  expectRuleRefused(R"({"find": "41", "replace": 66})", R"("replace" must be hexadecimal bytes.)");
}

TEST_F(CliPresetTest, namesUpToTheLimitAreTaken) {
  const std::string longest(512, 'n');
  writePreset(rule(longest, "41", "42"), longest);
  expectReplacements(
      "ABCD", "Preset: " + longest + "\n" + longest + ": 1 match(es)\n\nTotal: 1 replacement(s)",
      "BBCD");
  writePreset("", longest + "n");
  expectPresetRefused(folder.read("preset.json"), "Preset name is too long to import safely.");
  writePreset(rule("short", "41", "42") + "," + rule(longest + "n", "41", "42"));
  expectPresetRefused(folder.read("preset.json"),
                      "Rule name at index 1 is too long to import safely.");
}

TEST_F(CliPresetTest, rulesUpToTheLimitAreTaken) {
  std::string rules = rule("none", "FF", "00");
  for (int i = 1; i < 512; ++i) rules += "," + rule("none", "FF", "00");
  writePreset(rules);
  folder.write("in.bin", "ABCD");
  EXPECT_EQ(run(dryRun).status, 1);
  writePreset(rules + "," + rule("none", "FF", "00"));
  expectPresetRefused(folder.read("preset.json"),
                      "Preset contains too many rules to apply safely.");
}

TEST_F(CliPresetTest, filesUpToTheLimitAreRead) {
  folder.write("in.bin", "ABCD");
  writeZeros("preset.json", 8'388'608);
  expectRefusalAsItIs(apply, "preset.json: Preset file is not valid JSON.");
  writeZeros("preset.json", 8'388'609);
  expectRefusalAsItIs(apply, "preset.json: Preset file is too large to import safely.");
}

TEST_F(CliPresetTest, growthBeyondTheLimitIsRefused) {
  // 2 GiB would be twice of what any machine allows.
  writePreset(rule("grow", "41", std::string(2 * 1'048'576, '0')));
  expectRefusal(apply, std::string(2048, 'A'),
                "preset.json: JSON preset output would grow too much to process safely.");
}

}  // namespace
}  // namespace quillmor::test
