#include "cli/InPlaceSaving.h"

#include <utility>

#include "document/FileSave.h"
#include "platform/RunInBackground.h"

namespace quillmor::cli {

namespace {

Error changedFileError() {
  return Error::quillmor(2001, "The file has been changed by another program. Nothing was saved.");
}

void save(FileSave& fileSave, const ByteBuffer& changed, TaskProgress& progress,
          const std::function<void()>& beforeWriting) {
  fileSave.prepare(changed.size(), {}, &progress);
  if (fileSave.overwritesOtherChanges()) throw changedFileError();
  if (beforeWriting) beforeWriting();
  // From here on the save has its effect, and is not reported as stopped any more.
  progress.passPointOfNoReturn();
  const auto writeBytes = [&](const DocumentDestination& destination, bool* wasTouched) {
    return writeDocument(changed, destination, &progress, wasTouched);
  };
  fileSave.write(writeBytes, &progress);
}

}  // namespace

void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot,
                 const ByteBuffer& changed, TaskProgress& progress,
                 const std::function<void()>& beforeWriting) {
  FileSave fileSave({.destination = location,
                     .ownFile = location,
                     .known = KnownFile::of(snapshot.status, snapshot.bytes.span()),
                     // Nobody has a window in which to try again.
                     .ownBytes = snapshot.bytes});
  const auto saved =
      resultOf([&] { return save(fileSave, changed, progress, beforeWriting), Done(); });
  if (saved.isOk()) return;
  // Another program was faster than the write.
  if (SecureFileAccess::isChangedDestination(saved.error())) throw changedFileError();
  throw saved.error();
}

}  // namespace quillmor::cli
