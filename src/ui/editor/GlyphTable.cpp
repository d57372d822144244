#include "ui/editor/GlyphTable.h"

namespace quillmor {

GlyphTable::GlyphTable(const QFont& font) : font_(font), rawFont_(QRawFont::fromFont(font)) {
  QString all;
  for (std::size_t i = 0; i < kCount; ++i) {
    texts_[i] = QChar::fromLatin1(static_cast<char>(kFirst + static_cast<int>(i)));
    all += texts_[i];
  }
  isComplete_ = rawFont_.isValid();
  for (const QChar c : all) isComplete_ = isComplete_ && rawFont_.supportsCharacter(c);
  const auto indexes = rawFont_.glyphIndexesForString(all);
  isComplete_ = isComplete_ && indexes.size() == static_cast<qsizetype>(kCount);
  if (isComplete_) std::copy(indexes.begin(), indexes.end(), glyphs_.begin());
}

}  // namespace quillmor
