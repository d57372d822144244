#include "tools/checksum/Checksum.h"

#include "base/HexText.h"
#include "tools/analysis/AnalysisText.h"
#include "tools/analysis/ByteStatistics.h"
#include "tools/checksum/BasicSums.h"
#include "tools/checksum/ChecksumPasses.h"

namespace quillmor::Checksum {
namespace {

ByteSource sourceOf(std::span<const std::uint8_t> bytes, HexSelection range) {
  return ByteSource(
      bytes.subspan(static_cast<std::size_t>(range.start), static_cast<std::size_t>(range.length)));
}

ByteSource sourceOf(const StableFile& file, HexSelection range) {
  return {file, range};
}

/// The lines that all reports have in common: checksums, digests and the entropy.
std::string linesAbout(const ByteSource& source, TaskProgress& progress) {
  const AllValues all = allValues(source, progress);
  std::string text;
  text += "CRC32: " + uppercaseHex(all.basic.crc32, 8);
  text += "\nAdler32: " + uppercaseHex(all.basic.adler32, 8);
  text += "\nSUM8: " + uppercaseHex(all.basic.sum8, 2);
  text += "\nSUM16: " + uppercaseHex(all.basic.sum16, 4);
  text += "\nSUM32: " + uppercaseHex(all.basic.sum32, 8);
  text += "\nMD5: " + all.digests.md5;
  text += "\nSHA-1: " + all.digests.sha1;
  text += "\nSHA-256: " + all.digests.sha256;
  text += "\nEntropy: " + bitsPerByteText(entropyValue(all.counts));
  return text;
}

/// `source` is that of `selection` or, where that is empty, of everything.
std::string selectionReport(const ByteSource& source, HexSelection selection,
                            TaskProgress& progress) {
  const std::string title =
      selection.length == 0 ? "Full document" : "Selection " + offsetRangeText(selection);
  return title + "\nSize: " + std::to_string(source.size()) + " bytes\n" +
         linesAbout(source, progress);
}

/// `range` is clipped.
std::string clippedRangeReport(const ByteSource& source, HexSelection range,
                               TaskProgress& progress) {
  const std::string title = range.length == 0 ? "Range: empty at " + offsetText(range.start)
                                              : "Range: " + offsetRangeText(range);
  return title + "\nLength: " + std::to_string(range.length) + " bytes\n" +
         linesAbout(source, progress);
}

}  // namespace

BasicValues basicValues(std::span<const std::uint8_t> bytes) {
  BasicSums sums;
  sums.add(bytes);
  return sums.values();
}

std::string report(std::span<const std::uint8_t> bytes, HexSelection selection,
                   TaskProgress& progress) {
  const std::int64_t byteCount = std::ssize(bytes);
  const HexSelection selected = selection.normalized(byteCount);
  const HexSelection scope = selected.length == 0 ? HexSelection{0, byteCount} : selected;
  return selectionReport(sourceOf(bytes, scope), selected, progress);
}

std::string report(const StableFile& file, HexSelection selection, TaskProgress& progress) {
  const HexSelection selected = selection.normalized(file.size());
  const HexSelection scope = selected.length == 0 ? HexSelection{0, file.size()} : selected;
  return selectionReport(sourceOf(file, scope), selected, progress);
}

std::string rangeReport(std::span<const std::uint8_t> bytes, HexSelection range,
                        TaskProgress& progress) {
  const HexSelection clipped = range.normalized(std::ssize(bytes));
  return clippedRangeReport(sourceOf(bytes, clipped), clipped, progress);
}

std::string rangeReport(const StableFile& file, HexSelection range, TaskProgress& progress) {
  const HexSelection clipped = range.normalized(file.size());
  return clippedRangeReport(sourceOf(file, clipped), clipped, progress);
}

}  // namespace quillmor::Checksum
