#include "editor/HexRowsText.h"

#include <algorithm>

#include "base/HexText.h"

namespace quillmor {

namespace {

constexpr std::string_view kColumnGap = "  ";

}  // namespace

HexRowsText::HexRowsText(const HexStorage& storage, HexDocumentShape shape, RowRange rows)
    : shape_(shape), rows_(rows) {
  for (std::int64_t row = rows.first; row <= rows.last; ++row) {
    appendLine(storage, row * shape.bytesPerRow);
  }
}

std::string HexRowsText::offsetText(std::int64_t rowStart) {
  return uppercaseHex(rowStart, 8);
}

void HexRowsText::appendLine(const HexStorage& storage, std::int64_t rowStart) {
  Line line{.begin = length()};
  line.byteCount = std::clamp<std::int64_t>(shape_.byteCount - rowStart, 0, shape_.bytesPerRow);
  const ByteBuffer row = storage.bytes.slice(std::min(rowStart, shape_.byteCount), line.byteCount);
  const auto bytes = row.span();
  text_ += offsetText(rowStart);
  text_ += kColumnGap;
  line.hexBegin = length();
  for (const std::uint8_t byte : bytes) {
    if (length() > line.hexBegin) text_ += ' ';
    text_ += uppercaseHexByteStrings[byte];
  }
  text_ += kColumnGap;
  line.asciiBegin = length();
  for (const std::uint8_t byte : bytes) text_ += printableASCIIByteStrings[byte];
  text_ += '\n';
  lines_.push_back(line);
}

std::optional<std::int64_t> HexRowsText::indexOf(CaretPlace place) const {
  const std::int64_t row = place.offset / shape_.bytesPerRow;
  if (row < rows_.first || row > rows_.last) return std::nullopt;
  const Line& line = lines_[static_cast<std::size_t>(row - rows_.first)];
  const std::int64_t column = std::min(place.offset % shape_.bytesPerRow, line.byteCount);
  if (place.area == EditingArea::ascii) return line.asciiBegin + column;
  return line.hexBegin + column * 3 + (place.highNibble ? 0 : 1);
}

std::size_t HexRowsText::lineContaining(std::int64_t index) const {
  const auto after =
      std::upper_bound(lines_.begin(), lines_.end(), index,
                       [](std::int64_t value, const Line& line) { return value < line.begin; });
  return after == lines_.begin() ? 0 : static_cast<std::size_t>(after - lines_.begin()) - 1;
}

CaretPlace HexRowsText::placeAt(std::int64_t index) const {
  const std::size_t number = lineContaining(index);
  const Line& line = lines_[number];
  const std::int64_t rowStart =
      (rows_.first + static_cast<std::int64_t>(number)) * shape_.bytesPerRow;
  const auto inRow = [&](std::int64_t column) {
    return rowStart + std::clamp<std::int64_t>(column, 0, line.byteCount);
  };
  if (index >= line.asciiBegin) {
    return {.offset = inRow(index - line.asciiBegin), .area = EditingArea::ascii};
  }
  const std::int64_t digit = std::max<std::int64_t>(index - line.hexBegin, 0);
  return {.offset = inRow(digit / 3), .highNibble = digit % 3 != 1 || digit / 3 >= line.byteCount};
}

Rect HexRowsText::characterRect(std::int64_t index, const HexEditorGeometry& geometry) const {
  const std::int64_t clamped = std::clamp<std::int64_t>(index, 0, length() - 1);
  const std::size_t number = lineContaining(clamped);
  const Line& line = lines_[number];
  double x = HexEditorGeometry::kOffsetColumnX;
  std::int64_t characters = clamped - line.begin;
  if (clamped >= line.asciiBegin) {
    x = geometry.asciiStart();
    characters = clamped - line.asciiBegin;
  } else if (clamped >= line.hexBegin) {
    x = geometry.hexStart();
    characters = clamped - line.hexBegin;
  }
  return {x + geometry.charWidth() * static_cast<double>(characters),
          geometry.rowTop(rows_.first + static_cast<std::int64_t>(number)), geometry.charWidth(),
          geometry.rowHeight()};
}

std::optional<std::int64_t> HexRowsText::indexAt(Point point,
                                                 const HexEditorGeometry& geometry) const {
  const std::int64_t row = HexEditorGeometry::toInt(point.y / geometry.rowHeight()) - 1;
  if (row < rows_.first || row > rows_.last) return std::nullopt;
  const Line& line = lines_[static_cast<std::size_t>(row - rows_.first)];
  const auto characters = [&](double start) {
    return std::max<std::int64_t>(
        HexEditorGeometry::toInt((point.x - start) / geometry.charWidth()), 0);
  };
  if (point.x >= geometry.asciiStart()) {
    return line.asciiBegin + std::min(characters(geometry.asciiStart()), line.byteCount);
  }
  if (point.x >= geometry.hexStart()) {
    return std::min(line.hexBegin + characters(geometry.hexStart()), line.asciiBegin - 1);
  }
  return std::min(line.begin + characters(HexEditorGeometry::kOffsetColumnX), line.hexBegin - 1);
}

std::optional<HexRowsText::IndexRange> HexRowsText::indexesOf(HexSelection selection) const {
  const HexSelection normalized = selection.normalized(shape_.byteCount);
  const std::int64_t first = std::max(normalized.start, rows_.first * shape_.bytesPerRow);
  const std::int64_t last =
      std::min(normalized.start + normalized.length, (rows_.last + 1) * shape_.bytesPerRow) - 1;
  if (last < first) return std::nullopt;
  return IndexRange{*indexOf({.offset = first}), *indexOf({.offset = last}) + 2};
}

/// Of `byteCount` cells, `width` characters each and `stride` apart from index `begin`, those that
/// share a character with `range`.
HexRowsText::IndexRange HexRowsText::columnsIn(IndexRange range, std::int64_t begin,
                                               std::int64_t stride, std::int64_t width,
                                               std::int64_t byteCount) {
  const std::int64_t before = std::max<std::int64_t>(range.first - begin + stride - width, 0);
  const std::int64_t upTo = std::max<std::int64_t>(range.last - begin + stride - 1, 0);
  return {std::min(before / stride, byteCount), std::min(upTo / stride, byteCount)};
}

HexSelection HexRowsText::bytesIn(IndexRange range) const {
  std::optional<std::int64_t> first;
  std::int64_t end = 0;
  std::int64_t rowStart = rows_.first * shape_.bytesPerRow;
  for (const Line& line : lines_) {
    for (const IndexRange columns : {columnsIn(range, line.hexBegin, 3, 2, line.byteCount),
                                     columnsIn(range, line.asciiBegin, 1, 1, line.byteCount)}) {
      if (columns.first >= columns.last) continue;
      first = std::min(first.value_or(rowStart + columns.first), rowStart + columns.first);
      end = std::max(end, rowStart + columns.last);
    }
    rowStart += shape_.bytesPerRow;
  }
  return first ? HexSelection{.start = *first, .length = end - *first} : HexSelection{};
}

}  // namespace quillmor
