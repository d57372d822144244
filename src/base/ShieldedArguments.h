#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillmor {

// CLI11 reads some values as lists or as nothing ("[a,b]", "{}", "%%", ""). A byte that no argument
// of a program can hold, put in front, keeps it from looking into names and texts.

/// The arguments as `CLI::App::parse` takes them, from the back: values are shielded, options and
/// "--" are not, of "--option=VALUE" only the value is. Everything behind "--" is a value.
std::vector<std::string> shieldedArguments(const std::vector<std::string>& arguments);

/// A value, or a message with values in it, as it was before.
std::string unshielded(std::string text);

}  // namespace quillmor
