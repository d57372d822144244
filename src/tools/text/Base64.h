#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/TaskProgress.h"

namespace quillmor {

/// Returns `bytes` in Base64: the alphabet of RFC 4648, section 4, padded with "=", without line
/// breaks.
///
/// Sets the total of `progress`, if given, to the number of bytes and advances it. Throws
/// `Error::stopped()` within microseconds of a stop request. Pure, any thread.
std::string base64Text(std::span<const std::uint8_t> bytes, TaskProgress* progress = nullptr);

}  // namespace quillmor
