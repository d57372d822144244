#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "search/scan/PositionPredicate.h"
#include "search/scan/SearchLimits.h"

/// Finding bytes (the needle) in bytes (the haystack). Pure functions, safe from any thread. They
/// copy neither of both, and their time is in proportion to the haystack's length whatever the
/// bytes are. A match position is the index of the match's first byte. An empty needle, and one
/// that is longer than the haystack or than 4,294,967,295 bytes, is never found. For hostile data
/// four bytes for each byte of the needle are needed, so each may throw std::bad_alloc.
namespace quillmor::ByteSearch {

/// Forward the smallest match position that is at least `start`, backward the greatest that is at
/// most `start`, where a negative one begins at 0. With `caseInsensitiveASCII` a byte in A...Z
/// equals its lower-case form, in needle and haystack.
std::optional<std::int64_t> index(std::span<const std::uint8_t> needle,
                                  std::span<const std::uint8_t> haystack, std::int64_t start,
                                  bool backwards, bool caseInsensitiveASCII);

/// The smallest match position in `from`...`through` that `accepting` says yes to. Every match is
/// offered, overlapping ones too, in increasing order until one is accepted; what `accepting`
/// throws is passed on.
std::optional<std::int64_t> firstAcceptedIndex(std::span<const std::uint8_t> anchor,
                                               std::span<const std::uint8_t> haystack,
                                               std::int64_t from, std::int64_t through,
                                               PositionPredicate accepting);

/// What the functions above are made of, for tests and benchmarks that need other limits.
namespace detail {

std::optional<std::int64_t> index(std::span<const std::uint8_t> needle,
                                  std::span<const std::uint8_t> haystack, std::int64_t start,
                                  bool backwards, bool caseInsensitiveASCII,
                                  const SearchLimits& limits);

/// `index` by the linear search alone. The needle is not empty.
std::optional<std::int64_t> linearIndex(std::span<const std::uint8_t> needle,
                                        std::span<const std::uint8_t> haystack, std::int64_t start,
                                        bool backwards, bool caseInsensitiveASCII,
                                        SearchLimits limits = {});

std::optional<std::int64_t> firstAcceptedIndex(std::span<const std::uint8_t> anchor,
                                               std::span<const std::uint8_t> haystack,
                                               std::int64_t from, std::int64_t through,
                                               PositionPredicate accepting,
                                               const SearchLimits& limits);

}  // namespace detail

}  // namespace quillmor::ByteSearch
