#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tools/export/TextExport.h"

/// The runs of printable ASCII characters (0x20...0x7E) in bytes. Safe from any thread.
namespace quillmor::ASCIIStringsExporter {

/// The least length of a string unless the caller says otherwise.
inline constexpr std::int64_t kDefaultMinimumLength = 4;

/// The most lines in a window's report.
inline constexpr std::int64_t kMaximumReportEntries = 50'000;

/// Returns the report for a window: at most `maxEntries` lines and, with the closing lines,
/// `maxReportCharacters` characters. A string that would pass the limit ends the listing, but not
/// the count. `minimumLength` is 1 or more. Sets the total of `progress` to the number of bytes.
/// Throws `Error::stopped()` on a stop request.
std::string extract(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
                    std::int64_t maxReportCharacters, std::int64_t maxEntries,
                    TaskProgress& progress);

/// Hands every string of at least `minimumLength` (1 or more) characters to `sink`, with offset and
/// length, or a sentence when there is none. Progress as above.
void produce(std::span<const std::uint8_t> bytes, std::int64_t minimumLength, const TextSink& sink,
             TaskProgress& progress);

/// Writes that list to a file, see `writeTextFile`.
void write(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
           const ExportTarget& target, TaskProgress& progress);

}  // namespace quillmor::ASCIIStringsExporter
