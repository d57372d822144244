#pragma once

#include <cstdint>
#include <string>

#include "base/FileLocation.h"
#include "base/Result.h"
#include "document/ReadBack.h"
#include "document/SaveReceipt.h"

namespace quillmor {

/// The text of "Last Save": what was saved, what the disk has now, and what was done. `onDisk` is
/// the file as it was read back, or why it could not be; its stop request is passed on.
/// `recordByteCount` is what the records of the document take on the disk. Times are in the time
/// zone of the process.
std::string saveReport(const FileLocation& location, const SaveReceipt& receipt,
                       const Result<ReadBack>& onDisk, std::int64_t recordByteCount);

}  // namespace quillmor
