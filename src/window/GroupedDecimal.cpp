#include "window/GroupedDecimal.h"

namespace quillmor {

std::string groupedDecimal(std::int64_t value) {
  std::string text = std::to_string(value);
  for (std::size_t place = text.size(); place > 3;) {
    place -= 3;
    text.insert(place, ",");
  }
  return text;
}

}  // namespace quillmor
