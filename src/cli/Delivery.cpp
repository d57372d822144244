#include "cli/Delivery.h"

#include <utility>

#include "cli/FileFailure.h"
#include "cli/InPlaceSaving.h"
#include "cli/SpooledText.h"
#include "fileaccess/OutputDestination.h"
#include "recovery/OpenFileLock.h"
#include "recovery/SaveRecords.h"

namespace quillmor::cli {

OpenDocument openDocument(const Arguments& arguments, Session& session,
                          std::vector<FileLocation> otherInputs) {
  FileLocation location = arguments.documentFile("FILE");
  if (arguments.has("-o")) {
    // The writer looks again; here it saves the work for an output that cannot be.
    const FileLocation output = arguments.file("-o");
    otherInputs.push_back(location);
    aboutFile(arguments.text("-o"), [&] {
      SecureFileAccess::validateDistinctOutputURL(output, otherInputs);
      SecureFileAccess::validateOutputDestinationKind(output);
    });
  }
  ReadSnapshot snapshot =
      aboutFile(arguments.text("FILE"), [&] { return session.readDocument(location); });
  return {std::move(location), std::move(snapshot)};
}

void deliverText(const Arguments& arguments, Session& session, std::vector<FileLocation> inputs,
                 TaskProgress& progress, const std::function<void(const TextSink&)>& produce) {
  if (!arguments.has("-o")) {
    produce([&session](std::string_view piece) {
      aboutNoFile([&] { session.output().write(piece); });
    });
    return session.output().endLine();
  }
  const std::string& name = arguments.text("-o");
  aboutFile(name, [&] {
    writeTextFile({arguments.file("-o"), std::move(inputs)}, progress, [&](const TextSink& sink) {
      // What is made may be about another file.
      produce([&](std::string_view piece) { aboutFile(name, [&] { sink(piece); }); });
    });
  });
}

void deliverUncertainText(const Arguments& arguments, Session& session,
                          std::vector<FileLocation> inputs, TaskProgress& progress,
                          const std::function<void(const TextSink&)>& produce) {
  if (arguments.has("-o"))
    return deliverText(arguments, session, std::move(inputs), progress, produce);
  SpooledText spooled;
  produce([&spooled](std::string_view piece) { aboutNoFile([&] { spooled.append(piece); }); });
  spooled.forEachPiece([&session](std::string_view piece) { session.output().write(piece); });
  session.output().endLine();
}

void deliverBytes(const Arguments& arguments, Session& session, const OpenDocument& document,
                  ByteBuffer changed, const std::string& text,
                  std::vector<FileLocation> otherInputs) {
  TaskProgress& progress = session.beginPart("Writing");
  std::string writtenFile = arguments.text(arguments.has("-o") ? "-o" : "FILE");
  // The last thing before the change is done, so that nothing has changed when it fails.
  const auto printText = [&] {
    session.endProgress();
    // Failing to print is about no file.
    const std::string file = std::exchange(writtenFile, {});
    session.print(text);
    writtenFile = file;
  };
  aboutFile(writtenFile, [&] {
    if (arguments.has("-o")) {
      otherInputs.push_back(document.location);
      writeBytes(changed.span(), {arguments.file("-o"), std::move(otherInputs)}, progress,
                 printText);
    } else if (changed == document.bytes()) {
      printText();
    } else {
      const RecordStore records = RecordStore::ofThisUser();
      const auto lock = OpenFileLock::take(records.directory(), document.location);
      if (lock->isHeldByAnother()) throw openInAnotherProcessError();
      auto safetyCopies = std::make_shared<SaveRecords>(records);
      saveInPlace(document.location, document.snapshot, changed, std::move(safetyCopies), progress,
                  {.beforeWriting = printText, .verifies = arguments.has("--verify")});
    }
  });
}

}  // namespace quillmor::cli
