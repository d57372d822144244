#include "tools/DataInspector.h"

#include <cstddef>
#include <string_view>

#include "base/HexText.h"

namespace quillmor::DataInspector {

namespace {

constexpr std::string_view kJoint = "  |  ";

std::uint32_t littleEndian(std::span<const std::uint8_t> bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = bytes.size(); i > 0; --i) value = value << 8 | bytes[i - 1];
  return value;
}

std::uint32_t bigEndian(std::span<const std::uint8_t> bytes) {
  std::uint32_t value = 0;
  for (const std::uint8_t byte : bytes) value = value << 8 | byte;
  return value;
}

/// "U16LE: 0x…  |  U16BE: 0x…" for two bytes, and so on.
std::string unsignedParts(std::span<const std::uint8_t> bytes) {
  const std::string bits = std::to_string(bytes.size() * 8);
  const auto digits = static_cast<int>(bytes.size() * 2);
  std::string text;
  text.append("U").append(bits).append("LE: 0x").append(uppercaseHex(littleEndian(bytes), digits));
  text.append(kJoint);
  text.append("U").append(bits).append("BE: 0x").append(uppercaseHex(bigEndian(bytes), digits));
  return text;
}

}  // namespace

std::string inspectorText(std::span<const std::uint8_t> bytes, std::int64_t offset) {
  if (offset < 0 || static_cast<std::uint64_t>(offset) >= bytes.size()) return "EOF";
  const auto rest = bytes.subspan(static_cast<std::size_t>(offset));
  const std::uint8_t byte = rest.front();
  std::string text = "UInt8: " + std::to_string(byte);
  text.append(kJoint).append("Int8: ");
  text.append(std::to_string(static_cast<std::int8_t>(byte)));
  text.append(kJoint).append("Hex: 0x").append(uppercaseHexByteStrings[byte]);
  for (const std::size_t width : {2U, 4U}) {
    if (rest.size() >= width) text.append(kJoint).append(unsignedParts(rest.first(width)));
  }
  return text;
}

}  // namespace quillmor::DataInspector
