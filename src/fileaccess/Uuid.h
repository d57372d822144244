#pragma once

#include <string>

namespace quillmor {

/// A new random UUID (version 4) in its standard text form, 36 uppercase characters. A POSIX error
/// when the system has no random numbers to give.
std::string makeUuid();

}  // namespace quillmor
