#pragma once

#include <QColor>
#include <QPainter>
#include <QPointF>
#include <string_view>
#include <vector>

#include "ui/editor/GlyphTable.h"

namespace quillmor {

/// Single characters at exact places in one colour, collected over a whole repaint and drawn at
/// once. One glyph run costs a fraction of one text call per cell. GUI thread only.
class CellText {
 public:
  enum class Method {
    glyphRun,  ///< needs a complete `GlyphTable`
    text,      ///< slower, for fonts that lack some characters; looks the same
  };

  /// Discards the collected characters and keeps the memory.
  void clear();

  /// Adds `c` (0x20...0x7E) with its baseline beginning at (`x`, `baseline`).
  void add(char c, double x, double baseline) {
    if (c == ' ') return;
    characters_.push_back(c);
    positions_.emplace_back(x, baseline);
  }

  /// Draws the collected characters.
  void draw(QPainter& painter, const GlyphTable& table, Method method, const QColor& color);

 private:
  void drawAsGlyphRun(QPainter& painter, const GlyphTable& table);

  std::vector<char> characters_;
  std::vector<QPointF> positions_;
  std::vector<quint32> glyphs_;
};

}  // namespace quillmor
