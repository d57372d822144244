#pragma once

#include <memory>

#include "base/FileLocation.h"
#include "base/TaskProgress.h"
#include "document/KnownFile.h"
#include "fileaccess/Reservations.h"
#include "fileaccess/StableReading.h"

namespace quillmor {

/// A file read whole as the content of a document.
struct ReadDocument {
  /// The real file. Saving must never have to follow a link, so this becomes the document's
  /// location.
  FileLocation location;
  /// Held until the document has the location, so that no save lands on the file meanwhile.
  std::shared_ptr<ReadReservation> reservation;
  ReadSnapshot snapshot;
};

/// The same with what tells later whether another program has changed the file.
struct LoadedDocument : ReadDocument {
  KnownFile known;
};

/// Reads a file within the limit for documents: finds the real file, reserves, validates and reads
/// it. Fails as `SecureFileAccess::readSnapshot` does; messages name the file as `location` does.
/// Any thread.
ReadDocument readDocument(const FileLocation& location, TaskProgress* progress = nullptr);

/// Reads a file for a document that can be saved again. Takes a tenth of a second a gibibyte more
/// than `readDocument`, and fails as that does. Any thread.
LoadedDocument loadDocument(const FileLocation& location, TaskProgress* progress = nullptr);

}  // namespace quillmor
