#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The grammars of typed input once more, slow and obvious, sharing nothing with the real parsers
/// but the decoding of UTF-8. Fuzz targets and tests compare the two.
namespace quillmor::reference {

/// Wide enough for everything that 64 bits hold, with and without sign.
using WideInteger = __int128;

/// The scalars of `text`, U+FFFD for what is not UTF-8.
std::u32string scalarsOf(std::string_view text);

/// See `HexParser::parseHexBytes`.
std::optional<std::vector<std::uint8_t>> hexBytes(std::string_view text,
                                                  std::optional<std::int64_t> maxOutputBytes,
                                                  std::optional<std::int64_t> maxInputCharacters);

/// One entry for each position of a pattern, absent for a wildcard; see
/// `WildcardHexPattern::parse`.
std::optional<std::vector<std::optional<std::uint8_t>>> wildcardBytes(std::string_view text);

/// See `HexParser::parseOffset`.
std::optional<std::int64_t> offset(std::string_view text);

/// The value that `parseSearchInteger` reads, -2^63...2^64 - 1.
std::optional<WideInteger> searchInteger(std::string_view text);

/// See `parseSearchFloat`; NaN where the text is a number beyond the range of the format, too large
/// or too small, which this parser does not tell apart.
std::optional<double> searchFloat(std::string_view text);

}  // namespace quillmor::reference
