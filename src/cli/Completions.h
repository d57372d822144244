#pragma once

#include <string>

// The scripts with which shells complete the command lines of quillmor-cli, made from the table of
// commands: commands, the options of the command that was typed, choices and names of files.

namespace quillmor::cli {

/// For bash 4.4 or newer; it needs no other script.
std::string bashCompletion();

/// For zsh's completion system, as a function that is loaded on first use.
std::string zshCompletion();

/// For fish 3 or newer.
std::string fishCompletion();

}  // namespace quillmor::cli
