#pragma once

#include <string>

#include "document/HexSelection.h"

namespace quillmor {

/// `value` with `fractionDigits` digits, at most 9, after the decimal point, whatever the locale.
/// Its magnitude is below 10^15.
std::string fixedDecimal(double value, int fractionDigits);

/// "7.9542 bits/byte".
std::string bitsPerByteText(double entropy);

/// The first and the last offset of a range that starts at 0 or later, "0x00000010 - 0x0000001F";
/// an empty range ends where it starts.
std::string offsetRangeText(HexSelection range);

}  // namespace quillmor
