#pragma once

#include <memory>
#include <string>

#include "base/FileLocation.h"
#include "fileaccess/Reservations.h"

/// Reservations by location. Safe from any thread.
namespace quillmor::SecureFileAccess {

/// Reserves the file for one read. Throws code 1200 for a location that is not a local file, 1208
/// while it is being written, 1209 when there are too many reads of it.
std::shared_ptr<ReadReservation> reserveReadURL(const FileLocation& url);

/// The same; messages name the file `displayName`.
std::shared_ptr<ReadReservation> reserveReadURL(const FileLocation& url,
                                                const std::string& displayName);

/// Reserves the file for one output. Throws code 1200 for a location that is not a local file, 1207
/// while the file is being read or written.
std::shared_ptr<OutputReservation> reserveOutputURL(const FileLocation& url);

/// Fails as `reserveReadURL` does while the file is being written, and reserves nothing.
void validateURLIsNotReservedForReading(const FileLocation& url);

/// True if both locations are local files and lead to one file: by equal paths, by equal paths with
/// links resolved, or by device and inode. Never fails.
bool urlsReferToSameFile(const FileLocation& a, const FileLocation& b);

}  // namespace quillmor::SecureFileAccess
