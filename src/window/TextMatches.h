#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace quillmor {

/// The occurrences of one text in another, without overlaps, in order. Places count UTF-16 units,
/// as the toolkit's texts do; a text has fewer than 2^31 of them.
class TextMatches {
 public:
  TextMatches() = default;

  /// Finds `needle` in `text`, unit by unit. An empty needle is found nowhere.
  TextMatches(std::u16string_view text, std::u16string_view needle);

  std::int64_t count() const { return static_cast<std::int64_t>(starts_.size()); }
  std::int64_t length() const { return length_; }
  std::int64_t start(std::int64_t index) const { return starts_[static_cast<std::size_t>(index)]; }

  /// The first match that starts at or after `place`, else the first of all; absent without
  /// matches.
  std::optional<std::int64_t> indexFrom(std::int64_t place) const;

  /// The last match that starts before `place`, else the last of all; absent without matches.
  std::optional<std::int64_t> indexBefore(std::int64_t place) const;

  /// The first match that ends after `place`; `count()` when there is none.
  std::int64_t firstEndingBehind(std::int64_t place) const;

 private:
  std::vector<std::int32_t> starts_;
  std::int64_t length_ = 0;
};

}  // namespace quillmor
