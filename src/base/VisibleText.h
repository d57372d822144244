#pragma once

#include <string>
#include <string_view>

namespace quillmor {

/// A name from outside, as it is shown in one line of text: what would act on the text instead of
/// being seen is written out. That are the control characters, the controls of writing direction,
/// the separators of lines and paragraphs, and bytes that are not UTF-8. Characters of ASCII and
/// such bytes become "\x1B", other characters "\u{202E}"; everything else stays as it is, a
/// backslash too. The result is UTF-8, and stays what it is when it is made visible again.
std::string visibleText(std::string_view text);

}  // namespace quillmor
