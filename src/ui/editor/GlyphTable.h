#pragma once

#include <QFont>
#include <QRawFont>
#include <QString>
#include <array>

namespace quillmor {

/// The glyphs of the printable ASCII characters in one font, looked up once. GUI thread only.
class GlyphTable {
 public:
  static constexpr char kFirst = 0x20;
  static constexpr char kLast = 0x7E;

  explicit GlyphTable(const QFont& font);

  /// Whether the font itself holds every printable ASCII character. When it does not, the toolkit
  /// takes some from other fonts, and text has to be drawn as text.
  bool isComplete() const { return isComplete_; }

  const QFont& font() const { return font_; }
  const QRawFont& rawFont() const { return rawFont_; }

  /// The glyph and the text of `c`, which is in 0x20...0x7E.
  quint32 glyph(char c) const { return glyphs_[indexOf(c)]; }
  const QString& text(char c) const { return texts_[indexOf(c)]; }

 private:
  static constexpr std::size_t kCount = kLast - kFirst + 1;
  static std::size_t indexOf(char c) { return static_cast<std::size_t>(c - kFirst); }

  QFont font_;
  QRawFont rawFont_;
  std::array<quint32, kCount> glyphs_{};
  std::array<QString, kCount> texts_;
  bool isComplete_ = false;
};

}  // namespace quillmor
