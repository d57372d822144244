#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "search/scan/PositionPredicate.h"
#include "search/scan/StopCheck.h"

/// The search of Knuth, Morris and Pratt (SIAM Journal on Computing 6, 1977): takes time in
/// proportion to the haystack whatever the bytes are. Needles are not empty and have at most
/// 4,294,967,295 bytes. `folds` compares ASCII letters without their case. `check` is asked at
/// every `StopCheck::kInterval` bytes, and what it throws is passed on.
namespace quillmor::LinearSearch {

enum class Direction { forward, backward };

/// For every byte of the needle, read in `direction`, the length of the longest proper prefix of
/// the bytes so far that is also a suffix of them. Four bytes for each byte of the needle.
using FailureTable = std::vector<std::uint32_t>;
FailureTable failureTable(std::span<const std::uint8_t> needle, bool folds, Direction direction,
                          StopCheck check = {});

/// Leads every entry but the last past the lengths at which the byte that has just failed would
/// only fail again. Searches find the same with the table as with the one before, in fewer steps.
void addShortcuts(FailureTable& table, std::span<const std::uint8_t> needle, bool folds,
                  Direction direction, StopCheck check = {});

/// The smallest match position in `from`...`through` that is accepted; overlapping matches are
/// offered one after another. 0 <= `from`, and `through` <= haystack size - needle length.
std::optional<std::int64_t> first(std::span<const std::uint8_t> needle, const FailureTable& forward,
                                  bool folds, std::span<const std::uint8_t> haystack,
                                  std::int64_t from, std::int64_t through,
                                  PositionPredicate accepting, StopCheck check = {});

/// The greatest match position in `from`...`through`, found downward.
std::optional<std::int64_t> last(std::span<const std::uint8_t> needle, const FailureTable& backward,
                                 bool folds, std::span<const std::uint8_t> haystack,
                                 std::int64_t from, std::int64_t through, StopCheck check = {});

}  // namespace quillmor::LinearSearch
