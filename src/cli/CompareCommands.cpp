// Comparing a file with another one.

#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "document/QuillmorResourceLimits.h"
#include "tools/DifferenceReportExporter.h"
#include "tools/FileComparison.h"

namespace quillmor::cli {

namespace {

constexpr const char* kComparing = "Comparing";

}  // namespace

Outcome compare(const Arguments& arguments, Session& session) {
  const FileLocation other = arguments.file("OTHER");
  const FileComparison comparison = compareFiles(arguments.documentFile("FILE"),
                                                 QuillmorResourceLimits::maximumDocumentByteCount(),
                                                 other, session.beginPart(kComparing));
  session.print(comparisonSummary(comparison, other.lastPathComponent()));
  return comparison.firstMismatch ? Outcome::no : Outcome::done;
}

Outcome compareList(const Arguments& arguments, Session& session) {
  const FileLocation other = arguments.file("OTHER");
  const OpenDocument document = openDocument(arguments, session);
  const ComparisonListing listing = compareWindowReport(
      document.bytes().span(), other, other.lastPathComponent(), session.beginPart(kComparing));
  session.print(listing.text);
  return listing.isIdentical ? Outcome::done : Outcome::no;
}

Outcome differenceReport(const Arguments& arguments, Session& session) {
  const FileLocation other = arguments.file("OTHER");
  const OpenDocument document = openDocument(arguments, session, {other});
  TaskProgress& progress = session.beginPart(kComparing);
  std::int64_t differences = 0;
  // The other file is read while the report is made, and may turn out to be changing.
  deliverUncertainText(
      arguments, session, {document.location, other}, progress, [&](const TextSink& sink) {
        differences = DifferenceReportExporter::produce(document.bytes().span(), other,
                                                        other.lastPathComponent(), sink, progress);
      });
  return differences > 0 ? Outcome::no : Outcome::done;
}

}  // namespace quillmor::cli
