#include "tools/export/HexDumpExporter.h"

#include <algorithm>
#include <limits>

#include "base/ByteUnits.h"
#include "base/HexText.h"
#include "kernels/LineKernels.h"
#include "tools/text/TextPieces.h"

namespace quillmor::HexDumpExporter {

namespace {

constexpr std::size_t kBytesPerLine = LineKernels::kBytesPerLine;
constexpr std::size_t kHexColumns = 3 * kBytesPerLine - 1;
constexpr std::int64_t kLastKernelOffset = std::numeric_limits<std::uint32_t>::max();

/// A whole number of lines whose text fits the buffer.
constexpr std::size_t kPieceSize = 64 * kKiB;
static_assert(kPieceSize / kBytesPerLine * LineKernels::kHexDumpLineLength <=
              BufferedText::kCapacity);

/// How many of the lines from `offset` on, 16 bytes apart, have offsets of eight digits.
std::size_t linesOfEightDigits(std::int64_t offset) {
  if (offset > kLastKernelOffset) return 0;
  return static_cast<std::size_t>(kLastKernelOffset - offset) / kBytesPerLine + 1;
}

void appendLines(BufferedText& text, std::span<const std::uint8_t> bytes, std::int64_t offset) {
  const std::size_t lines = std::min(bytes.size() / kBytesPerLine, linesOfEightDigits(offset));
  char* const out = text.room(lines * LineKernels::kHexDumpLineLength);
  text.advance(
      fastestLineKernels().hexDump(out, bytes.data(), lines, static_cast<std::uint32_t>(offset)));
  // A last line that is short, and lines whose offsets take more digits.
  for (std::size_t at = lines * kBytesPerLine; at < bytes.size(); at += kBytesPerLine) {
    const auto rest = bytes.subspan(at);
    text.append(line(rest.first(std::min(rest.size(), kBytesPerLine)),
                     offset + static_cast<std::int64_t>(at)));
  }
}

HexSelection allOf(std::span<const std::uint8_t> bytes) {
  return {0, std::ssize(bytes)};
}

}  // namespace

std::string line(std::span<const std::uint8_t> bytes, std::int64_t logicalOffset) {
  std::string text = uppercaseHex(logicalOffset, 8);
  text += "  ";
  const std::size_t hexEnd = text.size() + kHexColumns;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i > 0) text += ' ';
    text += uppercaseHexByteStrings[bytes[i]];
  }
  text.append(hexEnd - text.size(), ' ');
  text += "  |";
  for (const std::uint8_t byte : bytes) text += printableASCIIByteStrings[byte];
  text += "|\n";
  return text;
}

void produce(std::span<const std::uint8_t> bytes, HexSelection range, const TextSink& sink,
             TaskProgress& progress) {
  const auto selected =
      bytes.subspan(static_cast<std::size_t>(range.start), static_cast<std::size_t>(range.length));
  BufferedText text(sink);
  std::int64_t offset = range.start;
  convertInPieces(selected, kPieceSize, &progress, [&](std::span<const std::uint8_t> piece) {
    appendLines(text, piece, offset);
    offset += std::ssize(piece);
  });
  text.flush();
}

void write(std::span<const std::uint8_t> bytes, const ExportTarget& target,
           TaskProgress& progress) {
  write(bytes, allOf(bytes), target, progress);
}

void write(std::span<const std::uint8_t> bytes, HexSelection range, const ExportTarget& target,
           TaskProgress& progress) {
  writeTextFile(target, progress,
                [&](const TextSink& sink) { produce(bytes, range, sink, progress); });
}

}  // namespace quillmor::HexDumpExporter
