#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "search/scan/Matcher.h"

/// Finding bytes (the needle) in bytes (the haystack) once; a `Matcher` finds the same needle many
/// times. Pure functions, safe from any thread. Neither needle nor haystack is copied, and the time
/// is in proportion to the haystack's length whatever the bytes are. What is never found, and what
/// may be thrown, is told at `Matcher`.
namespace quillmor::ByteSearch {

/// Returns, forward, the smallest match position that is at least `start`; backward, the greatest
/// that is at most `start`, where a negative one begins at 0. With `caseInsensitiveASCII` a byte in
/// A...Z equals its lower-case form, in needle and haystack.
std::optional<std::int64_t> index(std::span<const std::uint8_t> needle,
                                  std::span<const std::uint8_t> haystack, std::int64_t start,
                                  bool backwards, bool caseInsensitiveASCII);

/// The smallest match position in `from`...`through` that `accepting` returns true for. Every match
/// is offered, overlapping ones too, in increasing order until one is accepted; what `accepting`
/// and `check` throw is passed on.
std::optional<std::int64_t> firstAcceptedIndex(std::span<const std::uint8_t> anchor,
                                               std::span<const std::uint8_t> haystack,
                                               std::int64_t from, std::int64_t through,
                                               const Matcher::Predicate& accepting,
                                               StopCheck check = {});

}  // namespace quillmor::ByteSearch
