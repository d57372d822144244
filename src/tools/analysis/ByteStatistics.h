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

/// Counts in one pass. Any thread. Where `progress` is given its total becomes the number of bytes;
/// throws `Error::stopped()` when it says so.
ByteCounts byteCounts(std::span<const std::uint8_t> bytes, TaskProgress* progress = nullptr);

/// Shannon's entropy of bytes counted so, in bits per byte (0...8); 0 for no bytes, never -0.
double entropyValue(const ByteCounts& counts);
double entropyValue(std::span<const std::uint8_t> bytes);

/// What bytes are of their document.
enum class StatisticsScope { document, selection };

/// Nine lines about the distribution of byte values, or the sentence that there are none. Progress
/// as for `byteCounts`.
std::string selectionStatisticsReport(std::span<const std::uint8_t> bytes, StatisticsScope scope,
                                      TaskProgress& progress);

/// What the file information report says besides what it finds in the bytes.
struct FileInformation {
  std::optional<std::string> name = {};  ///< absent for a document without a file
  std::string path = {};
  std::int64_t caretOffset = 0;
  std::int64_t bytesPerRow = 16;
  bool insertMode = false;
  HexSelection selection = {};  ///< normalised
};

/// The report on a document with all `bytes`. Progress as for `byteCounts`.
std::string fileInformationReport(std::span<const std::uint8_t> bytes,
                                  const FileInformation& information, TaskProgress& progress);

/// The 258 lines of the byte frequency report about bytes counted so.
std::string frequencyReport(const ByteCounts& counts);

/// The entropy of each chunk of a document, in order.
struct EntropyMap {
  static constexpr std::int64_t kChunkByteCount = 4096;
  static constexpr std::int64_t kMaximumChunkCount = 10'000;

  std::int64_t byteCount = 0;     ///< of the whole document
  std::vector<double> entropies;  ///< bits per byte; at most `kMaximumChunkCount`

  bool isTruncated() const { return byteCount > kChunkByteCount * kMaximumChunkCount; }
};

/// Any thread; two of them share the work. The total of `progress` becomes the number of bytes that
/// are looked at; throws `Error::stopped()` when it says so.
EntropyMap entropyMap(std::span<const std::uint8_t> bytes, TaskProgress& progress);

/// The map as text, one line a chunk.
std::string entropyMapReport(const EntropyMap& map);

}  // namespace quillmor
