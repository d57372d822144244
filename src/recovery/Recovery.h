#pragma once

#include <span>
#include <string>
#include <vector>

#include "base/TaskProgress.h"
#include "recovery/RecordGroups.h"
#include "recovery/RecordStore.h"
#include "recovery/RecoveryEntry.h"

namespace quillmor {

/// What a look at the records has found, for the user.
struct RecoveryOffer {
  /// Ordered by time, then by ID; sizes and times with the edits of the journals.
  std::vector<RecoveryEntry> entries;
  /// The names of files that are no records any more.
  std::vector<std::string> damaged;
  /// The names of records that a newer version has written.
  std::vector<std::string> newer;
  /// The names of records that were not read, because others may have written them.
  std::vector<std::string> refused;
};

/// Having documents again whose changes were not saved. Any thread; every call may wait for a disk,
/// and reads and compares whole documents. A stop request ends it with `Error::stopped()`.
///
/// Nothing here writes a document's file.
class Recovery {
 public:
  /// `store` outlives this object.
  explicit Recovery(const RecordStore& store) : store_(store) {}

  /// What can be recovered, after cleaning up: records whose documents are in their files already
  /// are removed, with older ones that a save has left behind, and damaged ones set aside. With
  /// `documents` only what belongs to these, beside them too; the records of others are neither
  /// read nor removed. Throws a POSIX error when the records cannot be listed.
  RecoveryOffer offer(std::span<const FileLocation> documents = {},
                      TaskProgress* progress = nullptr) const;

  /// All there is, and everything stays as it is.
  RecoveryOffer list(TaskProgress* progress = nullptr) const;

  /// The entry with this ID, or in the file with this path, which ends with ".qrec"; that of a save
  /// with the journals that are of no use since, as an offer has it. Throws 3104 when there is
  /// none, 3105 for a record of a running process, and the record's error when it has no header.
  RecoveryEntry find(std::string_view id) const;

  /// The document of an entry. Throws its `problem` and what `RecordStore::read`, `replayJournal`
  /// and reading the file of a journal throw.
  RecoveredDocument recover(const RecoveryEntry& entry, TaskProgress* progress = nullptr) const;

  /// Removes the records of an entry. Throws what `RecordStore::discard` does; records that have
  /// gone are no error.
  void discard(const RecoveryEntry& entry) const;

 private:
  enum class Cleaning { no, yes };

  RecoveryOffer look(std::span<const FileLocation> documents, Cleaning cleaning,
                     TaskProgress* progress) const;
  /// Adds the entry to the offer as far as it has something to offer.
  void examine(RecoveryEntry entry, Cleaning cleaning, RecoveryOffer& offer,
               TaskProgress* progress) const;
  void removeWhatSavesLeft(std::vector<RecoveryEntry>& entries, TaskProgress* progress) const;
  void examineWithoutJournal(const RecoveryEntry& entry, const Error& error, Cleaning cleaning,
                             RecoveryOffer& offer, TaskProgress* progress) const;
  void addOlder(std::span<const RecoveryEntry> entries, RecoveryEntry& save) const;
  void noteDamaged(const ListedRecord& record, Cleaning cleaning, RecoveryOffer& offer) const;
  void discardIfThere(const ListedRecord& record) const;

  const RecordStore& store_;
};

}  // namespace quillmor
