#pragma once

#include <string>
#include <string_view>

namespace quillmor {

/// Returns a name from outside as it is shown in one line of text: characters that would act on the
/// text, instead of being seen, are written out. These are control characters, controls of writing
/// direction, separators of lines and paragraphs, and bytes that are not UTF-8. ASCII characters
/// and such bytes become "\x1B", other characters "\u{202E}". Everything else stays as it is, a
/// backslash too. The result is UTF-8, and making it visible again does not change it.
std::string visibleText(std::string_view text);

}  // namespace quillmor
