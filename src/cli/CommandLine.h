#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Command.h"

namespace quillmor::cli {

/// What the arguments of the program ask for: a command, or a text that is printed instead.
struct CommandLine {
  const Command* command = nullptr;
  Arguments arguments;
  /// The help or the version, with its final line feed.
  std::optional<std::string> text;
};

// What the options of every command line do.
inline constexpr const char* kHelpDescription = "Print this help and exit";
inline constexpr const char* kVersionDescription = "Print the version and exit";

/// Parses the arguments of the program, without its name. Throws `UsageError` with a sentence that
/// ends by naming the help.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

/// Returns the message about wrong usage of `command`, or of the program when it is null.
std::string usageMessage(const std::string& sentence, const Command* command);

/// The help of the program: all commands by groups.
std::string programHelp();

/// The help of one command.
std::string commandHelp(const Command& command);

}  // namespace quillmor::cli
