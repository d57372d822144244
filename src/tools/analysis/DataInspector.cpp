#include "tools/analysis/DataInspector.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>

#include "base/Check.h"
#include "base/HexText.h"

namespace quillmor::DataInspector {

namespace {

constexpr std::string_view kJoint = "  |  ";

/// Numbers from 1e-4 on and below 1e16 are written without an exponent.
constexpr int kLeastPlainExponent = -4;
constexpr int kGreatestPlainExponent = 15;

std::uint64_t littleEndian(std::span<const std::uint8_t> bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = bytes.size(); i > 0; --i) value = value << 8 | bytes[i - 1];
  return value;
}

std::uint64_t bigEndian(std::span<const std::uint8_t> bytes) {
  std::uint64_t value = 0;
  for (const std::uint8_t byte : bytes) value = value << 8 | byte;
  return value;
}

/// The bytes from `offset` on; none when `offset` is no offset of a byte.
std::span<const std::uint8_t> bytesFrom(std::span<const std::uint8_t> bytes, std::int64_t offset) {
  if (offset < 0 || static_cast<std::uint64_t>(offset) >= bytes.size()) return {};
  return bytes.subspan(static_cast<std::size_t>(offset));
}

/// `value` as `digits` hexadecimal digits; the sign of the conversion is none of the text.
std::string hexDigits(std::uint64_t value, int digits) {
  return uppercaseHex(static_cast<std::int64_t>(value), digits);
}

/// "U16LE: 0x…  |  U16BE: 0x…" for two bytes, and so on.
std::string unsignedParts(std::span<const std::uint8_t> bytes) {
  const std::string bits = std::to_string(bytes.size() * 8);
  const auto digits = static_cast<int>(bytes.size() * 2);
  std::string text;
  text.append("U").append(bits).append("LE: 0x").append(hexDigits(littleEndian(bytes), digits));
  text.append(kJoint);
  text.append("U").append(bits).append("BE: 0x").append(hexDigits(bigEndian(bytes), digits));
  return text;
}

/// "UInt16 LE: 0x… / …" for two bytes, and so on.
std::string unsignedLine(std::size_t width, std::string_view order, std::uint64_t value) {
  std::string line = "UInt" + std::to_string(width * 8);
  line.append(" ").append(order).append(": 0x");
  line.append(hexDigits(value, static_cast<int>(width * 2)));
  return line.append(" / ").append(std::to_string(value));
}

/// The plain form of the shortest digits "D.DDD" and the decimal exponent of their first one.
std::string plainText(std::string digits, int exponent) {
  std::erase(digits, '.');
  if (exponent < 0)
    return "0." + std::string(static_cast<std::size_t>(-exponent - 1), '0') + digits;
  const auto pointPlace = static_cast<std::size_t>(exponent) + 1;
  if (digits.size() <= pointPlace) return digits.append(pointPlace - digits.size(), '0') + ".0";
  return digits.insert(pointPlace, 1, '.');
}

template <std::floating_point Float>
std::string shortestText(Float value) {
  if (std::isnan(value)) return "nan";
  if (std::signbit(value)) return "-" + shortestText(-value);
  if (std::isinf(value)) return "inf";
  std::array<char, 64> characters;
  const auto [end, error] = std::to_chars(characters.data(), characters.data() + characters.size(),
                                          value, std::chars_format::scientific);
  checkPrecondition(error == std::errc(), "room for the digits of a floating-point number");
  const std::string text(characters.data(), end);
  const std::size_t mark = text.find('e');
  const int exponent = std::stoi(text.substr(mark + 1));
  const bool isPlain = exponent >= kLeastPlainExponent && exponent <= kGreatestPlainExponent;
  return isPlain ? plainText(text.substr(0, mark), exponent) : text;
}

}  // namespace

std::string floatText(float value) {
  return shortestText(value);
}

std::string floatText(double value) {
  return shortestText(value);
}

std::string inspectorText(std::span<const std::uint8_t> bytes, std::int64_t offset) {
  const auto rest = bytesFrom(bytes, offset);
  if (rest.empty()) return "EOF";
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

std::optional<std::string> detailReport(std::span<const std::uint8_t> bytes, std::int64_t offset) {
  const auto rest = bytesFrom(bytes, offset);
  if (rest.empty()) return std::nullopt;
  const std::uint8_t byte = rest.front();
  std::string report = "Offset: " + offsetText(offset);
  const auto addLine = [&report](const std::string& line) { report.append("\n").append(line); };
  addLine("UInt8: " + std::to_string(byte));
  addLine("Int8: " + std::to_string(static_cast<std::int8_t>(byte)));
  addLine("Hex: " + hexText(byte));
  for (const std::size_t width : {2U, 4U, 8U}) {
    if (rest.size() < width) break;
    addLine(unsignedLine(width, "LE", littleEndian(rest.first(width))));
    addLine(unsignedLine(width, "BE", bigEndian(rest.first(width))));
  }
  if (rest.size() >= 4) {
    const auto bits = static_cast<std::uint32_t>(littleEndian(rest.first(4)));
    addLine("Float32 LE: " + floatText(std::bit_cast<float>(bits)));
  }
  if (rest.size() >= 8) {
    const std::uint64_t bits = littleEndian(rest.first(8));
    addLine("Float64 LE: " + floatText(std::bit_cast<double>(bits)));
  }
  return report;
}

}  // namespace quillmor::DataInspector
