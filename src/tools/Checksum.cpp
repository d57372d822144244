#include "tools/Checksum.h"

#include "base/HexText.h"
#include "tools/AnalysisText.h"
#include "tools/BasicSums.h"
#include "tools/ByteStatistics.h"
#include "tools/ChecksumPasses.h"
#include "tools/Crc32Kernels.h"

namespace quillmor::Checksum {
namespace {

std::span<const std::uint8_t> bytesOf(std::span<const std::uint8_t> bytes, HexSelection range) {
  return bytes.subspan(static_cast<std::size_t>(range.start),
                       static_cast<std::size_t>(range.length));
}

/// The lines that all reports have in common: checksums, digests and the entropy.
std::string linesAbout(std::span<const std::uint8_t> bytes, TaskProgress& progress) {
  const AllValues all = allValues(bytes, progress);
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

}  // namespace

constinit const std::array<std::uint32_t, 256> crc32Table = crc32ByteTable();

constinit const std::array<char, 16> lowercaseHexDigits = {'0', '1', '2', '3', '4', '5', '6', '7',
                                                           '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};

BasicValues basicValues(std::span<const std::uint8_t> bytes) {
  BasicSums sums;
  sums.add(bytes);
  return sums.values();
}

std::string lowercaseHex(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    text += lowercaseHexDigits[byte >> 4];
    text += lowercaseHexDigits[byte & 15];
  }
  return text;
}

std::string report(std::span<const std::uint8_t> bytes, HexSelection selection,
                   TaskProgress& progress) {
  const HexSelection selected = selection.normalized(std::ssize(bytes));
  const bool isWhole = selected.length == 0;
  const auto scope = isWhole ? bytes : bytesOf(bytes, selected);
  const std::string title = isWhole ? "Full document" : "Selection " + offsetRangeText(selected);
  return title + "\nSize: " + std::to_string(scope.size()) + " bytes\n" +
         linesAbout(scope, progress);
}

std::string rangeReport(std::span<const std::uint8_t> bytes, HexSelection range,
                        TaskProgress& progress) {
  const HexSelection clipped = range.normalized(std::ssize(bytes));
  const std::string title = clipped.length == 0
                                ? "Range: empty at 0x" + uppercaseHex(clipped.start, 8)
                                : "Range: " + offsetRangeText(clipped);
  return title + "\nLength: " + std::to_string(clipped.length) + " bytes\n" +
         linesAbout(bytesOf(bytes, clipped), progress);
}

}  // namespace quillmor::Checksum
