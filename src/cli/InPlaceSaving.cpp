#include "cli/InPlaceSaving.h"

#include <utility>

#include "base/VisibleText.h"
#include "document/FileSave.h"
#include "platform/RunInBackground.h"

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
          const InPlaceOptions& options) {
  fileSave.prepare(changed.size(), {}, &progress);
  if (fileSave.overwritesOtherChanges()) throw changedFileError();
  fileSave.secure(changed, {}, &progress);
  if (options.beforeWriting) options.beforeWriting();
  // From here on the save has its effect, and is not reported as stopped any more.
  progress.passPointOfNoReturn();
  fileSave.write(changed, &progress);
}

}  // namespace

void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot,
                 const ByteBuffer& changed, std::shared_ptr<SafetyCopies> safetyCopies,
                 TaskProgress& progress, const InPlaceOptions& options) {
  FileSave fileSave({.destination = location,
                     .ownFile = location,
                     .known = KnownFile::of(snapshot.status, snapshot.bytes.span()),
                     // Nobody has a window in which to try again.
                     .ownBytes = snapshot.bytes,
                     .safetyCopies = std::move(safetyCopies),
                     .verifies = options.verifies});
  const auto saved = resultOf([&] { return save(fileSave, changed, progress, options), Done(); });
  if (saved.isOk()) return;
  // Another program was faster than the write.
  if (SecureFileAccess::isChangedDestination(saved.error())) throw changedFileError();
  if (fileSave.lacksSafetyCopy()) throw noSafetyCopyError(saved.error());
  if (const auto copy = fileSave.takeSafetyCopy())
    throw saved.error().withMessage(saved.error().message() +
                                    " The new bytes are kept: \"quillmor-cli recover " +
                                    visibleText(copy->name()) + " -o OUT\" writes them.");
  throw saved.error();
}

}  // namespace quillmor::cli
