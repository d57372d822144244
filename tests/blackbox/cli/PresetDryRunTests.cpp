// preset-dry-run.

#include "blackbox/cli/CliTest.h"

namespace quillmor::test {
namespace {

class CliPresetDryRunTest : public CliTest {
 protected:
  CliPresetDryRunTest() { folder.write("a.bin", "ABABAB"); }

  void expectReport(const std::string& preset, int status, const std::string& report) const {
    folder.write("p.json", preset);
    expectOutput({"preset-dry-run", "a.bin", "p.json"}, status, report);
    EXPECT_EQ(folder.read("a.bin"), "ABABAB");
  }

  void expectRefusal(const std::string& preset, const std::string& message) const {
    folder.write("p.json", preset);
    expectFailure({"preset-dry-run", "a.bin", "p.json"}, "p.json: " + message);
  }
};

TEST_F(CliPresetDryRunTest, countsTheMatchesOfEveryRule) {
  expectReport(R"({"name":"Test","rules":[
                   {"name":"First","find":"41","replace":"58"},
                   {"name":"Nothing","find":"5A5A","replace":"00"},
                   {"find":"58 42","replace":"FF"}]})",
               0,
               "Preset: Test\nFirst: 3 match(es)\nNothing: 0 match(es)\nRule 3: 3 match(es)\n\n"
               "Total: 6 replacement(s)\n");
}

TEST_F(CliPresetDryRunTest, saysWhenThereIsNothingToReplace) {
  expectReport(R"({"name":"Test","rules":[{"find":"00","replace":"01"}]})", 1,
               "Preset: Test\nRule 1: 0 match(es)\n\nTotal: 0 replacement(s)\n");
  expectReport(R"({"name":"Empty","rules":[]})", 1, "Preset: Empty\n\nTotal: 0 replacement(s)\n");
  folder.write("a.bin", "");
  expectOutput({"preset-dry-run", "a.bin", "p.json"}, 1,
               "Preset: Empty\n\nTotal: 0 replacement(s)\n");
}

TEST_F(CliPresetDryRunTest, countsMatchesThatAreReplacedByThemselves) {
  expectReport(R"({"name":"Same","rules":[{"find":"4142","replace":"4142"}]})", 0,
               "Preset: Same\nRule 1: 3 match(es)\n\nTotal: 3 replacement(s)\n");
}

TEST_F(CliPresetDryRunTest, writesNothing) {
  folder.write("p.json", R"({"name":"T","rules":[{"find":"41","replace":"58"}]})");
  EXPECT_EQ(run({"preset-dry-run", "a.bin", "p.json"}).status, 0);
  EXPECT_EQ(names(), (std::vector<std::string>{"a.bin", "p.json"}));
  EXPECT_EQ(folder.read("a.bin"), "ABABAB");
}

TEST_F(CliPresetDryRunTest, badPresetsAreRefused) {
  expectRefusal("", "Preset file is not valid JSON.");
  expectRefusal("[]", "Preset must be a JSON object.");
  expectRefusal(R"({"name":")" + std::string(513, 'n') + R"(","rules":[]})",
                "Preset name is too long to import safely.");
  expectRefusal(R"({"name":"T"})", "Preset is missing rules array.");
  std::string rules = "{}";
  for (int i = 0; i < 512; ++i) rules += ",{}";
  expectRefusal(R"({"name":"T","rules":[)" + rules + "]}",
                "Preset contains too many rules to apply safely.");
  expectRefusal(R"({"name":"T","rules":[{"find":"41","replace":"42"},{"find":"x","replace":"1"}]})",
                "Invalid rule at index 1: \"find\" must be hexadecimal bytes.");
  expectRefusal(R"({"name":"T","rules":[{"find":"41","replace":""}]})",
                "Invalid rule at index 0: \"replace\" must be hexadecimal bytes.");
  expectRefusal(R"({"name":"T","rules":[{"find":"1","replace":"1","name":")" +
                    std::string(513, 'n') + R"("}]})",
                "Rule name at index 0 is too long to import safely.");
  expectRefusal(std::string(8'388'609, ' '), "Preset file is too large to import safely.");
}

TEST_F(CliPresetDryRunTest, namesMayBe512CharactersLong) {
  const std::string name(512, 'n');
  expectReport(R"({"name":")" + name + R"(","rules":[{"name":")" + name +
                   R"(","find":"41","replace":"42"}]})",
               0, "Preset: " + name + "\n" + name + ": 3 match(es)\n\nTotal: 3 replacement(s)\n");
}

TEST_F(CliPresetDryRunTest, growthBeyondTheLimitsIsRefused) {
  // 600 times two MiB are more than any machine's limit.
  folder.write("a.bin", std::string(600, 'A'));
  std::string replacement;
  for (int i = 0; i < 2 * 1024 * 1024; ++i) replacement += "00";
  expectRefusal(R"({"name":"T","rules":[{"find":"41","replace":")" + replacement + R"("}]})",
                "JSON preset output would grow too much to process safely.");
}

TEST_F(CliPresetDryRunTest, whatCannotBeReadIsRefused) {
  folder.write("p.json", R"({"name":"T","rules":[]})");
  expectFailure({"preset-dry-run", "missing", "p.json"}, "missing: No such file or directory");
  expectFailure({"preset-dry-run", "a.bin", "missing"}, "missing: No such file or directory");
  expectFailure({"preset-dry-run", "a.bin", "."},
                ".: Directories cannot be opened as binary files.");
}

}  // namespace
}  // namespace quillmor::test
