#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/TaskProgress.h"
#include "document/HexSelection.h"
#include "kernels/ByteTally.h"

namespace quillmor {

/// Counts in one pass. Any thread. Sets the total of `progress`, if given, to the number of bytes.
/// Throws `Error::stopped()` on a stop request.
ByteCounts byteCounts(std::span<const std::uint8_t> bytes, TaskProgress* progress = nullptr);

/// Returns Shannon's entropy of the counted bytes, in bits per byte (0...8); 0 for no bytes, never
/// -0.
double entropyValue(const ByteCounts& counts);
double entropyValue(std::span<const std::uint8_t> bytes);

/// Whether a report covers a whole document or the selection.
enum class StatisticsScope { document, selection };

/// Returns nine lines about the distribution of byte values, or a sentence when there are no bytes.
/// Progress as for `byteCounts`.
std::string selectionStatisticsReport(std::span<const std::uint8_t> bytes, StatisticsScope scope,
                                      TaskProgress& progress);

/// The facts of the file information report that are not in the bytes.
struct FileInformation {
  std::optional<std::string> name = {};  ///< absent for a document without a file
  std::string path = {};
  std::int64_t caretOffset = 0;
  std::int64_t bytesPerRow = 16;
  bool insertMode = false;
  HexSelection selection = {};  ///< normalised
};

/// Returns the report on a document whose bytes are `bytes`. Progress as for `byteCounts`.
std::string fileInformationReport(std::span<const std::uint8_t> bytes,
                                  const FileInformation& information, TaskProgress& progress);

/// Returns the 258 lines of the byte frequency report.
std::string frequencyReport(const ByteCounts& counts);

/// The entropy of each chunk of a document, in order.
struct EntropyMap {
  static constexpr std::int64_t kChunkByteCount = 4096;
  static constexpr std::int64_t kMaximumChunkCount = 10'000;

  std::int64_t byteCount = 0;     ///< of the whole document
  std::vector<double> entropies;  ///< bits per byte; at most `kMaximumChunkCount`

  bool isTruncated() const { return byteCount > kChunkByteCount * kMaximumChunkCount; }
};

/// Any thread; two threads share the work. Sets the total of `progress` to the number of bytes that
/// are examined. Throws `Error::stopped()` on a stop request.
EntropyMap entropyMap(std::span<const std::uint8_t> bytes, TaskProgress& progress);

/// Returns the map as text, one line a chunk.
std::string entropyMapReport(const EntropyMap& map);

}  // namespace quillmor
