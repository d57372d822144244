#pragma once

#include <optional>

#include "base/TaskProgress.h"
#include "document/KnownFile.h"
#include "recovery/RecordStore.h"
#include "recovery/RecoveryEntry.h"

namespace quillmor {

/// A document as an entry's records have it.
struct EntryContent {
  ByteBuffer bytes;
  EditorPlaces places;
  RecordTime time;
  /// The document's file as it was read now, if the edits of a journal were made in its bytes.
  std::optional<KnownFile> baseFile = {};
  /// True if the journal ends with an edit that was not recorded whole.
  bool wasCutOff = false;
};

/// Reads the records of an entry and replays its journal. Throws the entry's `problem`, 3101 and
/// 3102 for damaged and newer records, 3103, 3104, 2810 to 2812, and POSIX errors. Any thread.
EntryContent readEntry(const RecordStore& store, const RecoveryEntry& entry,
                       TaskProgress* progress);

/// What a file has of the bytes of a document.
enum class FileBeside {
  /// There is no regular file.
  nothing,
  /// Other bytes, or none that can be read.
  differs,
  /// The first of the bytes, as a save that was interrupted leaves them.
  beginning,
  /// The bytes.
  same
};

struct ComparedBeside {
  FileBeside found = FileBeside::nothing;
  /// The file as it was compared; absent when it could not be read.
  std::optional<StableFileStatus> status = {};
};

/// Compares the file at `location` with `bytes`. Throws only `Error::stopped()`. Any thread.
ComparedBeside compareBeside(const FileLocation& location, std::span<const std::uint8_t> bytes,
                             TaskProgress* progress);

}  // namespace quillmor
