// Tries HexParser::parseHexBytes on any text with any small limits. The last two bytes of the input
// choose the limits. Invariants:
//  - the result is that of the reference parser;
//  - a result is never empty and never longer than the limit;
//  - a limit rejects and never cuts: a result is the same as without limits, and a text that is
//    accepted without limits is accepted exactly when both hold;
//  - limits below what they can mean (0 bytes, -1 characters) accept nothing;
//  - the bytes, written as pairs, parse to themselves.

#include "base/Check.h"
#include "base/HexText.h"
#include "fuzz/FuzzInput.h"
#include "fuzz/FuzzTargets.h"
#include "fuzz/ReferenceParsers.h"
#include "search/typed/HexParser.h"

namespace quillmor::fuzz {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Limit = std::optional<std::int64_t>;

/// None, or -1...126.
Limit takeLimit(FuzzInput& input) {
  const std::uint8_t byte = input.takeByte();
  if (byte >= 0x80) return std::nullopt;
  return std::int64_t{byte} - 1;
}

void checkLimits(std::string_view text, const std::optional<Bytes>& unlimited, Limit maxOutput,
                 Limit maxInput) {
  const auto limited = HexParser::parseHexBytes(text, maxOutput, maxInput);
  checkPrecondition(limited == reference::hexBytes(text, maxOutput, maxInput),
                    "Limited bytes are those of the reference");
  const auto characters = static_cast<std::int64_t>(reference::scalarsOf(text).size());
  const bool fits = unlimited && (!maxInput || characters <= *maxInput) &&
                    (!maxOutput || static_cast<std::int64_t>(unlimited->size()) <= *maxOutput);
  checkPrecondition(limited.has_value() == fits, "Limits accept exactly what they hold");
  checkPrecondition(!limited || limited == unlimited, "Limits never cut");
}

void checkRoundTrip(const Bytes& bytes) {
  std::string pairs;
  for (const std::uint8_t byte : bytes) pairs += uppercaseHexByteStrings[byte];
  checkPrecondition(HexParser::parseHexBytes(pairs) == bytes, "Pairs of digits are their bytes");
}

}  // namespace

void fuzzHexParser(std::span<const std::uint8_t> bytes) {
  FuzzInput input(bytes);
  const Limit maxOutput = takeLimit(input);
  const Limit maxInput = takeLimit(input);
  const auto parsed = HexParser::parseHexBytes(input.text());
  checkPrecondition(parsed == reference::hexBytes(input.text(), {}, {}),
                    "Bytes are those of the reference");
  checkPrecondition(!parsed || !parsed->empty(), "A result is never empty");
  checkLimits(input.text(), parsed, maxOutput, maxInput);
  if (parsed) checkRoundTrip(*parsed);
}

}  // namespace quillmor::fuzz
