#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tools/export/TextExport.h"

/// Intel HEX ("Hexadecimal Object File Format Specification", revision A, 1988) with records of 16
/// data bytes and extended linear addresses from 0 on. Safe from any thread.
namespace quillmor::IntelHexExporter {

/// The most bytes that 32-bit addresses reach.
inline constexpr std::int64_t kMaximumByteCount = 4'294'967'296;

/// Returns one data record with its line feed: at most 255 `bytes` at the low 16 bits of `address`.
std::string dataLine(std::span<const std::uint8_t> bytes, std::int64_t address);

/// Hands the whole file to `sink`. Throws code 2301 for more than `kMaximumByteCount` bytes, before
/// anything is handed on. Sets the total of `progress` to the number of bytes. Throws
/// `Error::stopped()` on a stop request.
void produce(std::span<const std::uint8_t> bytes, const TextSink& sink, TaskProgress& progress);

/// Writes the file, see `writeTextFile`. Too many bytes fail before the destination is looked at.
void write(std::span<const std::uint8_t> bytes, const ExportTarget& target, TaskProgress& progress);

}  // namespace quillmor::IntelHexExporter
