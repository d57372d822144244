// Documents whose changes were not saved, as the editor's records keep them.

#include <algorithm>
#include <array>
#include <cerrno>

#include "base/VisibleText.h"
#include "cli/Commands.h"
#include "cli/Delivery.h"
#include "cli/FileFailure.h"
#include "fileaccess/StableFileStatus.h"
#include "recovery/Recovery.h"
#include "tools/analysis/DifferingRanges.h"

namespace quillmor::cli {

namespace {

constexpr const char* kRule =
    "Exactly one of --list, --show ID, --discard ID and ID -o OUT is required.";

void requireOneTask(const Arguments& arguments) {
  const std::array<bool, 4> asked = {arguments.has("--list"), arguments.has("--show"),
                                     arguments.has("--discard"), arguments.has("ID")};
  if (std::ranges::count(asked, true) != 1 || arguments.has("ID") != arguments.has("-o"))
    throw UsageError(kRule);
}

std::string lineOf(const RecoveryEntry& entry) {
  const std::string size = entry.byteCount ? std::to_string(*entry.byteCount) : "-";
  const std::string file = entry.file ? entry.file->shownPath() : entry.shownName();
  return entry.id() + "\t" + std::string(entry.kind()) + "\t" + utcText(entry.time) + "\t" + size +
         "\t" + file + "\n";
}

void noteEach(Session& session, std::span<const std::string> names, const std::string& message) {
  for (const std::string& name : names) session.note(name + ": " + message);
}

Outcome list(const Recovery& recovery, Session& session) {
  const RecoveryOffer offer = recovery.list(&session.beginPart("Reading"));
  std::string lines;
  for (const RecoveryEntry& entry : offer.entries) lines += lineOf(entry);
  session.endProgress();
  session.print(lines);
  for (const RecoveryEntry& entry : offer.entries) {
    if (entry.problem) session.note(entry.id() + ": " + entry.problem->messageWithReason());
    if (entry.isCutOff) session.note(entry.id() + ": " + std::string(kCutOffMessage));
  }
  noteEach(session, offer.damaged, damagedRecordError().message());
  noteEach(session, offer.newer, newerRecordError().message());
  noteEach(session, offer.refused, untrustedRecordError().message());
  if (!offer.damaged.empty() || !offer.newer.empty() || !offer.refused.empty())
    return Outcome::failed;
  return offer.entries.empty() ? Outcome::no : Outcome::done;
}

/// The bytes of the document's file now; none for an untitled document and without a file.
ByteBuffer bytesOfFile(const RecoveryEntry& entry, Session& session) {
  if (!entry.file || !SecureFileAccess::fileStatusIfExists(*entry.file, FollowSymlinks::yes))
    return {};
  return session.readDocument(*entry.file).bytes;
}

void noteCutOff(const RecoveryEntry& entry, const RecoveredDocument& document, Session& session) {
  if (document.isCutOff) session.note(entry.id() + ": " + std::string(kCutOffMessage));
}

Outcome show(const Recovery& recovery, const RecoveryEntry& entry, Session& session) {
  const RecoveredDocument document = recovery.recover(entry, &session.beginPart("Reading"));
  const ByteBuffer file = bytesOfFile(entry, session);
  const ComparedBytes compared{file.span(), document.bytes.span()};
  const std::int64_t count = forEachDifferingRange(
      compared, session.beginPart("Comparing"), [&](const DifferingRange& range) {
        session.output().write(differingRangeLine(range, compared) + "\n");
      });
  noteCutOff(entry, document, session);
  return count > 0 ? Outcome::no : Outcome::done;
}

Outcome writeRecovered(const Recovery& recovery, const RecoveryEntry& entry,
                       const Arguments& arguments, Session& session) {
  const RecoveredDocument document = recovery.recover(entry, &session.beginPart("Reading"));
  std::vector<FileLocation> inputs = {entry.record.location};
  if (entry.journal) inputs.push_back(entry.journal->location);
  if (entry.base) inputs.push_back(entry.base->location);
  // Edits without the bytes that they belong to are lost when these are overwritten.
  const bool needsFile = entry.header().kind == RecordKind::journal && !entry.base;
  if (needsFile && entry.file) inputs.push_back(*entry.file);
  writeBytes(document.bytes.span(), {arguments.file("-o"), std::move(inputs)},
             session.beginPart("Writing"));
  noteCutOff(entry, document, session);
  return Outcome::done;
}

}  // namespace

Outcome recover(const Arguments& arguments, Session& session) {
  requireOneTask(arguments);
  const RecordStore store = RecordStore::ofThisUser();
  const Recovery recovery(store);
  if (arguments.has("--list")) return list(recovery, session);
  if (arguments.has("--show"))
    return show(recovery, recovery.find(arguments.text("--show")), session);
  if (arguments.has("ID"))
    return writeRecovered(recovery, recovery.find(arguments.text("ID")), arguments, session);
  recovery.discard(recovery.find(arguments.text("--discard")));
  return Outcome::done;
}

}  // namespace quillmor::cli
