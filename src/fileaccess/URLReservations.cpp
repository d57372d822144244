#include "fileaccess/URLReservations.h"

#include <optional>

#include "base/Error.h"
#include "fileaccess/FileErrors.h"
#include "fileaccess/FileReservationRegistry.h"
#include "fileaccess/ResolvedPaths.h"
#include "fileaccess/StableFileStatus.h"

namespace quillmor::SecureFileAccess {

namespace {

ReservationKeys keysOf(const FileLocation& url) {
  return {.canonicalPath = resolvedPath(url), .identity = identityIfKnown(url)};
}

ReservationKeys keysForReading(const FileLocation& url) {
  if (!url.isLocalFile()) throw inputIsNotALocalFileError();
  return keysOf(url);
}

}  // namespace

std::shared_ptr<ReadReservation> reserveReadURL(const FileLocation& url) {
  return reserveReadURL(url, url.shownName());
}

std::shared_ptr<ReadReservation> reserveReadURL(const FileLocation& url,
                                                const std::string& displayName) {
  return fileReservationRegistry().reserveRead(keysForReading(url), displayName);
}

std::shared_ptr<OutputReservation> reserveOutputURL(const FileLocation& url) {
  if (!url.isLocalFile()) throw outputIsNotALocalFileError();
  return fileReservationRegistry().reserveOutput(keysOf(url), url.shownName());
}

void validateURLIsNotReservedForReading(const FileLocation& url) {
  fileReservationRegistry().validateIsNotReservedForOutput(keysForReading(url), url.shownName());
}

bool urlsReferToSameFile(const FileLocation& a, const FileLocation& b) {
  if (!a.isLocalFile() || !b.isLocalFile()) return false;
  if (a.standardizedPath() == b.standardizedPath()) return true;
  if (resolvedPath(a) == resolvedPath(b)) return true;
  const std::optional<FileIdentity> identityOfA = identityIfKnown(a);
  return identityOfA && identityOfA == identityIfKnown(b);
}

}  // namespace quillmor::SecureFileAccess
