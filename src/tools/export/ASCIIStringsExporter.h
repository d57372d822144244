#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "tools/export/TextExport.h"

/// The runs of printable ASCII characters (0x20...0x7E) in bytes. Safe from any thread.
namespace quillmor::ASCIIStringsExporter {

/// What counts as a string where nobody says otherwise.
inline constexpr std::int64_t kDefaultMinimumLength = 4;

/// Lines that a report in a window lists at most.
inline constexpr std::int64_t kMaximumReportEntries = 50'000;

/// The report for a window: at most `maxEntries` lines and `maxReportCharacters` characters with
/// the closing lines; a string that would pass the limit ends the listing, and the counting goes on
/// to the end. `minimumLength` is 1 or more. The total of `progress` becomes the number of bytes;
/// throws `Error::stopped()` when it says so.
std::string extract(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
                    std::int64_t maxReportCharacters, std::int64_t maxEntries,
                    TaskProgress& progress);

/// Hands the list of every string of `minimumLength` (1 or more) characters and longer to `sink`,
/// with offset and length; the sentence that there is none instead. Progress as above.
void produce(std::span<const std::uint8_t> bytes, std::int64_t minimumLength, const TextSink& sink,
             TaskProgress& progress);

/// Writes that list to a file, see `writeTextFile`.
void write(std::span<const std::uint8_t> bytes, std::int64_t minimumLength,
           const ExportTarget& target, TaskProgress& progress);

}  // namespace quillmor::ASCIIStringsExporter
