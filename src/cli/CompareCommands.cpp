// Comparing a file with another one.

#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "cli/FileFailure.h"
#include "document/QuillmorResourceLimits.h"
#include "fileaccess/StableFile.h"
#include "tools/analysis/FileComparison.h"
#include "tools/export/DifferenceReportExporter.h"

namespace quillmor::cli {

namespace {

constexpr const char* kComparing = "Comparing";

/// A file whose failures name it.
class NamedFile {
 public:
  NamedFile(std::string name, const FileLocation& location,
            std::optional<std::int64_t> maximumByteCount = {})
      : name_(std::move(name)),
        file_(aboutFile(name_, [&] { return StableFile(location, maximumByteCount); })) {}

  ComparedFile compared() const {
    return {.size = file_.size(), .read = [this](std::int64_t offset, auto room) {
              aboutFile(name_, [&] { file_.read(offset, room); });
            }};
  }

  void requireUnchanged() const {
    aboutFile(name_, [this] { file_.requireUnchanged(); });
  }

 private:
  std::string name_;
  StableFile file_;
};

}  // namespace

Outcome compare(const Arguments& arguments, Session& session) {
  const FileLocation other = arguments.file("OTHER");
  const NamedFile currentFile(arguments.text("FILE"), arguments.documentFile("FILE"),
                              QuillmorResourceLimits::maximumDocumentByteCount());
  const NamedFile otherFile(arguments.text("OTHER"), other);
  const FileComparison comparison =
      compareFiles(currentFile.compared(), otherFile.compared(), session.beginPart(kComparing));
  currentFile.requireUnchanged();
  otherFile.requireUnchanged();
  session.print(comparisonSummary(comparison, other.lastPathComponent()));
  return comparison.firstMismatch ? Outcome::no : Outcome::done;
}

Outcome compareList(const Arguments& arguments, Session& session) {
  const FileLocation other = arguments.file("OTHER");
  const OpenDocument document = openDocument(arguments, session);
  const ComparisonListing listing = aboutFile(arguments.text("OTHER"), [&] {
    return compareWindowReport(document.bytes().span(), other, other.lastPathComponent(),
                               session.beginPart(kComparing));
  });
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
        differences = aboutFile(arguments.text("OTHER"), [&] {
          return DifferenceReportExporter::produce(document.bytes().span(), other,
                                                   other.lastPathComponent(), sink, progress);
        });
      });
  return differences > 0 ? Outcome::no : Outcome::done;
}

}  // namespace quillmor::cli
