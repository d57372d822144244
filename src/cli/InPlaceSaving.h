#pragma once

#include <functional>
#include <memory>

#include "base/ByteBuffer.h"
#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/SafetyCopy.h"
#include "fileaccess/StableReading.h"

namespace quillmor::cli {

/// What a save in place may be asked for.
struct InPlaceOptions {
  /// Called after all checks and before the file is touched; what it throws is passed on. A request
  /// to stop comes too late after that.
  std::function<void()> beforeWriting = {};
  /// Reads the file back from the disk after the save.
  bool verifies = false;
};

/// Writes `changed` into the file that `snapshot` was read from, by a `FileSave` as in the editor.
/// Fails as that does, with code 2001 when the file is no longer what was read, and with code 2007
/// when the bytes read back are others. After a failure half way the file has its old bytes again,
/// or the message says what it holds and where the new ones are.
void saveInPlace(const FileLocation& location, const ReadSnapshot& snapshot,
                 const ByteBuffer& changed, std::shared_ptr<SafetyCopies> safetyCopies,
                 TaskProgress& progress, const InPlaceOptions& options = {});

}  // namespace quillmor::cli
