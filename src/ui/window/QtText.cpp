#include "ui/window/QtText.h"

namespace quillmor {

QString toQString(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace quillmor
