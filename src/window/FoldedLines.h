#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillmor {

/// A text with line feeds put into its longest lines: a view lays out a line as a whole, which
/// takes seconds for one of millions of characters. Places count UTF-16 units.
class FoldedLines {
 public:
  FoldedLines() = default;

  /// Breaks the lines of `text` after at most `maximumLength` units, 2 or more, never inside a
  /// surrogate pair.
  FoldedLines(std::u16string_view text, std::int64_t maximumLength);

  /// The text with the line feeds put in.
  std::u16string folded(std::u16string_view text) const;

  /// The place in the folded text of the unit at `place` of the text.
  std::int64_t toFolded(std::int64_t place) const;

  /// The place in the text of the unit at `place` of the folded text. A line feed that was put in
  /// stands for the place after it.
  std::int64_t toOriginal(std::int64_t place) const;

 private:
  std::vector<std::int64_t> breaks_;  ///< a line feed was put before these places of the text
};

}  // namespace quillmor
