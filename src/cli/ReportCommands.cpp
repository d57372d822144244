// Reports about the bytes of one file.

#include "base/HexText.h"
#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "document/QuillmorResourceLimits.h"
#include "tools/analysis/ByteStatistics.h"
#include "tools/analysis/DataInspector.h"
#include "tools/analysis/FileStructure.h"
#include "tools/checksum/Checksum.h"
#include "tools/edits/ToolLimits.h"
#include "tools/patches/BookmarkFile.h"

namespace quillmor::cli {

namespace {

constexpr const char* kCalculating = "Calculating";
constexpr const char* kCounting = "Counting";

/// Reads FILE and prints what `reportOf(document)` says.
template <typename ReportOf>
Outcome printReport(const Arguments& arguments, Session& session, ReportOf reportOf) {
  const OpenDocument document = openDocument(arguments, session);
  session.print(reportOf(document.bytes()));
  return Outcome::done;
}

/// The same for a report that is made while FILE is read.
template <typename ReportOf>
Outcome printFileReport(const Arguments& arguments, Session& session, ReportOf reportOf) {
  const StableFile file(arguments.documentFile("FILE"),
                        QuillmorResourceLimits::maximumDocumentByteCount());
  const std::string report = reportOf(file, session.beginPart(kCalculating));
  file.requireUnchanged();
  session.print(report);
  return Outcome::done;
}

}  // namespace

Outcome checksums(const Arguments& arguments, Session& session) {
  return printFileReport(arguments, session, [&](const StableFile& file, TaskProgress& progress) {
    const HexSelection range = arguments.range(file.size());
    if (!arguments.hasRange()) return Checksum::report(file, {}, progress);
    // An empty selection would stand for the whole document.
    return range.length > 0 ? Checksum::report(file, range, progress)
                            : Checksum::rangeReport(file, range, progress);
  });
}

Outcome checksumRange(const Arguments& arguments, Session& session) {
  const HexSelection range{arguments.offset("START"), arguments.offset("LENGTH")};
  return printFileReport(arguments, session, [&](const StableFile& file, TaskProgress& progress) {
    return Checksum::rangeReport(file, range, progress);
  });
}

Outcome statistics(const Arguments& arguments, Session& session) {
  return printReport(arguments, session, [&](const ByteBuffer& bytes) {
    const HexSelection range = arguments.range(bytes.size());
    return selectionStatisticsReport(
        bytes.span(range.start, range.length),
        arguments.hasRange() ? StatisticsScope::selection : StatisticsScope::document,
        session.beginPart(kCalculating));
  });
}

Outcome frequency(const Arguments& arguments, Session& session) {
  return printReport(arguments, session, [&](const ByteBuffer& bytes) {
    return frequencyReport(byteCounts(bytes.span(), &session.beginPart(kCounting)));
  });
}

Outcome entropyMap(const Arguments& arguments, Session& session) {
  return printReport(arguments, session, [&](const ByteBuffer& bytes) {
    return entropyMapReport(quillmor::entropyMap(bytes.span(), session.beginPart(kCalculating)));
  });
}

Outcome inspect(const Arguments& arguments, Session& session) {
  const std::int64_t offset = arguments.offset("OFFSET");
  const OpenDocument document = openDocument(arguments, session);
  const auto report = DataInspector::detailReport(document.bytes().span(), offset);
  session.print(report ? *report : DataInspector::kCaretAtEnd);
  return report ? Outcome::done : Outcome::no;
}

Outcome detect(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  const FileStructure structure =
      detectFileStructure(document.bytes().span(), &session.beginPart(kCalculating));
  session.print(structure.report);
  return structure.isKnown ? Outcome::done : Outcome::no;
}

Outcome bookmarks(const Arguments& arguments, Session& session) {
  const auto offsets = BookmarkFile::read(arguments.file("BOOKMARKFILE"), maxBookmarkImportBytes,
                                          session.beginPart("Reading"));
  std::string lines;
  for (const std::int64_t offset : offsets) lines += offsetText(offset) + "\n";
  session.print(lines);
  return Outcome::done;
}

}  // namespace quillmor::cli
