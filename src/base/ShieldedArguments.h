#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmor {

// CLI11 reads some values as lists or as nothing ("[a,b]", "{}", "%%", ""). A byte in front that no
// program argument can contain keeps it from interpreting names and texts.

/// Returns the arguments as `CLI::App::parse` takes them, last one first. Values are shielded;
/// options and "--" are not. Of "--option=VALUE" only the value is shielded. Everything after "--"
/// is a value.
std::vector<std::string> shieldedArguments(const std::vector<std::string>& arguments);

/// Returns a value, or a message with values in it, without the shields.
std::string unshielded(std::string text);

}  // namespace quillmor
