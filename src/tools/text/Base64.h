#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/TaskProgress.h"

namespace quillmor {

/// `bytes` in Base64: the alphabet of RFC 4648, section 4, padded with "=", without line breaks.
///
/// The total of `progress`, where given, becomes the number of bytes; the bytes converted are added
/// to it, and a requested stop throws `Error::stopped()` within microseconds. Pure, any thread.
std::string base64Text(std::span<const std::uint8_t> bytes, TaskProgress* progress = nullptr);

}  // namespace quillmor
