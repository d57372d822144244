#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillmor {

/// Characters of a UUID's standard text form.
inline constexpr std::size_t kUUIDLength = 36;

/// Returns a new random UUID (version 4) in its standard text form, 36 uppercase characters. Throws
/// a POSIX error when the system has no random numbers.
std::string makeUUID();

/// Returns a new random number other than 0. Throws a POSIX error when the system has none.
std::uint64_t randomNumber();

/// True if `text` is a UUID as `makeUUID` returns them.
bool isUUID(std::string_view text);

}  // namespace quillmor
