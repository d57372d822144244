#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/HexStorage.h"
#include "editor/HexEditorGeometry.h"

namespace quillmor {

/// Some rows of a document as one text, for assistive technology. A line per row: the offset, the
/// bytes as "HH" with a space between, and the printable characters, with two spaces between
/// columns. All characters are ASCII, so an index is the same in UTF-8 and UTF-16.
class HexRowsText {
 public:
  HexRowsText(const HexStorage& storage, HexDocumentShape shape, RowRange rows);

  /// Returns the offset of a row's first byte as text: eight hexadecimal digits, or more when
  /// needed.
  static std::string offsetText(std::int64_t rowStart);

  const std::string& text() const { return text_; }
  std::int64_t length() const { return static_cast<std::int64_t>(text_.size()); }

  /// Returns the index of the character after a caret at `place`; absent if its row is not in the
  /// text.
  std::optional<std::int64_t> indexOf(CaretPlace place) const;

  /// Returns the caret's place nearest to the character at `index` (clamped to the text).
  CaretPlace placeAt(std::int64_t index) const;

  /// Returns the cell of the character at `index` (clamped to the text) in document coordinates.
  Rect characterRect(std::int64_t index, const HexEditorGeometry& geometry) const;

  /// Returns the index of the character under `point` (document coordinates); absent outside the
  /// rows.
  std::optional<std::int64_t> indexAt(Point point, const HexEditorGeometry& geometry) const;

  /// The indexes `first` up to but not including `last` of the selected bytes' hex digits in these
  /// rows. `selection` is normalised. Absent if no selected byte is in the text.
  struct IndexRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    bool operator==(const IndexRange&) const = default;
  };
  std::optional<IndexRange> indexesOf(HexSelection selection) const;

  /// Returns the bytes with a digit or character in `range`; if it covers parts of both columns,
  /// all bytes from the first to the last. No bytes if it covers offsets and gaps only.
  HexSelection bytesIn(IndexRange range) const;

 private:
  /// Where the columns of one line begin, as indexes into the text.
  struct Line {
    std::int64_t begin = 0;
    std::int64_t hexBegin = 0;
    std::int64_t asciiBegin = 0;
    std::int64_t byteCount = 0;
  };

  void appendLine(const HexStorage& storage, std::int64_t rowStart);
  static IndexRange columnsIn(IndexRange range, std::int64_t begin, std::int64_t stride,
                              std::int64_t width, std::int64_t byteCount);
  std::size_t lineContaining(std::int64_t index) const;

  HexDocumentShape shape_;
  RowRange rows_;
  std::string text_;
  std::vector<Line> lines_;
};

}  // namespace quillmor
