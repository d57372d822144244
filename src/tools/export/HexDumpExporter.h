#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "document/HexSelection.h"
#include "tools/export/TextExport.h"

/// Hex dumps: 16 bytes a line as offset, hexadecimal digits and ASCII. Safe from any thread.
namespace quillmor::HexDumpExporter {

/// Returns one line of the dump with its line feed: up to 16 `bytes`, from `logicalOffset` (0 or
/// more) in the document on.
std::string line(std::span<const std::uint8_t> bytes, std::int64_t logicalOffset);

/// Hands the dump of `range`, which lies within `bytes`, to `sink`, with offsets in the document.
/// An empty range gives no text. Sets the total of `progress` to the number of bytes of the range.
/// Throws `Error::stopped()` on a stop request.
void produce(std::span<const std::uint8_t> bytes, HexSelection range, const TextSink& sink,
             TaskProgress& progress);

/// Writes the dump of all bytes to a file, see `writeTextFile`.
void write(std::span<const std::uint8_t> bytes, const ExportTarget& target, TaskProgress& progress);

/// The same for the bytes of `range`, which lies within `bytes`.
void write(std::span<const std::uint8_t> bytes, HexSelection range, const ExportTarget& target,
           TaskProgress& progress);

}  // namespace quillmor::HexDumpExporter
