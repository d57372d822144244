#pragma once

#include <span>
#include <string>
#include <string_view>

// What the scripts for the shells are written with.

namespace quillmor::cli {

/// The words with `separator` between them.
std::string joinedWords(std::span<const std::string_view> words, std::string_view separator);

/// The text with a backslash in front of each of these characters in it.
std::string withBackslashes(std::string_view text, std::string_view characters);

/// One word of bash or zsh that stands for the text as it is.
std::string singleQuoted(std::string_view text);

}  // namespace quillmor::cli
