#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "document/HexSelection.h"
#include "tools/export/TextExport.h"

/// Hex dumps: 16 bytes a line as offset, hexadecimal digits and ASCII. Safe from any thread.
namespace quillmor::HexDumpExporter {

/// One line of the dump with its line feed: up to 16 `bytes`, the first of which has the offset
/// `logicalOffset` (0 or more) in the document.
std::string line(std::span<const std::uint8_t> bytes, std::int64_t logicalOffset);

/// Hands the dump of `range`, which lies within `bytes`, to `sink`; offsets are those of the
/// document. Nothing is handed on for no bytes. The total of `progress` becomes the number of bytes
/// of the range; throws `Error::stopped()` when it says so.
void produce(std::span<const std::uint8_t> bytes, HexSelection range, const TextSink& sink,
             TaskProgress& progress);

/// Writes the dump of all bytes to a file, see `writeTextFile`.
void write(std::span<const std::uint8_t> bytes, const ExportTarget& target, TaskProgress& progress);

/// The same for the bytes of `range`, which lies within `bytes`.
void write(std::span<const std::uint8_t> bytes, HexSelection range, const ExportTarget& target,
           TaskProgress& progress);

}  // namespace quillmor::HexDumpExporter
