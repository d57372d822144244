#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "search/scan/StopCheck.h"

/// The search of Knuth, Morris and Pratt (SIAM Journal on Computing 6, 1977). Its time is in
/// proportion to the haystack whatever the bytes are. Needles are not empty and have at most
/// 4,294,967,295 bytes. `folds` ignores the case of ASCII letters. `check` runs at every
/// `StopCheck::kInterval` bytes, and what it throws is passed on.
namespace quillmor::LinearSearch {

enum class Direction { forward, backward };

/// For each byte of the needle, read in `direction`: how many bytes still match when the next one
/// differs, 0 when none or one that would differ as well. For the last byte: when the whole needle
/// has matched. Four bytes for each byte of the needle.
using FailureTable = std::vector<std::uint32_t>;
FailureTable failureTable(std::span<const std::uint8_t> needle, bool folds, Direction direction,
                          StopCheck check = {});

/// The smallest match position in `from`...`through` that is accepted. Overlapping matches are
/// offered one after another. 0 <= `from` <= `through` <= haystack size - needle length.
std::optional<std::int64_t> first(std::span<const std::uint8_t> needle, const FailureTable& forward,
                                  bool folds, std::span<const std::uint8_t> haystack,
                                  std::int64_t from, std::int64_t through,
                                  const std::function<bool(std::int64_t)>& accepting,
                                  StopCheck check = {});

/// The greatest match position in `from`...`through`.
std::optional<std::int64_t> last(std::span<const std::uint8_t> needle, const FailureTable& backward,
                                 bool folds, std::span<const std::uint8_t> haystack,
                                 std::int64_t from, std::int64_t through, StopCheck check = {});

}  // namespace quillmor::LinearSearch
