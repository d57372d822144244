// Tries HexParser::parseOffset on any text. Invariants:
//  - the result is that of the reference parser;
//  - white space around the text changes nothing;
//  - the value, written in decimal, in hexadecimal behind "0x" and before "h", parses to itself.

#include <string>

#include "base/Check.h"
#include "base/HexText.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTargets.h"
#include "fuzz/ReferenceParsers.h"
#include "search/typed/HexParser.h"

namespace quillmor::fuzz {

void fuzzOffsetParser(std::span<const std::uint8_t> bytes) {
  const std::string_view text = FuzzInput(bytes).text();
  const auto value = HexParser::parseOffset(text);
  checkPrecondition(value == reference::offset(text), "The offset is that of the reference");
  const std::string surrounded = " \u00A0" + std::string(text) + "\u3000\n";
  checkPrecondition(HexParser::parseOffset(surrounded) == value, "White space changes nothing");
  if (!value) return;
  checkPrecondition(HexParser::parseOffset(std::to_string(*value)) == value,
                    "Decimal digits are the value");
  if (*value < 0) return;
  const std::string digits = uppercaseHex(*value, 1);
  checkPrecondition(HexParser::parseOffset("0x" + digits) == value, "0xHEX is the value");
  checkPrecondition(HexParser::parseOffset(digits + "h") == value, "HEXh is the value");
}

}  // namespace quillmor::fuzz
