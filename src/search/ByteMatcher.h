#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace quillmor {

/// A byte sequence prepared to be found many times. Whatever the data, finding takes time in
/// proportion to the bytes looked at. Copies the needle; methods are for one thread at a time.
///
/// All positions are of a match's first byte. `haystack` is passed with every call, so that the
/// bytes may be searched in pieces: only the positions are limited, a match may reach beyond them.
class ByteMatcher {
 public:
  /// With `caseInsensitiveASCII` a letter A...Z equals its lower-case form, in needle and haystack.
  ByteMatcher(std::span<const std::uint8_t> needle, bool caseInsensitiveASCII);

  std::int64_t needleLength() const { return static_cast<std::int64_t>(needle_.size()); }

  /// The smallest match position in `from`...`through`, of which any part may lie outside of the
  /// haystack; absent when there is none or the needle is empty.
  std::optional<std::int64_t> first(std::span<const std::uint8_t> haystack, std::int64_t from,
                                    std::int64_t through);

  /// The greatest match position in `from`...`through`.
  std::optional<std::int64_t> last(std::span<const std::uint8_t> haystack, std::int64_t from,
                                   std::int64_t through);

 private:
  bool matchesAt(std::span<const std::uint8_t> haystack, std::int64_t position) const;

  std::vector<std::uint8_t> needle_;
  bool folds_ = false;
};

}  // namespace quillmor
