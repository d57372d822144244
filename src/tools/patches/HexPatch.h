#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "base/FileLocation.h"
#include "tools/export/TextExport.h"

namespace quillmor {

/// A text patch: bytes that belong at an offset. Any thread.
struct QuillmorPatch {
  std::int64_t offset = 0;  ///< 0 or more
  std::vector<std::uint8_t> data;

  /// Reads a patch file of at most `maxFileBytes` with at most `maxDataBytes` data bytes. Throws
  /// codes 2501 to 2508 in the order of the checks, or as reading a file does. `progress` counts
  /// the bytes read. Reading and parsing check it for a stop every few milliseconds, and throw
  /// `Error::stopped()` then.
  static QuillmorPatch read(const FileLocation& location, std::int64_t maxFileBytes,
                            std::int64_t maxDataBytes, TaskProgress& progress);

  /// The same from the bytes of a file.
  static QuillmorPatch parse(std::span<const std::uint8_t> file, std::int64_t maxDataBytes,
                             const TaskProgress* progress = nullptr);
};

/// Hands the patch file of `bytes` at `offset` to `sink`. Sets the total of `progress` to the
/// number of bytes. Throws `Error::stopped()` on a stop request.
void produceHexPatch(std::span<const std::uint8_t> bytes, std::int64_t offset, const TextSink& sink,
                     TaskProgress& progress);

/// Writes that file, see `writeTextFile`.
void writeHexPatch(std::span<const std::uint8_t> bytes, std::int64_t offset,
                   const ExportTarget& target, TaskProgress& progress);

}  // namespace quillmor
