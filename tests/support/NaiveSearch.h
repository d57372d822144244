#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

/// Searches as slow and as obvious as they can be, for comparison with those that are neither.
namespace quillmor::naive {

using Bytes = std::span<const std::uint8_t>;

/// Whether `needle` is found at `position`, which need not lie in the haystack.
bool matchesAt(Bytes needle, Bytes haystack, std::int64_t position, bool folds);

std::optional<std::int64_t> index(Bytes needle, Bytes haystack, std::int64_t start, bool backwards,
                                  bool folds);

std::optional<std::int64_t> first(Bytes needle, Bytes haystack, std::int64_t from,
                                  std::int64_t through, bool folds);

std::optional<std::int64_t> last(Bytes needle, Bytes haystack, std::int64_t from,
                                 std::int64_t through, bool folds);

/// All match positions in `from`...`through`, overlapping ones too.
std::vector<std::int64_t> matches(Bytes needle, Bytes haystack, std::int64_t from,
                                  std::int64_t through);

/// The first match of a pattern with wildcards at or after `from`, else the first of all.
std::optional<std::int64_t> firstWrapped(const std::vector<std::optional<std::uint8_t>>& pattern,
                                         Bytes haystack, std::int64_t from);

}  // namespace quillmor::naive
