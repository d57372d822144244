#include "document/DocumentLoader.h"

#include <utility>

#include "document/QuillmorResourceLimits.h"
#include "fileaccess/ResolvedPaths.h"
#include "fileaccess/URLReservations.h"

namespace quillmor {

ReadDocument readDocument(const FileLocation& location, TaskProgress* progress) {
  FileLocation real = SecureFileAccess::realLocation(location);
  auto reservation = SecureFileAccess::reserveReadURL(real, location.shownName());
  SecureFileAccess::validateReadableFileURL(real);
  auto snapshot = SecureFileAccess::stableBytes(
      real, QuillmorResourceLimits::maximumDocumentByteCount(), progress);
  return {std::move(real), std::move(reservation), std::move(snapshot)};
}

LoadedDocument loadDocument(const FileLocation& location, TaskProgress* progress) {
  ReadDocument read = readDocument(location, progress);
  if (progress != nullptr) progress->checkpoint();
  const KnownFile known = KnownFile::of(read.snapshot.status, read.snapshot.bytes.span());
  return {std::move(read), known};
}

}  // namespace quillmor
