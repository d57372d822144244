#pragma once

#include <cstdint>
#include <span>

#include "base/TaskProgress.h"
#include "tools/export/TextExport.h"

namespace quillmor {

/// Writes a line with offset and both values for every byte that differs, and counts these lines.
/// Used by one thread at a time. The functions throw `Error::stopped()` on a stop request.
class DifferenceLines {
 public:
  /// `text` and `progress` outlive this object.
  DifferenceLines(BufferedText& text, const TaskProgress& progress)
      : text_(text), progress_(progress) {}

  /// Compares equally many bytes of the document and the file, both at `offset`.
  void appendDiffering(std::span<const std::uint8_t> current,
                       std::span<const std::uint8_t> compared, std::int64_t offset);

  /// Bytes from `offset` on that only the document has.
  void appendOnlyCurrent(std::span<const std::uint8_t> current, std::int64_t offset);

  /// Bytes from `offset` on that only the file has.
  void appendOnlyCompared(std::span<const std::uint8_t> compared, std::int64_t offset);

  /// The lines so far.
  std::int64_t count() const { return count_; }

 private:
  BufferedText& text_;
  const TaskProgress& progress_;
  std::int64_t count_ = 0;
};

}  // namespace quillmor
