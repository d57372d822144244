#include "tools/edits/ClipboardText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <utility>

#include "base/Check.h"
#include "base/SaturatingMath.h"
#include "kernels/SpacedHexKernel.h"
#include "tools/text/Base64.h"
#include "tools/text/TextPieces.h"

namespace quillmor {

namespace {

constexpr std::string_view kUppercaseDigits = "0123456789ABCDEF";
constexpr std::string_view kLowercaseDigits = "0123456789abcdef";

/// Bytes converted between two looks at the progress; the text of a piece stays in the cache.
constexpr std::size_t kPieceSize = 2048;

/// The longest text of one byte that the tables hold.
constexpr std::size_t kUnitRoom = 8;

/// The text of one byte, with the text that repeats around its digits. A unit is copied whole, and
/// the next one overwrites its excess, so that no copy depends on a length.
struct UnitTable {
  std::array<std::array<char, kUnitRoom>, 256> units{};
  std::array<std::uint8_t, 256> lengths{};

  void set(std::size_t byte, std::string_view unit) {
    unit.copy(units[byte].data(), kUnitRoom);
    lengths[byte] = static_cast<std::uint8_t>(unit.size());
  }
};

using PieceBuffer = std::array<char, (kPieceSize + 1) * kUnitRoom>;

std::string_view digitsOf(const HexBytesFormat& format) {
  return format.lowercase ? kLowercaseDigits : kUppercaseDigits;
}

std::size_t unitLength(const HexBytesFormat& format) {
  return format.prefix.size() + 2 + format.separator.size();
}

/// The exact length of the text of `count` bytes, or the largest 64-bit number when it is beyond
/// all memory.
std::size_t formattedLength(std::size_t count, const HexBytesFormat& format) {
  const auto around = static_cast<std::int64_t>(format.opening.size() + format.closing.size());
  if (count == 0) return static_cast<std::size_t>(around);
  const std::int64_t units = saturatingMultiply(static_cast<std::int64_t>(count),
                                                static_cast<std::int64_t>(unitLength(format)));
  const auto separator = std::ssize(format.separator);
  return static_cast<std::size_t>(saturatingAdd(units, around - separator));
}

void appendUnit(std::string& text, std::uint8_t byte, const HexBytesFormat& format) {
  const std::string_view digits = digitsOf(format);
  text.append(format.prefix);
  text.push_back(digits[byte >> 4]);
  text.push_back(digits[byte & 15]);
}

UnitTable unitsOf(const HexBytesFormat& format) {
  UnitTable table;
  std::string unit;
  for (std::size_t byte = 0; byte < 256; ++byte) {
    unit.clear();
    appendUnit(unit, static_cast<std::uint8_t>(byte), format);
    unit.append(format.separator);
    table.set(byte, unit);
  }
  return table;
}

/// Appends what `writePiece(out, piece)` writes for `bytes`, without the `separatorLength`
/// characters at its end. It returns where it stopped writing, at most `kUnitRoom` per byte on.
template <typename WritePiece>
void appendUnits(std::string& text, std::span<const std::uint8_t> bytes,
                 std::size_t separatorLength, TaskProgress* progress, WritePiece writePiece) {
  PieceBuffer buffer;
  const std::uint8_t* const end = bytes.data() + bytes.size();
  convertInPieces(bytes, kPieceSize, progress, [&](std::span<const std::uint8_t> piece) {
    const char* const last = writePiece(buffer.data(), piece);
    const bool isLastPiece = piece.data() + piece.size() == end;
    const auto length = static_cast<std::size_t>(last - buffer.data());
    text.append(buffer.data(), isLastPiece ? length - separatorLength : length);
  });
}

void appendUnits(std::string& text, std::span<const std::uint8_t> bytes, const UnitTable& table,
                 std::size_t separatorLength, TaskProgress* progress) {
  const auto write = [&table](char* out, std::span<const std::uint8_t> piece) {
    for (const std::uint8_t byte : piece) {
      std::memcpy(out, table.units[byte].data(), kUnitRoom);
      out += table.lengths[byte];
    }
    return out;
  };
  appendUnits(text, bytes, separatorLength, progress, write);
}

/// For a format of digits with one character between them, which every Copy uses.
void appendSpacedPairs(std::string& text, std::span<const std::uint8_t> bytes,
                       const HexBytesFormat& format, TaskProgress* progress) {
  const auto write = [&format](char* out, std::span<const std::uint8_t> piece) {
    return fastestSpacedHexKernel().write(out, piece, digitsOf(format), format.separator.front());
  };
  appendUnits(text, bytes, 1, progress, write);
}

/// The same for units that no table holds.
void appendLongUnits(std::string& text, std::span<const std::uint8_t> bytes,
                     const HexBytesFormat& format, TaskProgress* progress) {
  const std::uint8_t* const end = bytes.data() + bytes.size();
  convertInPieces(bytes, kPieceSize, progress, [&](std::span<const std::uint8_t> piece) {
    for (const std::uint8_t& byte : piece) {
      appendUnit(text, byte, format);
      if (&byte + 1 != end) text.append(format.separator);
    }
  });
}

constexpr std::string_view kJSONSeparator = ", ";

UnitTable decimalUnits() {
  UnitTable table;
  for (std::size_t byte = 0; byte < 256; ++byte) {
    table.set(byte, std::to_string(byte).append(kJSONSeparator));
  }
  return table;
}

}  // namespace

std::string formattedHexBytes(std::span<const std::uint8_t> bytes, const HexBytesFormat& format,
                              TaskProgress* progress) {
  std::string text = textWithRoomFor(formattedLength(bytes.size(), format));
  text.append(format.opening);
  if (format.prefix.empty() && format.separator.size() == 1) {
    appendSpacedPairs(text, bytes, format, progress);
  } else if (unitLength(format) <= kUnitRoom) {
    appendUnits(text, bytes, unitsOf(format), format.separator.size(), progress);
  } else {
    appendLongUnits(text, bytes, format, progress);
  }
  text.append(format.closing);
  return text;
}

std::string formattedJSONBytes(std::span<const std::uint8_t> bytes, TaskProgress* progress) {
  static const UnitTable kUnits = decimalUnits();
  std::string text = textWithRoomFor(std::max<std::size_t>(2, 5 * bytes.size()));
  text.push_back('[');
  appendUnits(text, bytes, kUnits, kJSONSeparator.size(), progress);
  text.push_back(']');
  return text;
}

std::string clipboardText(std::span<const std::uint8_t> bytes, ClipboardTextStyle style,
                          TaskProgress* progress) {
  switch (style) {
    case ClipboardTextStyle::hex:
      return formattedHexBytes(bytes, {.separator = " "}, progress);
    case ClipboardTextStyle::cArray:
      return formattedHexBytes(
          bytes, {.prefix = "0x", .separator = ", ", .opening = "{ ", .closing = " }"}, progress);
    case ClipboardTextStyle::swiftArray:
      return formattedHexBytes(
          bytes, {.prefix = "0x", .separator = ", ", .opening = "[", .closing = "]"}, progress);
    case ClipboardTextStyle::base64:
      return base64Text(bytes, progress);
    case ClipboardTextStyle::pythonBytes:
      return formattedHexBytes(
          bytes, {.prefix = "\\x", .opening = "b\"", .closing = "\"", .lowercase = true}, progress);
    case ClipboardTextStyle::jsonByteArray:
      return formattedJSONBytes(bytes, progress);
  }
  failPrecondition("a known clipboard text style");
}

StandardClipboardPayload standardClipboardPayload(ByteBuffer bytes, TaskProgress* progress) {
  std::string hexString = clipboardText(bytes.span(), ClipboardTextStyle::hex, progress);
  return {std::move(bytes), std::move(hexString)};
}

std::optional<HexSelection> selectedRangeForClipboard(const HexSelection& selection,
                                                      std::int64_t caretOffset,
                                                      std::int64_t byteCount) {
  const HexSelection selected = selection.normalized(byteCount);
  if (selected.length > 0) return selected;
  if (caretOffset < 0 || caretOffset >= byteCount) return std::nullopt;
  return HexSelection{caretOffset, 1};
}

}  // namespace quillmor
