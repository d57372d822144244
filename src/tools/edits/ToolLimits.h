#pragma once

#include <cstdint>
#include <string_view>

#include "base/ByteUnits.h"
#include "base/SaturatingMath.h"

namespace quillmor {

// The safety limits of the tools, wherever they are used. Sizes are bytes.

/// The most bytes that are turned into clipboard text.
inline constexpr std::int64_t maxClipboardTextSourceBytes = 16 * kMiB;
inline constexpr std::int64_t maxBookmarkImportBytes = 8 * kMiB;
inline constexpr std::int64_t maxPatchDataBytes = 16 * kMiB;
inline constexpr std::int64_t maxJSONPresetBytes = 8 * kMiB;

/// The text around the numbers and bytes of a patch file.
inline constexpr std::string_view kPatchTemplate = "QuillmorPatch 1\nOFFSET 0x\nDATA \n";

/// The largest patch file that is read: the template, the longest offset (16 hexadecimal digits)
/// and two digits with a separator for every data byte.
inline constexpr std::int64_t maxPatchImportBytes =
    saturatingAdd(std::ssize(kPatchTemplate) + 16, saturatingMultiply(3, maxPatchDataBytes));

}  // namespace quillmor
