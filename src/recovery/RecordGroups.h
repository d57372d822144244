#pragma once

#include <vector>

#include "recovery/RecoveryEntry.h"

namespace quillmor {

/// Records of a listing, by what is to become of them. Records of living processes are in none.
struct RecordGroups {
  /// Ordered by time, then by ID. Time and size are those of the headers.
  std::vector<RecoveryEntry> entries;
  /// No records, or damaged ones.
  std::vector<ListedRecord> damaged;
  /// Of a newer version.
  std::vector<ListedRecord> newer;
  /// Of another user, open to others, or not readable.
  std::vector<ListedRecord> refused;
};

/// Sorts the records of a listing. A journal joins the record that it continues, and its ID is
/// hidden. Where several continue one record, the newest joins it and the others are entries of
/// their own. A journal whose record is not there is an entry with a problem.
RecordGroups groupRecords(std::vector<ListedRecord> records);

/// Puts entries into the order of time, then of their IDs.
void sortEntries(std::vector<RecoveryEntry>& entries);

}  // namespace quillmor
