#pragma once

#include <cstdint>
#include <optional>
#include <span>

/// JSON from files that nobody vouches for. Any thread.
namespace quillmor::BoundedJSON {

/// How many arrays and objects may stand in one another.
inline constexpr int kMaximumDepth = 64;

/// Whether a parser may be given `file`: no value in it lies deeper than `kMaximumDepth`, and no
/// byte is NUL, which valid JSON never holds and which parsers take for the end of the text.
bool mayBeParsed(std::span<const std::uint8_t> file);

/// The value `file` holds: UTF-8, with or without a byte order mark. Absent when it is not valid
/// JSON, or nested deeper than the limit, or has a number beyond the range of a double. Of equal
/// keys the last one counts. `Json` is the library's type, which no header includes.
template <class Json>
std::optional<Json> parsed(std::span<const std::uint8_t> file) {
  if (!mayBeParsed(file)) return std::nullopt;
  constexpr bool kThrows = false;
  Json value = Json::parse(file.begin(), file.end(), nullptr, kThrows);
  if (value.is_discarded()) return std::nullopt;
  return value;
}

}  // namespace quillmor::BoundedJSON
