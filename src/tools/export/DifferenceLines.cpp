#include "tools/export/DifferenceLines.h"

#include <bit>
#include <cstddef>

#include "tools/analysis/ByteDifferences.h"
#include "tools/text/OffsetText.h"

namespace quillmor {

namespace {

/// The most characters of a line, with its line feed.
constexpr std::size_t kMaxLineLength = kMaxOffsetLength + 2 + 5 + 5 + 5 + 1;

/// How many lines there are between two looks at the stop request.
constexpr std::size_t kLinesPerPiece = 16'384;

/// A side's column.
struct Value {
  std::uint8_t byte;

  char* write(char* to) const { return writeHexByte(writeText(to, "0x"), byte); }
};

struct EndOfFile {
  static char* write(char* to) { return writeText(to, "<EOF>"); }
};

template <typename Current, typename Compared>
char* writeLine(char* to, std::int64_t offset, Current current, Compared compared) {
  to = current.write(writeText(writeOffset(to, offset), "  "));
  to = compared.write(writeText(to, "     "));
  return writeText(to, "\n");
}

/// A line made by `writeByteLine(to, offset, byte)` for each of the bytes.
template <typename WriteByteLine>
void appendTail(BufferedText& text, const TaskProgress& progress,
                std::span<const std::uint8_t> bytes, std::int64_t offset,
                WriteByteLine writeByteLine) {
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i % kLinesPerPiece == 0) progress.checkpoint();
    char* const to = text.room(kMaxLineLength);
    text.advance(writeByteLine(to, offset + static_cast<std::int64_t>(i), Value{bytes[i]}));
  }
}

}  // namespace

void DifferenceLines::appendDiffering(std::span<const std::uint8_t> current,
                                      std::span<const std::uint8_t> compared, std::int64_t offset) {
  forEachDifference(current.data(), compared.data(), current.size(), progress_,
                    [&](std::size_t place, std::uint64_t mask) {
                      char* to = text_.room(kBytesPerMask * kMaxLineLength);
                      forEachBit(mask, [&](int bit) {
                        const std::size_t i = place + static_cast<std::size_t>(bit);
                        to = writeLine(to, offset + static_cast<std::int64_t>(i), Value{current[i]},
                                       Value{compared[i]});
                      });
                      text_.advance(to);
                      count_ += std::popcount(mask);
                    });
}

void DifferenceLines::appendOnlyCurrent(std::span<const std::uint8_t> current,
                                        std::int64_t offset) {
  appendTail(text_, progress_, current, offset, [](char* to, std::int64_t at, Value value) {
    return writeLine(to, at, value, EndOfFile{});
  });
  count_ += std::ssize(current);
}

void DifferenceLines::appendOnlyCompared(std::span<const std::uint8_t> compared,
                                         std::int64_t offset) {
  appendTail(text_, progress_, compared, offset, [](char* to, std::int64_t at, Value value) {
    return writeLine(to, at, EndOfFile{}, value);
  });
  count_ += std::ssize(compared);
}

}  // namespace quillmor
