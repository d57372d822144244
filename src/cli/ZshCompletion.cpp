#include "cli/CommandLine.h"
#include "cli/Completions.h"
#include "cli/ShellText.h"

namespace quillmor::cli {

namespace {

constexpr std::string_view kOpening = R"(#compdef quillmor-cli
# Completion of quillmor-cli for zsh.

)";

constexpr std::string_view kBeforeCommands = R"(
_quillmor-cli() {
  local curcontext=$curcontext state state_descr line ret=1
  local -A opt_args
  _arguments -C \
)";

constexpr std::string_view kBehindOptions = R"(    '1:command:_quillmor-cli_commands' \
    '*::argument:->argument' && ret=0
  [[ $state == argument ]] || return ret

  curcontext=${curcontext%:*}-$line[1]:
  case $line[1] in
)";

constexpr std::string_view kClosing = R"(  esac
  return ret
}

_quillmor-cli "$@"
)";

std::string helpSpecification() {
  return std::string("'(- : *)'{-h,--help}'[") + kHelpDescription + "]'";
}

std::string versionSpecification() {
  return std::string("'(- : *)--version[") + kVersionDescription + "]'";
}

/// What completes a value, after its message.
std::string action(const ValueDescription& value) {
  switch (value.kind) {
    case ValueKind::text:
      return " ";
    case ValueKind::file:
      return "_files";
    case ValueKind::choice:
      return "(" + joinedWords(value.choices, " ") + ")";
  }
  return {};
}

std::string argumentSpecification(std::size_t position, const ValueDescription& argument) {
  return singleQuoted(std::to_string(position) + (argument.isOptional ? "::" : ":") +
                      withBackslashes(argument.description, "\\:") + ":" + action(argument));
}

std::string optionSpecification(const Command& command, const OptionDescription& option) {
  const bool isPlace = option.name == "-o" || option.name == "--in-place";
  std::string text = command.changesBytes() && isPlace ? "(-o --in-place)" : "";
  text += option.name;
  if (!option.isSwitch() && option.name.starts_with("--")) text += "=";
  text += "[" + withBackslashes(option.value.description, "\\[]") + "]";
  if (!option.isSwitch())
    text += ":" + withBackslashes(option.value.name, "\\:") + ":" + action(option.value);
  return singleQuoted(text);
}

std::string commandCase(const Command& command) {
  constexpr std::string_view kNext = " \\\n        ";
  std::string text = "    " + std::string(command.name) + ")\n      _arguments -S";
  text += kNext;
  text += helpSpecification();
  for (const OptionDescription& option : command.options) {
    text += kNext;
    text += optionSpecification(command, option);
  }
  std::size_t position = 0;
  for (const ValueDescription& argument : command.arguments) {
    text += kNext;
    text += argumentSpecification(++position, argument);
  }
  return text + " && ret=0\n      ;;\n";
}

/// The function that offers the names, each group under its heading.
std::string commandList() {
  std::string text = "_quillmor-cli_commands() {\n  local -a names\n  local ret=1\n";
  for (const std::string_view group : commandGroups()) {
    text += "  names=(\n";
    for (const Command& command : commands()) {
      if (command.group != group) continue;
      text += "    " + singleQuoted(std::string(command.name) + ":" + std::string(command.summary));
      text += "\n";
    }
    text += "  )\n  _describe -t commands " + singleQuoted(group) + " names && ret=0\n";
  }
  return text + "  return ret\n}\n";
}

}  // namespace

std::string zshCompletion() {
  std::string text = std::string(kOpening) + commandList() + std::string(kBeforeCommands);
  text += "    " + helpSpecification() + " \\\n    " + versionSpecification() + " \\\n";
  text += kBehindOptions;
  for (const Command& command : commands()) text += commandCase(command);
  return text + std::string(kClosing);
}

}  // namespace quillmor::cli
