#include "tools/edits/InspectorEdit.h"

#include <bitset>
#include <cstddef>

#include "base/Unicode.h"
#include "search/typed/HexParser.h"
#include "search/typed/NumberBytes.h"

namespace quillmor {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int kBitCount = 8;

/// How the integer types are stored, by index; the character type comes after them.
struct IntegerType {
  int width;
  Endianness endianness;
};

constexpr std::array<IntegerType, 5> kIntegerTypes = {{{1, Endianness::little},
                                                       {2, Endianness::little},
                                                       {2, Endianness::big},
                                                       {4, Endianness::little},
                                                       {4, Endianness::big}}};
constexpr std::size_t kCharacterIndex = kIntegerTypes.size();
static_assert(kCharacterIndex + 1 == inspectorEditTypeTitles.size());

std::optional<Bytes> bytesOfInteger(const IntegerType& type, std::string_view text) {
  const auto value = HexParser::parseOffset(text);
  if (!value) return std::nullopt;
  return integerBytes(*value, type.width, /*isSigned=*/false, type.endianness);
}

std::optional<Bytes> bytesOfCharacter(std::string_view text) {
  if (text.size() != 1 || !Unicode::isASCII(text)) return std::nullopt;
  return Bytes{static_cast<std::uint8_t>(text.front())};
}

}  // namespace

std::optional<Bytes> bytesForInspectorEdit(int typeIndex, std::string_view value) {
  if (typeIndex < 0) return std::nullopt;
  const auto index = static_cast<std::size_t>(typeIndex);
  if (index < kIntegerTypes.size()) return bytesOfInteger(kIntegerTypes[index], value);
  if (index == kCharacterIndex) return bytesOfCharacter(value);
  return std::nullopt;
}

std::string bitsOfByte(std::uint8_t byte) {
  return std::bitset<kBitCount>(byte).to_string();
}

std::string_view messageFor(BitTextRefusal refusal) {
  return refusal == BitTextRefusal::tooLarge ? "Input is too large."
                                             : "Invalid bit string. Enter exactly 8 bits.";
}

std::variant<std::uint8_t, BitTextRefusal> byteForBits(std::string_view text) {
  const std::string_view bits = Unicode::trimmedOfWhiteSpace(text);
  if (Unicode::hasMoreScalarsThan(bits, kBitCount)) return BitTextRefusal::tooLarge;
  if (bits.size() != kBitCount) return BitTextRefusal::invalid;
  std::uint8_t byte = 0;
  for (const char bit : bits) {
    if (bit != '0' && bit != '1') return BitTextRefusal::invalid;
    byte = static_cast<std::uint8_t>(byte << 1 | (bit - '0'));
  }
  return byte;
}

}  // namespace quillmor
