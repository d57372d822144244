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

  /// Reads a patch file of at most `maxFileBytes` with at most `maxDataBytes` data bytes. Codes
  /// 2501 to 2508 in the order of the checks, or what reading a file fails with. `progress` counts
  /// the bytes read and is asked every few milliseconds whether to stop, while they are parsed too,
  /// which throws `Error::stopped()`.
  static QuillmorPatch read(const FileLocation& location, std::int64_t maxFileBytes,
                            std::int64_t maxDataBytes, TaskProgress& progress);

  /// The same from the bytes of a file.
  static QuillmorPatch parse(std::span<const std::uint8_t> file, std::int64_t maxDataBytes,
                             const TaskProgress* progress = nullptr);
};

/// Hands the patch file of `bytes` at `offset` to `sink`. The total of `progress` becomes the
/// number of bytes; throws `Error::stopped()` when it says so.
void produceHexPatch(std::span<const std::uint8_t> bytes, std::int64_t offset, const TextSink& sink,
                     TaskProgress& progress);

/// Writes that file, see `writeTextFile`.
void writeHexPatch(std::span<const std::uint8_t> bytes, std::int64_t offset,
                   const ExportTarget& target, TaskProgress& progress);

}  // namespace quillmor
