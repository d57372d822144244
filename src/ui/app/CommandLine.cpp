#include "ui/app/CommandLine.h"

#include <CLI/CLI.hpp>

#include "base/Error.h"
#include "base/ShieldedArguments.h"
#include "base/VisibleText.h"
#include "search/typed/HexParser.h"

namespace quillmor {

namespace {

constexpr int kFailureStatus = 2;

/// "START,LENGTH", each typed like any offset.
std::optional<HexSelection> parseSelection(const std::string& text) {
  const std::size_t comma = text.find(',');
  if (comma == std::string::npos) return std::nullopt;
  const auto start = HexParser::parseOffset(text.substr(0, comma));
  const auto length = HexParser::parseOffset(text.substr(comma + 1));
  if (!start || !length || *start < 0 || *length < 0) return std::nullopt;
  return HexSelection{*start, *length};
}

/// Throws with the name in the message where the name leads nowhere.
FileLocation locationOf(const std::string& name) {
  try {
    return FileLocation::fromPath(name);
  } catch (const Error& error) {
    throw error.withMessage(name + ": " + error.message());
  }
}

CommandLine failure(const std::string& message) {
  CommandLine line;
  line.exitStatus = kFailureStatus;
  line.message = "quillmor: " + visibleText(message) + "\n";
  return line;
}

CommandLine usageError(const std::string& message) {
  return failure(message + " See quillmor --help.");
}

/// As `parseCommandLine`, but throws an `Error` when a relative path leads nowhere.
CommandLine parse(const std::vector<std::string>& arguments) {
  CLI::App app("A hex editor for files you cannot afford to lose.", "quillmor");
  std::vector<std::string> files;
  std::string screenshot;
  std::string selection;
  app.set_version_flag("--version", "quillmor " QUILLMOR_VERSION);
  app.add_option("FILE", files,
                 "Files to open: the first in the first window, others in windows of their own");
  CommandLine line;
  app.add_flag("--private", line.isPrivate,
               "Leave no trace of the files: no history, no records of unsaved changes and no "
               "settings are kept. The record of a save stays until a save has succeeded, and "
               "after kill -9 the lock of an open file, named after a hash of its path");
  auto* screenshotOption =
      app.add_option("--screenshot", screenshot, "Save a picture of FILE's window as PNG and exit")
          ->type_name("OUT.png");
  app.add_option("--select", selection,
                 "Bytes to select in the picture (decimal, 0xHEX, HEX or HEXh)")
      ->type_name("START,LENGTH")
      ->needs(screenshotOption);

  try {
    app.parse(shieldedArguments(arguments));
  } catch (const CLI::CallForHelp&) {
    line.exitStatus = 0;
    line.message = app.help();
    return line;
  } catch (const CLI::CallForVersion&) {
    line.exitStatus = 0;
    line.message = "quillmor " QUILLMOR_VERSION "\n";
    return line;
  } catch (const CLI::ExtrasError&) {
    // CLI11's own message would end at the shield of a value. Files are never too many.
    return usageError("There is no option " + unshielded(app.remaining().front()) + ".");
  } catch (const CLI::ParseError& error) {
    return usageError(unshielded(error.what()) + ".");
  }
  for (const std::string& file : files) {
    const std::string name = unshielded(file);
    if (name.empty()) return usageError("A file name is empty.");
    line.files.push_back(locationOf(name));
  }
  if (screenshotOption->count() == 0) return line;
  if (line.files.size() != 1) return usageError("--screenshot needs exactly one FILE.");
  const std::string picture = unshielded(screenshot);
  if (picture.empty()) return usageError("--screenshot needs a name for the picture.");
  line.picture = locationOf(picture);
  if (!selection.empty()) {
    line.selection = parseSelection(unshielded(selection));
    if (!line.selection) return usageError("--select needs START,LENGTH.");
  }
  return line;
}

}  // namespace

CommandLine parseCommandLine(const std::vector<std::string>& arguments) {
  try {
    return parse(arguments);
  } catch (const Error& error) {
    return failure(error.message());
  }
}

}  // namespace quillmor
