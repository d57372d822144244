#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace quillmor {

/// How text becomes bytes, in the order of the panels' pop-up; `editor` is UTF-8.
enum class SearchTextEncoding { editor, utf8, ascii, utf16LittleEndian, utf16BigEndian };

/// The most bytes that an encoding makes of one Unicode scalar.
inline constexpr std::int64_t kMaxEncodedScalarLength = 4;

/// Returns `text` (UTF-8) in an encoding, without a byte-order mark. Absent when the encoding
/// cannot express it or `text` is not UTF-8. Pure, safe from any thread.
std::optional<std::vector<std::uint8_t>> bytesForText(std::string_view text,
                                                      SearchTextEncoding encoding);

}  // namespace quillmor
