#include "cli/InPlaceSaving.h"

#include <utility>

#include "document/FileSave.h"
#include "platform/RunInBackground.h"
#include "recovery/SaveRecords.h"

namespace quillmor::cli {

namespace {

Error changedFileError() {
  return Error::quillmor(2001, "The file has been changed by another program. Nothing was saved.");
}

Error noSafetyCopyError(const Error& reason) {
  return reason.withMessage(
      "There is no place for a safety copy of the new bytes. Nothing was saved.");
}

void save(FileSave& fileSave, const ByteBuffer& changed, TaskProgress& progress,
          const std::function<void()>& beforeWriting) {
  fileSave.prepare(changed.size(), {}, &progress);
  if (fileSave.overwritesOtherChanges()) throw changedFileError();
  fileSave.secure(changed, {}, &progress);
  if (beforeWriting) beforeWriting();
  // From here on the save has its effect, and is not reported as stopped any more.
  progress.passPointOfNoReturn();
  fileSave.write(changed, &progress);
}

}  // namespace

void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot,
                 const ByteBuffer& changed, TaskProgress& progress,
                 const std::function<void()>& beforeWriting) {
  SaveRecords safetyCopies(RecordStore::ofThisUser());
  FileSave fileSave({.destination = location,
                     .ownFile = location,
                     .known = KnownFile::of(snapshot.status, snapshot.bytes.span()),
                     // Nobody has a window in which to try again.
                     .ownBytes = snapshot.bytes,
                     .safetyCopies = &safetyCopies});
  const auto saved =
      resultOf([&] { return save(fileSave, changed, progress, beforeWriting), Done(); });
  if (saved.isOk()) return;
  // Another program was faster than the write.
  if (SecureFileAccess::isChangedDestination(saved.error())) throw changedFileError();
  if (fileSave.lacksSafetyCopy()) throw noSafetyCopyError(saved.error());
  if (const auto copy = fileSave.takeSafetyCopy())
    throw saved.error().withMessage(saved.error().message() + " The new bytes are kept as " +
                                    copy->name() + "; see \"quillmor-cli recover --list\".");
  throw saved.error();
}

}  // namespace quillmor::cli
