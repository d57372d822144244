#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillmor {

/// Characters of a UUID's standard text form.
inline constexpr std::size_t kUuidLength = 36;

/// A new random UUID (version 4) in its standard text form, 36 uppercase characters. A POSIX error
/// when the system has no random numbers to give.
std::string makeUuid();

/// Whether `text` is a UUID as `makeUuid` makes them.
bool isUuid(std::string_view text);

}  // namespace quillmor
