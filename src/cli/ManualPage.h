#pragma once

#include <string>
#include <string_view>

namespace quillmor::cli {

/// The manual page quillmor-cli(1) in the macros of man(7), made from the table of commands. It
/// depends on the table and the version only, so that equal sources give equal bytes.
std::string manualPage();

/// Returns a text as it is written in a manual page: dashes, backslashes and quotes come out as
/// typed, and no line is taken for a request.
std::string manualText(std::string_view text);

}  // namespace quillmor::cli
