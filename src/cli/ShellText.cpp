#include "cli/ShellText.h"

namespace quillmor::cli {

std::string joinedWords(std::span<const std::string_view> words, std::string_view separator) {
  std::string text;
  for (const std::string_view word : words) {
    if (!text.empty()) text += separator;
    text += word;
  }
  return text;
}

std::string withBackslashes(std::string_view text, std::string_view characters) {
  std::string written;
  for (const char character : text) {
    if (characters.find(character) != std::string_view::npos) written += '\\';
    written += character;
  }
  return written;
}

std::string singleQuoted(std::string_view text) {
  std::string written = "'";
  for (const char character : text) {
    if (character == '\'') {
      written += "'\\''";
    } else {
      written += character;
    }
  }
  return written + "'";
}

}  // namespace quillmor::cli
