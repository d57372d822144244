#include "ui/editor/CellText.h"

#include <QGlyphRun>

namespace quillmor {

void CellText::clear() {
  characters_.clear();
  positions_.clear();
}

void CellText::draw(QPainter& painter, const GlyphTable& table, Method method,
                    const QColor& color) {
  if (characters_.empty()) return;
  painter.setPen(color);
  if (method == Method::glyphRun) return drawAsGlyphRun(painter, table);
  painter.setFont(table.font());
  for (std::size_t i = 0; i < characters_.size(); ++i) {
    painter.drawText(positions_[i], table.text(characters_[i]));
  }
}

void CellText::drawAsGlyphRun(QPainter& painter, const GlyphTable& table) {
  glyphs_.clear();
  for (const char c : characters_) glyphs_.push_back(table.glyph(c));
  QGlyphRun run;
  run.setRawFont(table.rawFont());
  run.setRawData(glyphs_.data(), positions_.data(), static_cast<int>(glyphs_.size()));
  painter.drawGlyphRun({}, run);
}

}  // namespace quillmor
