#include "cli/CommandLine.h"
#include "cli/Completions.h"
#include "cli/ShellText.h"

namespace quillmor::cli {

namespace {

constexpr std::string_view kOpening = R"(# Completion of quillmor-cli for fish.

# Whether no command has been typed yet.
function __quillmor_cli_is_first
    test (count (commandline -opc)) -eq 1
end

# Whether the command $argv[1] has been typed.
function __quillmor_cli_runs
    set -l words (commandline -opc)
    test (count $words) -ge 2 -a "$words[2]" = $argv[1]
end

# Whether argument number $argv[2] of the command $argv[1] comes next. What follows them are the
# options of the command that take a value.
function __quillmor_cli_takes
    __quillmor_cli_runs $argv[1]
    or return
    set -l words (commandline -opc)
    set -e words[1..2]
    set -l number 1
    set -l is_value false
    set -l is_plain false
    for word in $words
        if $is_value
            set is_value false
        else if $is_plain; or not string match -q -- '-?*' $word
            set number (math $number + 1)
        else if test "$word" = --
            set is_plain true
        else if contains -- $word $argv[3..-1]
            set is_value true
        end
    end
    not $is_value; and test $number -eq $argv[2]
end

complete -c quillmor-cli -f
)";

std::string quoted(std::string_view text) {
  return "'" + withBackslashes(text, "\\'") + "'";
}

std::string completion(const std::string& condition, const std::string& rest) {
  return "complete -c quillmor-cli -n " + quoted(condition) + " " + rest + "\n";
}

std::string helpCompletion(const std::string& condition) {
  return completion(condition, "-s h -l help -d " + quoted(kHelpDescription));
}

std::string choicesOf(const ValueDescription& value) {
  return quoted(joinedWords(value.choices, " "));
}

/// What completes the value of an option.
std::string valueFlags(const ValueDescription& value) {
  switch (value.kind) {
    case ValueKind::text:
      return " -x";
    case ValueKind::file:
      return " -r -F";
    case ValueKind::choice:
      return " -x -a " + choicesOf(value);
  }
  return {};
}

std::string optionCompletions(const Command& command) {
  const std::string condition = "__quillmor_cli_runs " + std::string(command.name);
  std::string text;
  for (const OptionDescription& option : command.options) {
    const bool isLong = option.name.starts_with("--");
    std::string flags = isLong ? "-l " : "-s ";
    flags += option.name.substr(isLong ? 2 : 1);
    if (!option.isSwitch()) flags += valueFlags(option.value);
    text += completion(condition, flags + " -d " + quoted(option.value.description));
  }
  return text + helpCompletion(condition);
}

std::string argumentCompletions(const Command& command) {
  std::string valueOptions;
  for (const OptionDescription& option : command.options) {
    if (!option.isSwitch()) valueOptions += " " + std::string(option.name);
  }
  std::string text;
  std::size_t position = 0;
  for (const ValueDescription& argument : command.arguments) {
    const std::string condition = "__quillmor_cli_takes " + std::string(command.name) + " " +
                                  std::to_string(++position) + valueOptions;
    if (argument.kind == ValueKind::file) text += completion(condition, "-F");
    if (argument.kind == ValueKind::choice)
      text += completion(condition, "-a " + choicesOf(argument));
  }
  return text;
}

}  // namespace

std::string fishCompletion() {
  std::string text = std::string(kOpening) + helpCompletion("__quillmor_cli_is_first");
  text += completion("__quillmor_cli_is_first",
                     std::string("-l version -d ") + quoted(kVersionDescription));
  for (const Command& command : commands()) {
    text += "\n" + completion("__quillmor_cli_is_first",
                              "-a " + std::string(command.name) + " -d " + quoted(command.summary));
    text += optionCompletions(command) + argumentCompletions(command);
  }
  return text;
}

}  // namespace quillmor::cli
