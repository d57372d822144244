#include <span>

#include "base/HexText.h"
#include "base/VisibleText.h"
#include "kernels/ByteTally.h"
#include "tools/analysis/AnalysisText.h"
#include "tools/analysis/ByteStatistics.h"

namespace quillmor {
namespace {

void add(ByteCounts& counts, const ByteCounts& more) {
  for (std::size_t value = 0; value < counts.size(); ++value) counts[value] += more[value];
}

std::string selectionText(HexSelection selection) {
  if (selection.length == 0) return "none";
  return offsetRangeText(selection) + " (" + std::to_string(selection.length) + " bytes)";
}

}  // namespace

std::string fileInformationReport(std::span<const std::uint8_t> bytes,
                                  const FileInformation& information, TaskProgress& progress) {
  progress.setTotal(std::ssize(bytes));
  // Every byte is counted once: those of the selection, and those on either side of it.
  const HexSelection selection = information.selection.normalized(std::ssize(bytes));
  const auto start = static_cast<std::size_t>(selection.start);
  const auto length = static_cast<std::size_t>(selection.length);
  const ByteCounts selected = countedInPieces(bytes.subspan(start, length), progress);
  ByteCounts all = selected;
  add(all, countedInPieces(bytes.first(start), progress));
  add(all, countedInPieces(bytes.subspan(start + length), progress));

  std::string text = "Name: " + visibleText(information.name.value_or("Untitled"));
  text += "\nPath: " + visibleText(information.path);
  text += "\nSize: " + std::to_string(bytes.size()) + " bytes";
  text += "\nOffset: " + offsetText(information.caretOffset);
  text += "\nBytes per row: " + std::to_string(information.bytesPerRow);
  text += std::string("\nEdit mode: ") + (information.insertMode ? "Insert" : "Overwrite");
  text += "\nSelection: " + selectionText(selection);
  if (length > 0) text += "\nSelection entropy: " + bitsPerByteText(entropyValue(selected));
  text += "\nFile entropy: " + bitsPerByteText(entropyValue(all));
  return text;
}

}  // namespace quillmor
