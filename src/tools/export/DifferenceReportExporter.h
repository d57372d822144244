#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/FileLocation.h"
#include "tools/export/TextExport.h"

/// The list of all bytes in which a file differs from a document. Safe from any thread.
namespace quillmor::DifferenceReportExporter {

/// Hands the report to `sink` while the compared file is read; the text counts only once this has
/// returned. Returns the number of differences. Sets the total of `progress` to the size of the
/// longer side. Throws `Error::stopped()` on a stop request, and whatever reading a `StableFile`
/// throws.
std::int64_t produce(std::span<const std::uint8_t> current, const FileLocation& comparedFile,
                     const std::string& comparedName, const TextSink& sink, TaskProgress& progress);

/// Writes the report to a file, see `writeTextFile`; the compared file is protected too. Returns
/// the number of differences.
std::int64_t write(std::span<const std::uint8_t> current, const FileLocation& comparedFile,
                   const std::string& comparedName, const ExportTarget& target,
                   TaskProgress& progress);

}  // namespace quillmor::DifferenceReportExporter
