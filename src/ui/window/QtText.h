#pragma once

#include <QString>
#include <string_view>

namespace quillmor {

/// UTF-8 text of the core as the toolkit's text. Bytes that are not UTF-8 become U+FFFD.
QString toQString(std::string_view text);

}  // namespace quillmor
