#include "tools/export/ASCIIStringsExporter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

#include "base/Check.h"
#include "tools/text/OffsetText.h"
#include "tools/text/PrintableRuns.h"

namespace quillmor::ASCIIStringsExporter {

namespace {

constexpr std::string_view kHeader = "Offset      Length  String\n";
constexpr std::string_view kTruncationNote =
    "\nOutput truncated to fit the viewer limit. Export ASCII Strings to write the complete "
    "report.\n";
constexpr std::string_view kDisplayedStrings = "Displayed strings: ";
constexpr std::string_view kTotalStrings = "Total strings found: ";

/// The most digits of a number that is 0 or more.
constexpr std::size_t kMaxDigits = 19;

/// The most characters of the closing lines, for any numbers in them.
constexpr std::int64_t kClosingRoom =
    kTruncationNote.size() + kDisplayedStrings.size() + kTotalStrings.size() + 2 * (kMaxDigits + 1);

/// The most characters that stand before a string in its line.
constexpr std::size_t kMaxPrefixLength = kMaxOffsetLength + 2 + kMaxDigits + 2;

/// Strings of up to so many characters are copied with their lines, longer ones in pieces.
constexpr std::size_t kShortStringLength = 4096;

/// How much of a long string is handed on between two looks at the stop request.
constexpr std::size_t kStringPieceSize = BufferedText::kCapacity;

std::string noStrings(std::int64_t minimumLength) {
  return "No printable ASCII strings with minimum length " + std::to_string(minimumLength) +
         " were found.\n";
}

/// Writes offset and length of a string; returns the end of the text.
char* writePrefix(char* to, std::int64_t offset, std::size_t length) {
  to = writeText(writeOffset(to, offset), "  ");
  to = std::to_chars(to, to + kMaxDigits, length).ptr;
  return writeText(to, "  ");
}

void appendLine(BufferedText& text, std::int64_t offset, std::string_view string,
                const TaskProgress& progress) {
  if (string.size() <= kShortStringLength) {
    char* to = text.room(kMaxPrefixLength + string.size() + 1);
    to = writePrefix(to, offset, string.size());
    text.advance(writeText(writeText(to, string), "\n"));
    return;
  }
  text.advance(writePrefix(text.room(kMaxPrefixLength), offset, string.size()));
  for (; !string.empty(); string.remove_prefix(std::min(kStringPieceSize, string.size()))) {
    progress.checkpoint();
    text.append(string.substr(0, kStringPieceSize));
  }
  text.append("\n");
}

/// Calls `onString(offset, string)` for every string, as `forEachPrintableRun` does.
template <typename OnString>
void forEachString(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
                   TaskProgress& progress, OnString onString) {
  checkPrecondition(minimumLength >= 1, "a minimum length of 1 or more");
  const auto* const characters = reinterpret_cast<const char*>(bytes.data());
  forEachPrintableRun(bytes, minimumLength, progress, [&](std::int64_t begin, std::int64_t end) {
    onString(begin, std::string_view(characters + begin, static_cast<std::size_t>(end - begin)));
  });
}

}  // namespace

std::string extract(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
                    std::int64_t maxReportCharacters, std::int64_t maxEntries,
                    TaskProgress& progress) {
  const std::int64_t textLimit = maxReportCharacters - kClosingRoom;
  std::string report(kHeader);
  std::array<char, kMaxPrefixLength> prefix{};
  std::int64_t shown = 0;
  std::int64_t total = 0;
  bool isComplete = true;
  forEachString(bytes, minimumLength, progress, [&](std::int64_t offset, std::string_view string) {
    ++total;
    if (!isComplete) return;
    const std::size_t prefixLength =
        static_cast<std::size_t>(writePrefix(prefix.data(), offset, string.size()) - prefix.data());
    const std::size_t length = report.size() + prefixLength + string.size() + 1;
    isComplete = shown < maxEntries && static_cast<std::int64_t>(length) <= textLimit;
    if (!isComplete) return;
    report.append(prefix.data(), prefixLength).append(string).append("\n");
    ++shown;
  });
  if (total == 0) return noStrings(minimumLength);
  if (isComplete) return report;
  report.append(kTruncationNote);
  report.append(kDisplayedStrings).append(std::to_string(shown)).append("\n");
  report.append(kTotalStrings).append(std::to_string(total)).append("\n");
  return report;
}

void produce(std::span<const std::uint8_t> bytes, std::int64_t minimumLength, const TextSink& sink,
             TaskProgress& progress) {
  BufferedText text(sink);
  bool isFirst = true;
  forEachString(bytes, minimumLength, progress, [&](std::int64_t offset, std::string_view string) {
    if (isFirst) text.append(kHeader);
    isFirst = false;
    appendLine(text, offset, string, progress);
  });
  if (isFirst) text.append(noStrings(minimumLength));
  text.flush();
}

void write(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
           const ExportTarget& target, TaskProgress& progress) {
  writeTextFile(target, progress,
                [&](const TextSink& sink) { produce(bytes, minimumLength, sink, progress); });
}

}  // namespace quillmor::ASCIIStringsExporter
