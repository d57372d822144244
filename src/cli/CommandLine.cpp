#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>

#include "base/Check.h"
#include "base/ShieldedArguments.h"

namespace quillmor::cli {

namespace {

constexpr const char* kProgramName = "quillmor-cli";
constexpr const char* kPlaceRule = "Exactly one of -o OUT and --in-place is required.";
// Narrow enough for lines of 80 columns.
constexpr std::size_t kOptionColumnWidth = 24;
constexpr std::size_t kCommandColumnWidth = 21;

std::string listed(std::span<const std::string_view> choices) {
  std::string text;
  for (const std::string_view choice : choices) {
    if (!text.empty()) text += ", ";
    text += choice;
  }
  return text;
}

/// The choices, the first of which is the default of an option.
std::string shownDescription(const ValueDescription& value, bool isOption) {
  if (value.kind != ValueKind::choice) return std::string(value.description);
  std::string text = listed(value.choices);
  if (isOption) text.insert(value.choices.front().size(), " (default)");
  return text;
}

/// CLI11's parser of one command, and where it puts the values.
class CommandParser {
 public:
  explicit CommandParser(const Command& command)
      : command_(command),
        app_(std::string(command.summary) + ".",
             std::string(kProgramName) + " " + std::string(command.name)) {
    app_.get_formatter()->column_width(kOptionColumnWidth);
    app_.get_formatter()->label("REQUIRED", "");
    for (const ValueDescription& argument : command.arguments) addArgument(argument);
    for (const OptionDescription& option : command.options) addOption(option);
    app_.set_help_flag("-h,--help", kHelpDescription);
    app_.footer(footer());
  }

  /// Throws `UsageError` for what CLI11 does not understand, and its call for the help.
  void parse(const std::vector<std::string>& arguments) {
    try {
      app_.parse(shieldedArguments(arguments));
    } catch (const CLI::CallForHelp&) {
      throw;
    } catch (const CLI::ExtrasError&) {
      throw UsageError(sentenceOnSurplus());
    } catch (const CLI::RequiredError& error) {
      // An option that is not known may have been meant as the argument.
      const bool hasSurplus = !app_.remaining().empty();
      throw UsageError(hasSurplus ? sentenceOnSurplus() : std::string(error.what()) + ".");
    } catch (const CLI::ConversionError&) {
      // Values are texts, so it was a switch that was given one.
      throw UsageError(switchWithValue() + " takes no value.");
    } catch (const CLI::ArgumentMismatch& error) {
      throw UsageError(sentenceOnCount(error.what()));
    } catch (const CLI::ParseError& error) {
      throw UsageError(std::string(error.what()) + ".");
    }
  }

  std::string help() const { return app_.help(); }

  Arguments arguments() const {
    Arguments given;
    const auto take = [&](std::string_view name, std::string_view shownName) {
      const std::string key(name);
      if (options_.at(key)->count() > 0) given.set(name, unshielded(values_.at(key)), shownName);
    };
    for (const ValueDescription& argument : command_.arguments) take(argument.name, argument.name);
    for (const OptionDescription& option : command_.options) take(option.name, option.value.name);
    return given;
  }

 private:
  void addArgument(const ValueDescription& argument) {
    const std::string name(argument.name);
    options_[name] =
        app_.add_option(name, values_[name], shownDescription(argument, /*isOption=*/false))
            ->type_name("")
            ->required(!argument.isOptional);
  }

  void addOption(const OptionDescription& option) {
    const std::string name(option.name);
    std::string& value = values_[name];
    if (option.isSwitch()) {
      options_[name] = app_.add_flag_callback(
          name, [] {}, std::string(option.value.description));
    } else {
      options_[name] =
          app_.add_option(name, value, shownDescription(option.value, /*isOption=*/true))
              ->type_name(std::string(option.value.name));
    }
  }

  /// CLI11's own message ends at the shield of a value.
  std::string sentenceOnSurplus() const {
    const std::vector<std::string> surplus = app_.remaining();
    const auto first =
        std::ranges::find_if(surplus, [](const std::string& text) { return text != "--"; });
    checkPrecondition(first != surplus.end(), "an argument that is left over");
    if (first->starts_with('-')) return "There is no option " + unshielded(*first) + ".";
    return "\"" + unshielded(*first) + "\" is one argument too many.";
  }

  /// `message` is CLI11's, which begins with the option's name.
  std::string sentenceOnCount(const std::string& message) const {
    for (const auto& [name, option] : options_) {
      if (!message.starts_with(name + ":")) continue;
      return name + (option->count() > 1 ? " is given more than once." : " needs a value.");
    }
    return message + ".";
  }

