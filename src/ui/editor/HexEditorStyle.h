#pragma once

#include <QColor>
#include <QFont>
#include <QFontDatabase>

/// The hex view's own dark look, independent of the system's appearance.
namespace quillmor::HexEditorStyle {

struct Rgb {
  double red = 0;
  double green = 0;
  double blue = 0;
};

constexpr Rgb white(double level) {
  return {level, level, level};
}

/// `over` laid with opacity `alpha` on `under`.
constexpr Rgb blended(Rgb under, Rgb over, double alpha) {
  return {under.red + (over.red - under.red) * alpha,
          under.green + (over.green - under.green) * alpha,
          under.blue + (over.blue - under.blue) * alpha};
}

inline QColor color(Rgb rgb) {
  return QColor::fromRgbF(static_cast<float>(rgb.red), static_cast<float>(rgb.green),
                          static_cast<float>(rgb.blue));
}

inline constexpr Rgb kByteText = white(0.82);
inline constexpr Rgb kOffsetText = white(0.45);
inline constexpr Rgb kAsciiText{0.74, 0.83, 0.92};
inline constexpr Rgb kHeaderText = white(0.596);

inline constexpr Rgb kBackgroundTop = white(0.055);
inline constexpr Rgb kBackgroundBottom = white(0.025);
inline constexpr Rgb kHeaderBand = white(0.1);
inline constexpr double kHeaderBandAlpha = 0.92;
inline constexpr Rgb kZebraStripe = white(0.075);
inline constexpr double kZebraStripeAlpha = 0.55;
inline constexpr Rgb kSelection{0.247, 0.388, 0.545};
inline constexpr double kSelectionAlpha = 0.65;
inline constexpr Rgb kCaret{1.0, 0.839, 0.039};

/// The background at `fraction` (0...1) of the document's height.
inline Rgb background(double fraction) {
  return blended(kBackgroundTop, kBackgroundBottom, fraction);
}

/// The only font of the view: the system's monospaced font at 12.5 pixels, which the toolkit rounds
/// to whole pixels.
inline QFont font() {
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(qRound(12.5));
  font.setWeight(QFont::Normal);
  font.setItalic(false);
  return font;
}

}  // namespace quillmor::HexEditorStyle
