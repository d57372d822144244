#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "document/HexStorage.h"
#include "editor/HexEditorGeometry.h"

namespace quillmor {

/// Some rows of a document as one text, for assistive technology: a line per row, its offset, the
/// bytes as "HH" with a space between, the printable characters, with two spaces between the
/// columns. All characters are ASCII, so an index is the same in UTF-8 and UTF-16.
class HexRowsText {
 public:
  HexRowsText(const HexStorage& storage, HexDocumentShape shape, RowRange rows);

  /// How the offset of a row's first byte is shown: eight hexadecimal digits, or more when needed.
  static std::string offsetText(std::int64_t rowStart);

  const std::string& text() const { return text_; }
  std::int64_t length() const { return static_cast<std::int64_t>(text_.size()); }

  /// The index of the character that a caret at `place` stands before; none when its row is not
  /// part of the text.
  std::optional<std::int64_t> indexOf(CaretPlace place) const;

  /// The caret's place nearest to the character at `index` (clamped to the text).
  CaretPlace placeAt(std::int64_t index) const;

  /// The cell of the character at `index` (clamped to the text) in document coordinates.
  Rect characterRect(std::int64_t index, const HexEditorGeometry& geometry) const;

  /// The index of the character under `point` (document coordinates); none outside of the rows.
  std::optional<std::int64_t> indexAt(Point point, const HexEditorGeometry& geometry) const;

  /// The hex digits of the bytes of `selection` (normalised) in these rows, as indexes `first`
  /// up to but not including `last`; none when no such byte is part of the text.
  struct IndexRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    bool operator==(const IndexRange&) const = default;
  };
  std::optional<IndexRange> indexesOf(HexSelection selection) const;

  /// The bytes of which `range` holds a digit or the character; with both columns in part, all from
  /// the first to the last. No bytes when it holds offsets and gaps only.
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
