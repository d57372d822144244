#include "tools/export/DifferenceReportExporter.h"

#include <algorithm>
#include <cstddef>

#include "base/ByteUnits.h"
#include "base/VisibleText.h"
#include "fileaccess/StableFile.h"
#include "tools/export/DifferenceLines.h"

namespace quillmor::DifferenceReportExporter {

namespace {

constexpr std::size_t kPieceSize = 64 * kKiB;

std::string header(std::size_t currentSize, std::int64_t comparedSize,
                   const std::string& comparedName) {
  return "Quillmor Difference Report\n"
         "Compared file: " +
         visibleText(comparedName) + "\nCurrent size: " + std::to_string(currentSize) +
         " bytes\nCompared size: " + std::to_string(comparedSize) +
         " bytes\n\n"
         "Offset      Current  Compared\n"
         "-----------------------------\n";
}

std::string footer(std::int64_t differenceCount) {
  std::string text = "\nTotal differences: " + std::to_string(differenceCount);
  if (differenceCount == 0) text.append("\nResult: files are identical.");
  return text;
}

}  // namespace

std::int64_t produce(std::span<const std::uint8_t> current, const FileLocation& comparedFile,
                     const std::string& comparedName, const TextSink& sink,
                     TaskProgress& progress) {
  BufferedText text(sink);
  DifferenceLines lines(text, progress);
  const StableFile compared(comparedFile);
  progress.setTotal(std::max(std::ssize(current), compared.size()));
  text.append(header(current.size(), compared.size(), comparedName));
  std::size_t place = 0;  // where the next chunk begins
  const auto compare = [&](std::span<const std::uint8_t> chunk) {
    const auto beside = current.subspan(std::min(place, current.size()));
    const std::size_t common = std::min(chunk.size(), beside.size());
    const auto offset = static_cast<std::int64_t>(place);
    lines.appendDiffering(beside.first(common), chunk.first(common), offset);
    lines.appendOnlyCompared(chunk.subspan(common), offset + static_cast<std::int64_t>(common));
    place += chunk.size();
  };
  compared.forEachChunk(compare, &progress);
  for (; place < current.size(); place += kPieceSize) {
    const auto piece = current.subspan(place, std::min(kPieceSize, current.size() - place));
    lines.appendOnlyCurrent(piece, static_cast<std::int64_t>(place));
    progress.advance(std::ssize(piece));
  }
  text.append(footer(lines.count()));
  text.flush();
  return lines.count();
}

std::int64_t write(std::span<const std::uint8_t> current, const FileLocation& comparedFile,
                   const std::string& comparedName, const ExportTarget& target,
                   TaskProgress& progress) {
  ExportTarget guarded = target;
  guarded.protectedURLs.push_back(comparedFile);
  std::int64_t differenceCount = 0;
  writeTextFile(guarded, progress, [&](const TextSink& sink) {
    differenceCount = produce(current, comparedFile, comparedName, sink, progress);
  });
  return differenceCount;
}

}  // namespace quillmor::DifferenceReportExporter
