#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "cli/Arguments.h"
#include "cli/Session.h"

namespace quillmor::cli {

/// What a value stands for: where its completions come from, and whether it is checked.
enum class ValueKind { text, file, choice };

/// A value that a command takes, by position or after an option.
struct ValueDescription {
  std::string_view name;         ///< in capitals, such as "FILE"
  std::string_view description;  ///< a phrase without a full stop
  ValueKind kind = ValueKind::text;
  std::span<const std::string_view> choices = {};  ///< of `ValueKind::choice`
  bool isOptional = false;                         ///< an argument that may be left out
};

/// An option; without a value it is a switch.
struct OptionDescription {
  std::string_view name;   ///< "--start", "-o"
  ValueDescription value;  ///< its description is that of the switch where the name is empty

  bool isSwitch() const { return value.name.empty(); }
};

/// A command line, and what it does.
struct Example {
  std::string_view purpose;
  std::string_view line;
};

/// One command: its name, what it takes and what it does. The program's parsing, its help, its
/// manual page and its completions are all made from the list of commands.
struct Command {
  std::string_view name;
  std::string_view group;    ///< the heading under which it is listed
  std::string_view summary;  ///< one sentence without a full stop
  std::string_view no = {};  ///< when the exit status is 1; empty where it never is
  std::vector<ValueDescription> arguments = {};
  std::vector<OptionDescription> options = {};
  Example example;
  Outcome (*run)(const Arguments& arguments, Session& session);

  /// True if it writes changed bytes: exactly one of "-o" and "--in-place" is then required.
  bool changesBytes() const;

  /// True if more than one of its arguments is a file: messages then name the file they are about.
  bool takesSeveralFiles() const;
};

/// All commands, in the order in which they are listed. Made on first use.
const std::vector<Command>& commands();

/// The headings of the groups, in order.
std::span<const std::string_view> commandGroups();

/// The command of that name; null when there is none.
const Command* findCommand(std::string_view name);

}  // namespace quillmor::cli
