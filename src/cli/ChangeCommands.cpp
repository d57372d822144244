// Replacing, transforming and patching bytes.

#include <algorithm>

#include "base/HexText.h"
#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "cli/FileFailure.h"
#include "cli/Requirements.h"
#include "cli/TypedSearch.h"
#include "document/QuillmorResourceLimits.h"
#include "search/SearchAnswers.h"
#include "search/typed/TypedInput.h"
#include "tools/edits/ToolLimits.h"
#include "tools/patches/HexPatchRange.h"
#include "tools/patches/JSONPatchPreset.h"

namespace quillmor::cli {

namespace {

std::int64_t maximumByteCount() {
  return QuillmorResourceLimits::maximumDocumentByteCount();
}

/// A preset, and what it makes of a document.
struct PresetRun {
  OpenDocument document;
  FileLocation presetFile;
  JSONPresetResult result;
  std::string report;

  Outcome outcome() const { return result.total > 0 ? Outcome::done : Outcome::no; }
};

PresetRun runPreset(const Arguments& arguments, Session& session) {
  FileLocation file = arguments.file("PRESET");
  const std::string& name = arguments.text("PRESET");
  const auto preset = aboutFile(name, [&] {
    return JSONPatchPreset::read(file, maxJSONPresetBytes, session.beginPart("Reading"));
  });
  OpenDocument document = openDocument(arguments, session, {file});
  auto result = aboutFile(name, [&] {
    return applyJSONPreset(document.bytes(), preset, {}, maximumByteCount(),
                           session.beginPart("Applying"));
  });
  std::string report = jsonPresetReport(preset, result);
  return {std::move(document), std::move(file), std::move(result), std::move(report)};
}

}  // namespace

Outcome replace(const Arguments& arguments, Session& session) {
  const TypedSearch search = typedSearch(arguments);
  const ReplacementTable replacements = typedReplacements(search);
  const OpenDocument document = openDocument(arguments, session);
  const std::int64_t room = std::max<std::int64_t>(maximumByteCount() - document.bytes().size(), 0);
  auto computation =
      computeReplaceAll(document.bytes(), search.request, search.candidateList, replacements, {},
                        std::min(room, maxGeneratedInputBytes), session.beginPart("Replacing"));
  const std::string text = replacedText(computation.replacements);
  if (computation.replacements == 0) {
    session.print(text);
    return Outcome::no;
  }
  deliverBytes(arguments, session, document, std::move(computation.bytes), text);
  return Outcome::done;
}

Outcome patchApply(const Arguments& arguments, Session& session) {
  const FileLocation patchFile = arguments.file("PATCH");
  const std::string& name = arguments.text("PATCH");
  const QuillmorPatch patch = aboutFile(name, [&] {
    return QuillmorPatch::read(patchFile, maxPatchImportBytes, maxPatchDataBytes,
                               session.beginPart("Reading"));
  });
  const OpenDocument document = openDocument(arguments, session, {patchFile});
  const auto range = rangeReplacedByPatch(patch, document.bytes().size());
  if (!range.isOk()) throw FileFailure(range.error(), name);
  const auto [start, removed] = range.value();
  const auto inserted = std::ssize(patch.data);
  aboutFile(arguments.text("FILE"), [&, removed = removed] {
    requireNone(refusalOfResult(document.bytes().size(), removed, inserted, maximumByteCount()));
  });
  ByteBuffer patched = document.bytes();
  patched.replace(start, removed, patch.data);
  deliverBytes(arguments, session, document, std::move(patched),
               "Applied " + std::to_string(inserted) + " byte(s) at " + offsetText(start),
               {patchFile});
  return Outcome::done;
}

Outcome presetDryRun(const Arguments& arguments, Session& session) {
  const PresetRun run = runPreset(arguments, session);
  session.print(run.report);
  return run.outcome();
}

Outcome presetApply(const Arguments& arguments, Session& session) {
  PresetRun run = runPreset(arguments, session);
  if (run.outcome() == Outcome::no) {
    session.print(run.report);
  } else {
    deliverBytes(arguments, session, run.document, std::move(run.result.bytes), run.report,
                 {run.presetFile});
  }
  return run.outcome();
}

}  // namespace quillmor::cli
