// Writing the bytes of a file in other forms.

#include <array>

#include "cli/Choice.h"
#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "cli/Requirements.h"
#include "search/typed/HexParser.h"
#include "tools/edits/ClipboardText.h"
#include "tools/export/ASCIIStringsExporter.h"
#include "tools/export/HexDumpExporter.h"
#include "tools/export/IntelHexExporter.h"
#include "tools/patches/HexPatch.h"

namespace quillmor::cli {

namespace {

constexpr const char* kExporting = "Exporting";

constexpr std::array<Choice<ClipboardTextStyle>, 6> kStyles = {
    {{"hex", ClipboardTextStyle::hex},
     {"c-array", ClipboardTextStyle::cArray},
     {"swift-array", ClipboardTextStyle::swiftArray},
     {"base64", ClipboardTextStyle::base64},
     {"python-bytes", ClipboardTextStyle::pythonBytes},
     {"json", ClipboardTextStyle::jsonByteArray}}};
constexpr auto kStyleNames = namesOf(kStyles);

std::int64_t minimumLength(const Arguments& arguments) {
  const auto typed = arguments.find("--minimum");
  if (!typed) return ASCIIStringsExporter::kDefaultMinimumLength;
  const auto minimum = HexParser::parseOffset(*typed);
  if (!minimum || *minimum < 1) throw UsageError("--minimum must be a number of 1 or more.");
  return *minimum;
}

}  // namespace

Outcome strings(const Arguments& arguments, Session& session) {
  const std::int64_t minimum = minimumLength(arguments);
  const OpenDocument document = openDocument(arguments, session);
  TaskProgress& progress = session.beginPart(kExporting);
  deliverText(arguments, session, {document.location}, progress, [&](const TextSink& sink) {
    ASCIIStringsExporter::produce(document.bytes().span(), minimum, sink, progress);
  });
  return Outcome::done;
}

Outcome hexDump(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  const HexSelection range = arguments.range(document.bytes().size());
  TaskProgress& progress = session.beginPart(kExporting);
  deliverText(arguments, session, {document.location}, progress, [&](const TextSink& sink) {
    HexDumpExporter::produce(document.bytes().span(), range, sink, progress);
  });
  return Outcome::done;
}

Outcome intelHex(const Arguments& arguments, Session& session) {
  const OpenDocument document = openDocument(arguments, session);
  TaskProgress& progress = session.beginPart(kExporting);
  deliverText(arguments, session, {document.location}, progress, [&](const TextSink& sink) {
    IntelHexExporter::produce(document.bytes().span(), sink, progress);
  });
  return Outcome::done;
}

Outcome patchExport(const Arguments& arguments, Session& session) {
  if (!arguments.hasRange()) throw UsageError("--start or --length is required.");
  const OpenDocument document = openDocument(arguments, session);
  const HexSelection range = requireBytes(arguments.range(document.bytes().size()));
  requireNone(refusalOfHexPatch(range.length));
  TaskProgress& progress = session.beginPart(kExporting);
  deliverText(arguments, session, {document.location}, progress, [&](const TextSink& sink) {
    produceHexPatch(document.bytes().span(range.start, range.length), range.start, sink, progress);
  });
  return Outcome::done;
}

std::span<const std::string_view> copyStyles() {
  return kStyleNames;
}

Outcome copyAs(const Arguments& arguments, Session& session) {
  const ClipboardTextStyle style = chosen(kStyles, arguments.text("STYLE"));
  const OpenDocument document = openDocument(arguments, session);
  const HexSelection range = arguments.range(document.bytes().size());
  requireNone(refusalOfClipboardText(range.length));
  session.print(clipboardText(document.bytes().span(range.start, range.length), style,
                              &session.beginPart("Converting")));
  return Outcome::done;
}

}  // namespace quillmor::cli
