#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteBuffer.h"
#include "base/Error.h"
#include "base/FileLocation.h"
#include "document/KnownFile.h"
#include "document/SafetyCopy.h"
#include "recovery/RecordStore.h"

namespace quillmor {

/// One document that can be had again: a record with the edits that came after it, or the edits of
/// a journal alone.
struct RecoveryEntry {
  /// A document's bytes, or a journal by itself.
  ListedRecord record;
  /// The edits since `record`, if there are any.
  std::optional<ListedRecord> journal = {};
  /// What a journal by itself continues, where that is the record of another entry.
  std::optional<ListedRecord> base = {};
  /// Journals that are of no use since this save has written into their file.
  std::vector<ListedRecord> older = {};
  /// The document's file; absent for an untitled document.
  std::optional<FileLocation> file = {};
  std::uint32_t untitledNumber = 0;
  bool isInterruptedSave = false;
  /// When the record was written, or the last of its edits made.
  RecordTime time = {};
  /// The size of the recovered document; absent where it is not known.
  std::optional<std::int64_t> byteCount = {};
  /// True if the last of its edits were not recorded whole, and are left out.
  bool isCutOff = false;
  /// Why it cannot be recovered, which may change; absent when it can.
  std::optional<Error> problem = {};

  const std::string& id() const { return record.id; }
  /// The record's header; every entry has one.
  const RecordHeader& header() const { return *record.header; }

  /// The name as texts show it: that of the file, "Untitled" or "Untitled 2".
  std::string shownName() const;
  /// "interrupted save" or "unsaved changes".
  std::string_view kind() const;
};

/// A document with its unsaved changes, as a crash left them.
struct RecoveredDocument {
  ByteBuffer bytes;
  /// Where it is to be saved; absent for an untitled document, and when its file has gone.
  std::optional<FileLocation> location = {};
  /// That file as the changes were based on it, to notice what another program has made of it.
  std::optional<KnownFile> knownFile = {};
  /// Within the bytes.
  EditorPlaces places = {};
  /// True if the last of its edits were not recorded whole, and are left out.
  bool isCutOff = false;
};

/// The same moment as "2026-03-01T12:00:00Z", in UTC. "invalid time" for one beyond the year 9999
/// or before 1970.
std::string utcText(const RecordTime& time);

/// What is said of an entry or a document whose last edits are left out.
inline constexpr std::string_view kCutOffMessage =
    "The last edits were not recorded whole and are left out.";

/// Code 2810: the journal's file has other bytes than it had, so its edits do not fit it.
Error changedBaseError();
/// Code 2811: the journal's file has gone.
Error missingBaseFileError();
/// Code 2812: the record that the journal continues has gone.
Error missingBaseRecordError();

}  // namespace quillmor