  std::string switchWithValue() const {
    const auto isTyped = [](const std::string& value) { return unshielded(value) != value; };
    for (const auto& [name, option] : options_) {
      if (option->get_items_expected_max() == 0 && std::ranges::any_of(option->results(), isTyped))
        return name;
    }
    return "A switch";
  }

  std::string footer() const {
    std::string text;
    if (command_.changesBytes()) text += std::string(kPlaceRule) + "\n\n";
    text += "Exit status: 0 when done";
    if (!command_.no.empty()) text += ", 1 when " + std::string(command_.no);
    text += ", 2 on failure.\n\nExample: " + std::string(command_.example.purpose) + "\n  " +
            std::string(command_.example.line);
    return text;
  }

  const Command& command_;
  CLI::App app_;
  std::map<std::string, std::string> values_;
  std::map<std::string, CLI::Option*> options_;
};

void requireChoice(const Arguments& arguments, std::string_view name,
                   const ValueDescription& value) {
  const auto given = arguments.find(name);
  if (value.kind != ValueKind::choice || !given) return;
  if (std::ranges::find(value.choices, *given) != value.choices.end()) return;
  throw UsageError(std::string(value.name) + " must be one of " + listed(value.choices) + ".");
}

void requireSense(const Command& command, const Arguments& arguments) {
  for (const ValueDescription& value : command.arguments)
    requireChoice(arguments, value.name, value);
  for (const OptionDescription& option : command.options)
    requireChoice(arguments, option.name, option.value);
  if (command.changesBytes() && arguments.has("-o") == arguments.has("--in-place"))
    throw UsageError(kPlaceRule);
  if (arguments.has("--verify") && !arguments.has("--in-place"))
    throw UsageError("--verify goes with --in-place.");
}

CommandLine parseWithoutCommand(const std::vector<std::string>& arguments) {
  if (arguments.empty()) throw UsageError(usageMessage("A command is required.", nullptr));
  const std::string& first = arguments.front();
  CommandLine line;
  if (first == "--help" || first == "-h") {
    line.text = programHelp();
  } else if (first == "--version") {
    line.text = std::string(kProgramName) + " " QUILLMOR_VERSION "\n";
  } else if (first.starts_with('-')) {
    throw UsageError(usageMessage("There is no option " + first + ".", nullptr));
  } else {
    throw UsageError(usageMessage("There is no command " + first + ".", nullptr));
  }
  return line;
}

}  // namespace

std::string usageMessage(const std::string& sentence, const Command* command) {
  std::string message = sentence + " See " + kProgramName;
  if (command != nullptr) message += " " + std::string(command->name);
  return message + " --help.";
}

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
  const Command* const command = arguments.empty() ? nullptr : findCommand(arguments.front());
  if (command == nullptr) return parseWithoutCommand(arguments);
  CommandLine line{.command = command, .arguments = {}, .text = {}};
  try {
    CommandParser parser(*command);
    try {
      parser.parse({arguments.begin() + 1, arguments.end()});
    } catch (const CLI::CallForHelp&) {
      line.text = parser.help();
      return line;
    }
    line.arguments = parser.arguments();
    requireSense(*command, line.arguments);
  } catch (const UsageError& error) {
    throw UsageError(usageMessage(error.what(), command));
  }
  return line;
}

std::string commandHelp(const Command& command) {
  return CommandParser(command).help();
}

std::string programHelp() {
  CLI::App app(
      "Every tool of the Quillmor hex editor without a window. Reports go to standard\n"
      "output; a file is changed only where -o or --in-place says so.",
      kProgramName);
  app.get_formatter()->column_width(kCommandColumnWidth);
  app.get_formatter()->label("SUBCOMMAND", "COMMAND");
  app.set_help_flag("-h,--help", kHelpDescription);
  app.set_version_flag("--version", QUILLMOR_VERSION, kVersionDescription);
  for (const Command& command : commands()) {
    app.add_subcommand(std::string(command.name), std::string(command.summary))
        ->group(std::string(command.group));
  }
  app.require_subcommand();
  app.footer(
      "Offsets and lengths are decimal, 0xHEX, HEX or HEXh.\n"
      "Exit status: 0 done, valid, found or identical; 1 the answer is no; 2 failure.\n"
      "quillmor-cli COMMAND --help explains a command and gives an example.");
  return app.help();
}

}  // namespace quillmor::cli
