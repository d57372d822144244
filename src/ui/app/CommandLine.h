#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/FileLocation.h"
#include "document/HexSelection.h"

namespace quillmor {

/// The program's arguments, parsed.
struct CommandLine {
  std::vector<FileLocation> files;
  bool isPrivate = false;  ///< nothing is kept of the work on the files
  /// Where to write the window of the one file as PNG before exiting.
  std::optional<FileLocation> picture;
  std::optional<HexSelection> selection;  ///< selected in the screenshot

  /// Set when the program is to print `message` and exit: help, version, wrong usage,
  /// or a relative path in a directory that has been removed (status 2).
  std::optional<int> exitStatus;
  std::string message;
};

/// Parses the arguments after the program's name, as the bytes that the system passes.
CommandLine parseCommandLine(const std::vector<std::string>& arguments);

}  // namespace quillmor
