// The manual page: complete, well formed and within 80 columns.

#include <algorithm>
#include <map>
#include <sstream>

#include "blackbox/cli/CliTest.h"
#include "cli/Command.h"
#include "cli/Completions.h"
#include "cli/ManualPage.h"

namespace quillmor::test {
namespace {

using testing::HasSubstr;

const std::string kPage = QUILLMOR_SHARE "/man/man1/quillmor-cli.1";

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// The text with every run of blanks and line feeds as one blank.
std::string unfolded(const std::string& text) {
  std::string words;
  std::istringstream stream(text);
  for (std::string word; stream >> word;) words += word + " ";
  return words;
}

class CliPagesTest : public CliTest {
 protected:
  /// The page as a terminal shows it, without bold and underlined letters.
  std::string rendered(const std::string& page) const {
    const CliRun shown = runShell("groff -man -Tutf8 -ww -P-cbou " + page);
    EXPECT_EQ(shown.status, 0);
    EXPECT_EQ(shown.errors, "");
    return shown.output;
  }

  /// What the page says about each command, by its name.
  std::map<std::string, std::string> entries() const {
    std::map<std::string, std::string> byName;
    std::string name;
    bool isInside = false;
    for (const std::string& line : linesOf(rendered(kPage))) {
      const std::size_t indentation = std::min(line.find_first_not_of(' '), line.size());
      if (indentation == 0 && !line.empty()) isInside = line == "COMMANDS";
      if (indentation == 3) name.clear();
      if (indentation == 7) name = line.substr(7, line.find(' ', 7) - 7);
      if (!isInside) name.clear();
      if (!name.empty()) byName[name] += line + "\n";
    }
    return byName;
  }
};

TEST_F(CliPagesTest, manualPageExplainsEveryCommand) {
  const auto entryOf = entries();
  const std::string page = unfolded(rendered(kPage));
  EXPECT_EQ(entryOf.size(), cli::commands().size());
  for (const cli::Command& command : cli::commands()) {
    const std::string name(command.name);
    ASSERT_TRUE(entryOf.contains(name)) << name;
    const std::string entry = unfolded(entryOf.at(name));
    std::string usage = name;
    for (const auto& argument : command.arguments) {
      const std::string shown(argument.name);
      usage += argument.isOptional ? " [" + shown + "]" : " " + shown;
      EXPECT_THAT(page, HasSubstr(argument.description)) << name;
      for (const auto choice : argument.choices) EXPECT_THAT(entry, HasSubstr(choice)) << name;
    }
    EXPECT_TRUE(entry.starts_with(usage + " ")) << entry;
    EXPECT_THAT(entry, HasSubstr(" " + std::string(command.summary) + ". ")) << name;
    EXPECT_EQ(entry.find("exit status is 1 when " + std::string(command.no)) != std::string::npos,
              !command.no.empty())
        << name;
    EXPECT_THAT(entry, HasSubstr(std::string(command.example.purpose))) << name;
    EXPECT_THAT(entry, HasSubstr(" " + std::string(command.example.line) + " ")) << name;
  }
}

TEST_F(CliPagesTest, manualPageExplainsEveryOption) {
  const auto entryOf = entries();
  const std::string page = unfolded(rendered(kPage));
  for (const cli::Command& command : cli::commands()) {
    const std::string name(command.name);
    const std::string entry = unfolded(entryOf.at(name));
    for (const auto& option : command.options) {
      std::string shown(option.name);
      if (!option.isSwitch()) shown += " " + std::string(option.value.name);
      const bool isPlace = option.name == "-o" || option.name == "--in-place";
      if (command.changesBytes() && isPlace) {
        EXPECT_THAT(entry, HasSubstr("(-o OUT | --in-place)")) << name;
      } else {
        EXPECT_THAT(entry, HasSubstr("[" + shown + "]")) << name;
      }
      EXPECT_THAT(page, HasSubstr(" " + shown + " " + std::string(option.value.description)))
          << name;
      for (const auto choice : option.value.choices) EXPECT_THAT(page, HasSubstr(choice)) << name;
    }
  }
}

TEST_F(CliPagesTest, manualPageHasItsSections) {
  std::vector<std::string> headings;
  std::vector<std::string> groups;
  for (const std::string& line : linesOf(rendered(kPage))) {
    if (line.empty() || line.find("QUILLMOR-CLI(1)") != std::string::npos) continue;
    if (line[0] != ' ') headings.push_back(line);
    if (line.find_first_not_of(' ') == 3) groups.push_back(line.substr(3));
  }
  EXPECT_THAT(headings, testing::ElementsAre(
                            "NAME", "SYNOPSIS", "DESCRIPTION", "COMMANDS", "ARGUMENTS AND OPTIONS",
                            "EXIT STATUS", "FILES AND SAFETY", "ENVIRONMENT", "NOTES", "EXAMPLES"));
  EXPECT_THAT(groups, testing::ElementsAreArray(cli::commandGroups()));
  EXPECT_THAT(rendered(kPage), HasSubstr("Quillmor " QUILLMOR_VERSION));
}

TEST_F(CliPagesTest, manualPageFitsATerminalAndCanBeCopiedFrom) {
  const std::string page = rendered(kPage);
  for (const std::string& line : linesOf(page)) EXPECT_LE(line.size(), 80U) << line;
  // Typographic dashes and quotes would be no options and no quotes for a shell.
  EXPECT_TRUE(std::ranges::all_of(
      page, [](char letter) { return letter == '\n' || (letter >= ' ' && letter <= '~'); }));
}

TEST_F(CliPagesTest, manualPageSatisfiesAChecker) {
  // A date would have to change with every version, or with every build.
  const CliRun checked = runShell("mandoc -T lint -W warning " + kPage +
                                  " | grep -v 'WARNING: missing date, using \"\": TH$'");
  EXPECT_EQ(checked.output, "");
  EXPECT_EQ(checked.errors, "");
}

TEST_F(CliPagesTest, textsComeOutOfThePageAsTheyAre) {
  const std::string text =
      ".PP is no request\n'br is none\n--a-b \\fB \\e \"c\" 'd' `e` ^ ~ | \\\\ \\- \\";
  folder.write("page.1", ".TH X 1 \"\" \"\"\n.nf\n" + cli::manualText(text) + "\n");
  const std::string page = rendered("page.1");
  for (const std::string& line : linesOf(text)) EXPECT_THAT(page, HasSubstr(line));
}

TEST_F(CliPagesTest, pagesAreWrittenAsTheyAreInstalled) {
  // Equal sources give equal bytes.
  const CliRun written = runShell(
      "mkdir -p man/man1 bash-completion/completions zsh/site-functions fish/vendor_completions.d "
      "&&"
      " '" QUILLMOR_CLI_PAGES "' . && diff -r . '" QUILLMOR_SHARE "'");
  EXPECT_EQ(written.status, 0);
  EXPECT_EQ(written.output + written.errors, "");
  EXPECT_TRUE(folder.read("man/man1/quillmor-cli.1") == cli::manualPage());
  EXPECT_TRUE(folder.read("bash-completion/completions/quillmor-cli") == cli::bashCompletion());
  EXPECT_TRUE(folder.read("zsh/site-functions/_quillmor-cli") == cli::zshCompletion());
  EXPECT_TRUE(folder.read("fish/vendor_completions.d/quillmor-cli.fish") == cli::fishCompletion());
}

TEST_F(CliPagesTest, pagesThatCannotBeWrittenAreAFailure) {
  const CliRun missing = runShell("'" QUILLMOR_CLI_PAGES "' missing");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.errors,
            "quillmor-cli-pages: cannot write missing/man/man1/quillmor-cli.1: No such file or "
            "directory\n");
  const CliRun full = runShell(
      "mkdir -p man/man1 && ln -s /dev/full man/man1/quillmor-cli.1 && '" QUILLMOR_CLI_PAGES "' .");
  EXPECT_EQ(full.status, 1);
  EXPECT_EQ(
      full.errors,
      "quillmor-cli-pages: cannot write ./man/man1/quillmor-cli.1: No space left on device\n");
  EXPECT_EQ(runShell("'" QUILLMOR_CLI_PAGES "'").status, 2);
}

}  // namespace
}  // namespace quillmor::test
