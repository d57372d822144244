#include "recovery/RecordGroups.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace quillmor {

namespace {

bool isJournal(const ListedRecord& record) {
  return record.header->kind == RecordKind::journal;
}

/// True if the journal continues the record: both are of one document.
bool continues(const ListedRecord& journal, const ListedRecord& record) {
  return journal.header->baseID == record.id && journal.header->path == record.header->path;
}

RecoveryEntry entryOf(ListedRecord record) {
  RecoveryEntry entry{.record = std::move(record)};
  const RecordHeader& header = entry.header();
  if (!header.path.empty()) entry.file = FileLocation::fromPath(header.path);
  entry.untitledNumber = header.untitledNumber;
  entry.isInterruptedSave = header.kind == RecordKind::save;
  entry.time = header.created;
  if (header.kind != RecordKind::journal) entry.byteCount = header.payloadByteCount;
  return entry;
}

/// Adds a journal, the newest ones first.
void addJournal(std::vector<RecoveryEntry>& entries, ListedRecord journal) {
  const auto found = std::ranges::find_if(entries, [&](const RecoveryEntry& entry) {
    return !isJournal(entry.record) && continues(journal, entry.record);
  });
  if (found != entries.end() && !found->journal) {
    found->time = journal.header->created;
    found->journal = std::move(journal);
    return;
  }
  RecoveryEntry alone = entryOf(std::move(journal));
  if (found != entries.end()) alone.base = found->record;
  if (!alone.base && !alone.header().baseID.empty()) alone.problem = missingBaseRecordError();
  entries.push_back(std::move(alone));
}

}  // namespace

RecordGroups groupRecords(std::vector<ListedRecord> records) {
  RecordGroups groups;
  std::vector<ListedRecord> journals;
  for (ListedRecord& record : records) {
    if (record.belongsToRunningProcess) continue;
    if (!record.header) {
      const bool isDamaged = record.error && isDamagedRecord(*record.error);
      const bool isNewer = record.error && isNewerRecord(*record.error);
      (isDamaged ? groups.damaged
       : isNewer ? groups.newer
                 : groups.refused)
          .push_back(std::move(record));
    } else if (isJournal(record)) {
      journals.push_back(std::move(record));
    } else {
      groups.entries.push_back(entryOf(std::move(record)));
    }
  }
  std::ranges::sort(journals, std::ranges::greater(), [](const ListedRecord& journal) {
    const RecordTime& time = journal.header->created;
    return std::tuple(time.seconds, time.nanoseconds, journal.id);
  });
  for (ListedRecord& journal : journals) addJournal(groups.entries, std::move(journal));
  sortEntries(groups.entries);
  return groups;
}

void sortEntries(std::vector<RecoveryEntry>& entries) {
  std::ranges::sort(entries, {}, [](const RecoveryEntry& entry) {
    return std::tuple(entry.time.seconds, entry.time.nanoseconds, entry.id());
  });
}

}  // namespace quillmor
