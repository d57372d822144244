#pragma once

#include <cstdint>
#include <string>

namespace quillmor {

/// `value`, not negative, in decimal with a comma before every group of three digits, whatever the
/// locale: "1,234,567".
std::string groupedDecimal(std::int64_t value);

}  // namespace quillmor
