#pragma once

#include <string_view>

// The parts of the manual page that say the same of all commands, in the macros of man(7).

namespace quillmor::cli {

/// NAME, SYNOPSIS and DESCRIPTION.
extern const std::string_view kManualOpening;

/// EXIT STATUS, FILES AND SAFETY, NOTES and EXAMPLES.
extern const std::string_view kManualClosing;

}  // namespace quillmor::cli
