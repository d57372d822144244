#include "cli/ManualPage.h"

#include <algorithm>
#include <functional>

#include "cli/Command.h"
#include "cli/ManualProse.h"

namespace quillmor::cli {

namespace {

std::string bold(std::string_view text) {
  return "\\fB" + manualText(text) + "\\fR";
}

std::string italic(std::string_view text) {
  return "\\fI" + manualText(text) + "\\fR";
}

/// The choices, the first of which is the default of an option.
std::string choicesText(const ValueDescription& value, bool isOption) {
  std::string text;
  for (const std::string_view choice : value.choices) {
    if (!text.empty()) text += choice == value.choices.back() ? " or " : ", ";
    text += bold(choice);
    if (isOption && choice == value.choices.front()) text += " (default)";
  }
  return text;
}

/// An argument or an option with its description, as an item of a list.
std::string item(std::string_view heading, const ValueDescription& value, bool isOption) {
  std::string text = ".TP\n" + std::string(heading) + "\n" + manualText(value.description);
  if (value.kind == ValueKind::choice) text += ": " + choicesText(value, isOption);
  return text + ".\n";
}

std::string item(const ValueDescription& argument) {
  return item(italic(argument.name), argument, /*isOption=*/false);
}

std::string item(const OptionDescription& option) {
  std::string heading = bold(option.name);
  if (!option.isSwitch()) heading += " " + italic(option.value.name);
  return item(heading, option.value, /*isOption=*/true);
}

/// How many commands describe it with the same words.
template <class Described>
std::ptrdiff_t useCount(std::vector<Described> Command::*list, const std::string& described) {
  return std::ranges::count_if(commands(), [&](const Command& command) {
    return std::ranges::any_of(command.*list,
                               [&](const Described& other) { return item(other) == described; });
  });
}

/// The items of what only this command takes; the others stand in a section of their own.
template <class Described>
std::string ownItems(const Command& command, std::vector<Described> Command::*list) {
  std::string text;
  for (const Described& described : command.*list) {
    if (useCount(list, item(described)) == 1) text += item(described);
  }
  return text;
}

/// The items of what several commands take and that fulfil the condition, each once.
template <class Described, class Condition>
std::string sharedItems(std::vector<Described> Command::*list, Condition condition) {
  std::string text;
  for (const Command& command : commands()) {
    for (const Described& described : command.*list) {
      const std::string shown = item(described);
      const bool isNew = text.find(shown) == std::string::npos;
      if (isNew && useCount(list, shown) > 1 && condition(described)) text += shown;
    }
  }
  return text;
}

bool isPlaceOfChangedBytes(const OptionDescription& option) {
  return std::ranges::all_of(commands(), [&](const Command& command) {
    const bool takesIt = std::ranges::any_of(
        command.options, [&](const auto& other) { return item(other) == item(option); });
    return !takesIt || command.changesBytes();
  });
}

std::string usage(const Command& command) {
  std::string text = ".SY " + manualText(command.name) + "\n";
  for (const ValueDescription& argument : command.arguments)
    text += (argument.isOptional ? ".RI [ " + manualText(argument.name) + " ]"
                                 : ".I " + manualText(argument.name)) +
            "\n";
  for (const OptionDescription& option : command.options) {
    if (command.changesBytes() && (option.name == "-o" || option.name == "--in-place")) continue;
    text += ".OP " + manualText(option.name) + " " + manualText(option.value.name) + "\n";
  }
  if (command.changesBytes())
    text += "(\\fB\\-o\\fR\\~\\fIOUT\\fR\\~|\\~\\fB\\-\\-in\\-place\\fR)\n";
  return text + ".YS\n";
}

std::string example(const Example& example) {
  const std::string mark = example.purpose.ends_with('?') ? "" : ":";
  return ".PP\n" + manualText(example.purpose) + mark + "\n.RS 2\n.EX\n" +
         manualText(example.line) + "\n.EE\n.RE\n";
}

std::string description(const Command& command) {
  std::string text = usage(command) + ".RS 4\n" + manualText(command.summary) + ".\n";
  if (!command.no.empty()) text += "The exit status is 1 when " + manualText(command.no) + ".\n";
  text += ownItems(command, &Command::arguments) + ownItems(command, &Command::options);
  return text + example(command.example) + ".RE\n";
}

std::string commandsSection() {
  std::string text = ".SH COMMANDS\n";
  for (const std::string_view group : commandGroups()) {
    text += ".SS " + manualText(group) + "\n";
    for (const Command& command : commands()) {
      if (command.group == group) text += description(command);
    }
  }
  return text;
}

std::string sharedSection() {
  return ".SH ARGUMENTS AND OPTIONS\nThese mean the same wherever a command takes them.\n" +
         sharedItems(&Command::arguments, [](const ValueDescription&) { return true; }) +
         sharedItems(&Command::options, std::not_fn(isPlaceOfChangedBytes)) +
         ".PP\nCommands that change bytes take exactly one of these two.\n" +
         sharedItems(&Command::options, isPlaceOfChangedBytes);
}

}  // namespace

std::string manualText(std::string_view text) {
  std::string written;
  bool isLineStart = true;
  for (const char character : text) {
    // A line that begins so would be a request.
    if (isLineStart && character == '.') written += "\\&";
    isLineStart = character == '\n';
    switch (character) {
      case '-':
        written += "\\-";
        break;
      case '\\':
        written += "\\e";
        break;
      case '\'':
        written += "\\(aq";
        break;
      case '"':
        written += "\\(dq";
        break;
      case '`':
        written += "\\(ga";
        break;
      case '^':
        written += "\\(ha";
        break;
      case '~':
        written += "\\(ti";
        break;
      default:
        written += character;
    }
  }
  return written;
}

std::string manualPage() {
  const std::string title = ".TH QUILLMOR\\-CLI 1 \"\" \"Quillmor " QUILLMOR_VERSION "\"\n";
  // Terminals show text best with a ragged right margin and with words in one piece. Every
  // paragraph sets the hyphenation anew, from that register in one formatter.
  return title + ".ad l\n.nh\n.nr HY 0\n" + std::string(kManualOpening) + commandsSection() +
         sharedSection() + std::string(kManualClosing);
}

}  // namespace quillmor::cli
