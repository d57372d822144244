// The completions in the shells they are for: each is asked what may stand at the end of a line.

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "blackbox/cli/CliTest.h"
#include "cli/Command.h"

namespace quillmor::test {
namespace {

using Words = std::vector<std::string>;

/// A line up to the cursor without the program's name, and what it may be completed to.
struct Question {
  std::string line;
  Words answers;
};

/// Calls the function as bash does. A line that says "==" ends each answer.
constexpr const char* kBashDriver = R"(
source "$SHARE/bash-completion/completions/quillmor-cli"
while IFS= read -r line; do
  read -ra COMP_WORDS <<< "$line"
  [[ $line == *' ' ]] && COMP_WORDS+=('')
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  _quillmor_cli
  printf '%s\n' "${COMPREPLY[@]}" ==
done < ../lines > ../found
)";

constexpr const char* kFishDriver = R"(
source $SHARE/fish/vendor_completions.d/quillmor-cli.fish
for line in (cat ../lines)
    complete -C $line | string replace -r '\t.*' ''
    echo ==
end > ../found
)";

/// Types into a terminal, because zsh completes nowhere else.
constexpr const char* kZshDriver = R"(
zmodload zsh/zpty
zpty shell zsh -f -i
zpty -w shell 'source ../inside.zsh'
zpty -r shell answer '*ready*'
while IFS= read -r line; do
  zpty -w -n shell "$line"$'\t\x18e'
  zpty -r shell answer '*<done>*'
done < ../lines
zpty -d shell
)";

constexpr const char* kInsideZsh = R"(
PROMPT=
fpath=("$SHARE/zsh/site-functions" $fpath)
autoload -Uz compinit
compinit -u -d ../dump
compadd() {
  # Calls that only fill arrays offer nothing.
  if [[ " $* " != *\ -(O|A|D)\ * ]]; then
    local -a hits
    builtin compadd -A hits "$@"
    print -rl -- ${(Q)hits} >> ../found
  fi
  builtin compadd "$@"
}
end-answer() {
  print -r -- '==' >> ../found
  BUFFER=
  print -n '<done>' > /dev/tty
}
zle -N end-answer
bindkey '^Xe' end-answer
bindkey '^I' list-choices
[[ $_comps[quillmor-cli] == _quillmor-cli ]] && print rea''dy
)";

class CliCompletionTest : public CliTest {
 protected:
  CliCompletionTest() {
    std::filesystem::create_directory(folder.path() / "files");
    folder.write("files/my file.bin", "");
    folder.write("files/other.rom", "");
  }

  /// What `shell` offers for the lines, sorted.
  std::vector<Words> ask(const std::string& shell, const std::vector<Question>& questions) const {
    std::string lines;
    for (const Question& question : questions) lines += "quillmor-cli " + question.line + "\n";
    folder.write("lines", lines);
    runIn(shell);
    std::vector<Words> answers(1);
    std::istringstream found(folder.read("found"));
    for (std::string word; std::getline(found, word);) {
      if (word == "==") {
        std::ranges::sort(answers.back());
        answers.emplace_back();
      } else if (!word.empty()) {
        answers.back().push_back(word);
      }
    }
    answers.pop_back();
    return answers;
  }

  void expectAnswers(const std::string& shell, std::vector<Question> questions) const {
    const auto answers = ask(shell, questions);
    ASSERT_EQ(answers.size(), questions.size());
    for (std::size_t index = 0; index < questions.size(); ++index) {
      std::ranges::sort(questions[index].answers);
      EXPECT_EQ(answers[index], questions[index].answers) << questions[index].line;
    }
  }

  /// Runs a shell command in the folder with the files, with a clean home.
  CliRun runClean(const std::string& command) const {
    return runShell("cd files && export HOME=$PWD TERM=vt100 SHARE='" QUILLMOR_SHARE "' && " +
                    command);
  }

 private:
  void runIn(const std::string& shell) const {
    folder.write("driver.bash", kBashDriver);
    folder.write("driver.fish", kFishDriver);
    folder.write("driver.zsh", kZshDriver);
    folder.write("inside.zsh", kInsideZsh);
    const std::string options = shell == "bash" ? "" : shell == "zsh" ? "-f " : "--no-config ";
    const CliRun ended =
        runClean("rm -f ../found; HOME=.. " + shell + " " + options + "../driver." + shell);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.errors, "");
  }
};

class CliEveryShellTest : public CliCompletionTest,
                          public testing::WithParamInterface<const char*> {};

TEST_P(CliEveryShellTest, offersCommands) {
  Words all;
  for (const cli::Command& command : cli::commands()) all.emplace_back(command.name);
  expectAnswers(GetParam(), {{"", all},
                             {"fi", {"find", "find-all", "find-wildcard"}},
                             {"patch-", {"patch-apply", "patch-export"}},
                             {"zz", {}},
                             {"-", {"-h", "--help", "--version"}}});
}

TEST_P(CliEveryShellTest, offersTheOptionsOfTheCommandOnly) {
  std::vector<Question> questions;
  for (const cli::Command& command : cli::commands()) {
    Question question{std::string(command.name) + " -", {"-h", "--help"}};
    for (const auto& option : command.options) question.answers.emplace_back(option.name);
    questions.push_back(question);
  }
  // Neither a file nor a text makes it another command.
  questions.push_back({"frequency find --", {"--help"}});
  questions.push_back({"strings acpi-fix --", {"--help", "--minimum"}});
  questions.push_back({"find x --c", {"--case-sensitive"}});
  questions.push_back({"nonsense -", {}});
  expectAnswers(GetParam(), questions);
}

