// Equal input gives equal bytes, wherever and whenever the program runs.

#include "blackbox/cli/CliTest.h"
#include "support/CommaLocale.h"
#include "support/FileAccessTest.h"

namespace quillmor::test {
namespace {

class CliSurroundingsTest : public CliTest {
 protected:
  CliSurroundingsTest() {
    const std::string bytes = patternedText(20'000);
    folder.write("a.bin", bytes);
    folder.write("b.bin", bytes.substr(0, 15'000) + "x");
    folder.write("p.json", R"({"name":"T","rules":[{"find":"41","replace":"42"}]})");
    folder.write("m.json", R"({"bookmarks":[1,1234567]})");
    folder.write("all.sh", kAllCommands);
  }

  /// What all commands print, and their exit statuses, where `settings` come before them.
  std::string printed(const std::string& settings = "") const {
    const CliRun ended = runShell(settings + " bash all.sh");
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_GT(ended.output.size(), 100'000U);
    return ended.output;
  }

 private:
  static constexpr const char* kAllCommands = R"(
    try() { "$CLI" "$@" 2>&1; echo "$1: $?"; }
    for command in checksums statistics frequency entropy-map detect strings hex-dump intel-hex \
        pci-rom acpi-validate polaris-validate; do try $command a.bin; done
    for style in hex c-array swift-array base64 python-bytes json; do try copy-as $style a.bin; done
    for command in compare compare-list difference-report; do try $command a.bin b.bin; done
    for mode in text hex integer float; do
      try find a.bin 12 --mode $mode
      try find-all a.bin 1.5 --mode $mode
    done
    try checksum-range a.bin 1000 0x1000
    try inspect a.bin 10000
    try patch-export a.bin --length 5000
    try find-wildcard a.bin '41 ?? 42'
    try bookmarks m.json
    try preset-dry-run a.bin p.json
    try find a.bin x --from 1,5
    try --help
    try find --help
    try hex-dump missing
  )";
};

TEST_F(CliSurroundingsTest, twoRunsPrintTheSameWhateverTheAgeOfTheFiles) {
  const std::string first = printed();
  EXPECT_EQ(runShell("touch -d 1999-01-02 a.bin b.bin").status, 0);
  EXPECT_TRUE(printed() == first);
}

TEST_F(CliSurroundingsTest, localesChangeNothing) {
  const std::string plain = printed();
  EXPECT_TRUE(printed("LC_ALL=C") == plain);
  const CommaLocale comma;
  if (!comma.isThere()) GTEST_SKIP() << "no locale with a comma can be made";
  const std::string path = std::getenv("LOCPATH");
  const CliRun shown = runShell("env LOCPATH=" + path + " LC_NUMERIC=comma printf %.1f 0,5");
  EXPECT_EQ(shown.output, "0,5") << "the locale is in effect";
  EXPECT_TRUE(printed("LOCPATH=" + path + " LC_NUMERIC=comma") == plain);
}

TEST_F(CliSurroundingsTest, timeZonesAndTerminalsChangeNothing) {
  const std::string plain = printed();
  EXPECT_TRUE(printed("TZ=Pacific/Kiritimati TERM=xterm COLUMNS=500") == plain);
  EXPECT_TRUE(printed("TZ=nonsense TERM=dumb COLUMNS=20 LANGUAGE=de") == plain);
}

TEST_F(CliSurroundingsTest, theFolderChangesNothing) {
  const std::string path = (folder.path() / "a.bin").native();
  const CliRun here = runShell("\"$CLI\" checksums a.bin; \"$CLI\" compare b.bin a.bin");
  const CliRun elsewhere =
      runShell("cd / && \"$CLI\" checksums '" + path + "'; \"$CLI\" compare '" +
               (folder.path() / "b.bin").native() + "' '" + path + "'");
  EXPECT_EQ(elsewhere.output, here.output);
  EXPECT_EQ(elsewhere.status, here.status);
}

TEST_F(CliSurroundingsTest, aSurroundingWithoutVariablesIsEnough) {
  const CliRun plain = runShell("\"$CLI\" checksums a.bin");
  const CliRun bare = runShell("env -i \"$CLI\" checksums a.bin");
  EXPECT_EQ(bare.output, plain.output);
  EXPECT_EQ(bare.status, 0);
}

}  // namespace
}  // namespace quillmor::test