TEST_P(CliEveryShellTest, offersChoices) {
  expectAnswers(GetParam(),
                {{"copy-as ", {"hex", "c-array", "swift-array", "base64", "python-bytes", "json"}},
                 {"copy-as --start 4 c", {"c-array"}},
                 {"transform s", {"swap16", "swap32"}},
                 {"find x y --mode ", {"text", "hex", "integer", "float"}},
                 {"find --mode ", {"text", "hex", "integer", "float"}},
                 {"replace x y z --encoding utf", {"utf8", "utf16le", "utf16be"}}});
}

TEST_P(CliEveryShellTest, offersFilesWhereFilesAreExpected) {
  const Words files = {"my file.bin", "other.rom"};
  expectAnswers(GetParam(), {{"find ", files},
                             {"find my", {"my file.bin"}},
                             {"compare x o", {"other.rom"}},
                             {"copy-as hex o", {"other.rom"}},
                             {"strings -o ", files},
                             {"strings -o x o", {"other.rom"}},
                             {"strings --minimum 4 o", {"other.rom"}},
                             {"strings --minimum=4 o", {"other.rom"}},
                             {"find --backward o", {"other.rom"}},
                             {"find -- o", {"other.rom"}},
                             {"preset-apply x my", {"my file.bin"}},
                             {"bookmarks o", {"other.rom"}}});
}

TEST_P(CliEveryShellTest, offersNothingForTexts) {
  expectAnswers(GetParam(), {{"find x ", {}},
                             {"find x o", {}},
                             {"replace x y o", {}},
                             {"checksum-range x o", {}},
                             {"strings --minimum ", {}},
                             {"find x y --from o", {}},
                             {"find -- -", {}},
                             {"strings x o", {}},
                             {"nonsense o", {}}});
}

INSTANTIATE_TEST_SUITE_P(Shells, CliEveryShellTest, testing::Values("bash", "zsh", "fish"),
                         [](const auto& instance) { return std::string(instance.param); });

TEST_F(CliCompletionTest, givenOptionsAreNotOfferedAgain) {
  const std::vector<Question> questions = {
      {"find x --mode hex --backward --", {"--case-sensitive", "--encoding", "--from", "--help"}},
      {"acpi-fix x -o y --", {"--help", "--verify"}},
      {"acpi-fix x --in-place -", {"-h", "--help", "--verify"}}};
  expectAnswers("bash", questions);
  expectAnswers("zsh", questions);
}

TEST_F(CliCompletionTest, shellsAcceptTheScripts) {
  for (const char* const command : {"bash -n $SHARE/bash-completion/completions/quillmor-cli",
                                    "zsh -n $SHARE/zsh/site-functions/_quillmor-cli",
                                    "fish --no-execute $SHARE/fish/vendor_completions.d/*"}) {
    const CliRun ended = runClean(command);
    EXPECT_EQ(ended.status, 0) << command;
    EXPECT_EQ(ended.output + ended.errors, "") << command;
  }
}

TEST_F(CliCompletionTest, summariesAreShownWhereTheShellCan) {
  const CliRun ended = runClean(
      "fish --no-config -c 'source $SHARE/fish/vendor_completions.d/quillmor-cli.fish; complete -C "
      "\"quillmor-cli find\"'");
  std::string expected;
  for (const char* const name : {"find", "find-all", "find-wildcard"})
    expected += std::string(name) + "\t" + std::string(cli::findCommand(name)->summary) + "\n";
  EXPECT_EQ(ended.output, expected);
  EXPECT_EQ(ended.errors, "");
}

TEST_F(CliCompletionTest, bashCompletesWhatIsTyped) {
  folder.write("files/a:b.bin", "");
  // Tab is pressed where "@" stands; then the line is run.
  folder.write("driver.zsh", R"(
zmodload zsh/zpty
tab=$'\t'
zpty shell bash --norc --noprofile -i
zpty -w shell 'source ../inside.bash'
zpty -r shell answer '*ready*'
while IFS= read -r line; do
  zpty -w shell "${line//@/$tab}"
  zpty -r shell answer '*<done>*'
done < ../lines
zpty -d shell
)");
  folder.write("inside.bash", R"(
source "$SHARE/bash-completion/completions/quillmor-cli"
quillmor-cli() {
  printf '<%s>' "$@" >> ../found
  echo >> ../found
  printf '<%s>\n' done
}
echo rea''dy
)");
  folder.write("lines", R"(quillmor-cli hex-d@my@
quillmor-cli strings my\ f@--min@8
quillmor-cli strings "my f@
quillmor-cli strings a:@
quillmor-cli strings a@
quillmor-cli find x y --mode=h@
quillmor-cli find x y --mode=i@--enc@utf16l@
quillmor-cli find x y --mod@f@
quillmor-cli strings x 2> ot@
)");
  const CliRun ended = runClean("INPUTRC=/dev/null zsh -f ../driver.zsh");
  EXPECT_EQ(ended.errors, "");
  EXPECT_EQ(folder.read("found"),
            "<hex-dump><my file.bin>\n"
            "<strings><my file.bin><--minimum><8>\n"
            "<strings><my file.bin>\n"
            "<strings><a:b.bin>\n"
            "<strings><a:b.bin>\n"
            "<find><x><y><--mode=hex>\n"
            "<find><x><y><--mode=integer><--encoding><utf16le>\n"
            "<find><x><y><--mode><float>\n"
            "<strings><x>\n");
  EXPECT_THAT(names(), testing::Not(testing::Contains("ot")));
}

}  // namespace
}  // namespace quillmor::test
