#include "recovery/Recovery.h"

#include <algorithm>
#include <utility>

#include "fileaccess/FileWriting.h"
#include "platform/RunInBackground.h"
#include "recovery/EntryReading.h"
#include "recovery/RecordNames.h"

namespace quillmor {

namespace {

constexpr int kChangedBaseCode = 2810;
constexpr int kUntrustedCode = 3103;
constexpr int kMissingCode = 3104;

bool hasCode(const Error& error, int code) {
  return error.domain() == ErrorDomain::quillmor && error.code() == code;
}

std::vector<std::string> namesOf(std::span<const ListedRecord> records) {
  std::vector<std::string> names;
  for (const ListedRecord& record : records) names.push_back(record.location.shownName());
  return names;
}

/// True if the document is in its file already.
bool isSaved(const RecoveryEntry& entry, const EntryContent& content, TaskProgress* progress) {
  return entry.file &&
         compareBeside(*entry.file, content.bytes.span(), progress).found == FileBeside::same;
}

bool belongsTo(const RecoveryEntry& entry, std::span<const FileLocation> documents) {
  return entry.file && std::ranges::find(documents, *entry.file) != documents.end();
}

/// The same for a record without a header: its ID begins with what tells its file.
bool mayBelongTo(const ListedRecord& record, std::span<const FileLocation> documents) {
  return std::ranges::any_of(documents, [&](const FileLocation& document) {
    return record.id.starts_with(pathHash(document.path()));
  });
}

/// Leaves what belongs to the documents.
void keepOnly(std::span<const FileLocation> documents, RecordGroups& groups) {
  std::erase_if(groups.entries, [&](const auto& entry) { return !belongsTo(entry, documents); });
  for (auto* const records : {&groups.damaged, &groups.newer, &groups.refused})
    std::erase_if(*records, [&](const auto& record) { return !mayBelongTo(record, documents); });
}

/// True if the entry has nothing that the bytes of a save lack: the same process has made both, for
/// the file as it was before that save. Edits after a save are recorded for the file after it.
/// Where the process is not known, nobody can tell.
bool isOlderThanSave(const RecoveryEntry& entry, const RecoveryEntry& save) {
  const RecordHeader& header = entry.header();
  const RecordHeader& saved = save.header();
  const auto momentOf = [](const RecordTime& time) {
    return std::pair(time.seconds, time.nanoseconds);
  };
  return save.isInterruptedSave && !entry.isInterruptedSave && header.file &&
         header.file == saved.file && header.path == saved.path &&
         momentOf(header.created) <= momentOf(saved.created) && header.writerNumber != 0 &&
         header.writerNumber == saved.writerNumber;
}

/// The journal as an entry of its own, when the record that it continues is damaged.
RecoveryEntry orphanOf(const RecoveryEntry& entry) {
  RecoveryEntry orphan{.record = *entry.journal};
  orphan.file = entry.file;
  orphan.untitledNumber = entry.untitledNumber;
  orphan.time = entry.journal->header->created;
  orphan.problem = missingBaseRecordError();
  return orphan;
}

}  // namespace

RecoveryOffer Recovery::offer(std::span<const FileLocation> documents,
                              TaskProgress* progress) const {
  return look(documents, Cleaning::yes, progress);
}

RecoveryOffer Recovery::list(TaskProgress* progress) const {
  return look({}, Cleaning::no, progress);
}

RecoveryOffer Recovery::look(std::span<const FileLocation> documents, Cleaning cleaning,
                             TaskProgress* progress) const {
  RecordGroups groups = groupRecords(store_.list(documents));
  if (!documents.empty()) keepOnly(documents, groups);
  RecoveryOffer offer;
  offer.newer = namesOf(groups.newer);
  offer.refused = namesOf(groups.refused);
  for (const ListedRecord& record : groups.damaged) noteDamaged(record, cleaning, offer);
  if (cleaning == Cleaning::yes) {
    // Saves tell what older records are worth.
    std::ranges::stable_partition(groups.entries, &RecoveryEntry::isInterruptedSave);
    removeWhatSavesLeft(groups.entries, progress);
  }
  for (RecoveryEntry& entry : groups.entries) {
    if (progress != nullptr) progress->checkpoint();
    examine(std::move(entry), cleaning, offer, progress);
  }
  sortEntries(offer.entries);
  return offer;
}

/// A process that ends right after it has written a file leaves its records of the document too.
/// They go before that of the save, which tells what they are.
void Recovery::removeWhatSavesLeft(std::vector<RecoveryEntry>& entries,
                                   TaskProgress* progress) const {
  for (const RecoveryEntry& save : std::vector<RecoveryEntry>(entries)) {
    const auto isOlder = [&save](const auto& entry) { return isOlderThanSave(entry, save); };
    if (std::ranges::none_of(entries, isOlder)) continue;
    const auto isFinished = resultOf([&] {
      if (!isSaved(save, readEntry(store_, save, progress), progress)) return false;
      SecureFileAccess::synchronizeFile(*save.file);
      return true;
    });
    if (!isFinished.isOk() && isFinished.error().isStopped()) throw isFinished.error();
    if (!isFinished.isOk() || !isFinished.value()) continue;
    std::erase_if(entries, [&](const RecoveryEntry& entry) {
      return isOlder(entry) && resultOf([&] { return discard(entry), Done(); }).isOk();
    });
  }
}

void Recovery::examine(RecoveryEntry entry, Cleaning cleaning, RecoveryOffer& offer,
                       TaskProgress* progress) const {
  if (entry.problem) return offer.entries.push_back(std::move(entry));
  const auto read = resultOf([&] { return readEntry(store_, entry, progress); });
  if (read.isOk()) {
    entry.byteCount = read.value().bytes.size();
    entry.time = read.value().time;
    entry.isCutOff = read.value().wasCutOff;
    if (cleaning == Cleaning::yes && isSaved(entry, read.value(), progress)) {
      // The file may have its bytes in memory only. Whoever cannot remove the record now can do so
      // the next time.
      resultOf([&] {
        SecureFileAccess::synchronizeFile(*entry.file);
        return discard(entry), Done();
      });
      return;
    }
    return offer.entries.push_back(std::move(entry));
  }
  const Error& error = read.error();
  if (error.isStopped()) throw error;
  if (hasCode(error, kMissingCode)) return;
  const bool isUnreadable = isDamagedRecord(error) || isNewerRecord(error);
  if (entry.journal && isUnreadable)
    return examineWithoutJournal(entry, error, cleaning, offer, progress);
  if (isDamagedRecord(error)) return noteDamaged(entry.record, cleaning, offer);
  if (isNewerRecord(error)) return offer.newer.push_back(entry.record.location.shownName());
  if (hasCode(error, kUntrustedCode))
    return offer.refused.push_back(entry.record.location.shownName());
  const auto save = std::ranges::find_if(
      offer.entries, [&](const RecoveryEntry& each) { return isOlderThanSave(entry, each); });
  if (cleaning == Cleaning::yes && hasCode(error, kChangedBaseCode) && save != offer.entries.end())
    return save->older.push_back(std::move(entry.record));
  entry.problem = error;
  entry.byteCount.reset();
  offer.entries.push_back(std::move(entry));
}

/// One of both records is damaged, or of a newer version; the record may be whole.
void Recovery::examineWithoutJournal(const RecoveryEntry& entry, const Error& error,
                                     Cleaning cleaning, RecoveryOffer& offer,
                                     TaskProgress* progress) const {
  RecoveryEntry alone = entry;
  alone.journal.reset();
  alone.time = entry.header().created;
  const auto read = resultOf([&] { return readEntry(store_, alone, progress); });
  if (!read.isOk()) {
    offer.entries.push_back(orphanOf(entry));
  } else if (isDamagedRecord(error)) {
    noteDamaged(*entry.journal, cleaning, offer);
  } else {
    offer.newer.push_back(entry.journal->location.shownName());
  }
  examine(std::move(alone), cleaning, offer, progress);
}

void Recovery::noteDamaged(const ListedRecord& record, Cleaning cleaning,
                           RecoveryOffer& offer) const {
  offer.damaged.push_back(record.location.shownName());
  if (cleaning == Cleaning::yes) store_.setAside(record);
}

RecoveryEntry Recovery::find(std::string_view id) const {
  std::string fileID;
  std::vector<FileLocation> documents;
  if (id.ends_with(kRecordSuffix)) {
    const ListedRecord named = store_.at(FileLocation::fromPath(id));
    if (named.header && !named.header->path.empty())
      documents.push_back(FileLocation::fromPath(named.header->path));
    fileID = named.id;
    id = fileID;
  }
  std::vector<ListedRecord> records = store_.list(documents);
  const auto record = std::ranges::find(records, id, &ListedRecord::id);
  if (record == records.end()) throw missingRecordError();
  if (record->belongsToRunningProcess) throw runningRecordError();
  if (!record->header) throw record->error.value_or(damagedRecordError());
  RecordGroups groups = groupRecords(std::move(records));
  const auto entry =
      std::ranges::find_if(groups.entries, [id](const auto& each) { return each.id() == id; });
  // A journal that has joined its record is no entry of its own.
  if (entry == groups.entries.end()) throw missingRecordError();
  RecoveryEntry found = *entry;
  addOlder(groups.entries, found);
  return found;
}

/// Adds the journals that the save has left without their file.
void Recovery::addOlder(std::span<const RecoveryEntry> entries, RecoveryEntry& save) const {
  for (const RecoveryEntry& entry : entries) {
    if (!isOlderThanSave(entry, save)) continue;
    const auto read = resultOf([&] { return readEntry(store_, entry, nullptr); });
    if (!read.isOk() && hasCode(read.error(), kChangedBaseCode)) save.older.push_back(entry.record);
  }
}

RecoveredDocument Recovery::recover(const RecoveryEntry& entry, TaskProgress* progress) const {
  EntryContent content = readEntry(store_, entry, progress);
  RecoveredDocument document{.bytes = std::move(content.bytes),
                             .places = std::move(content.places),
                             .isCutOff = content.wasCutOff};
  if (!entry.file) return document;
  const ComparedBeside beside = compareBeside(*entry.file, document.bytes.span(), progress);
  if (beside.found == FileBeside::nothing) return document;
  document.location = entry.file;
  // A status that no file has: a file that the changes were not based on is another program's.
  document.knownFile =
      content.baseFile.value_or(KnownFile{entry.header().file.value_or(StableFileStatus())});
  // What an interrupted save has left is no change by another program.
  const bool isOurs = beside.found == FileBeside::same ||
                      (entry.isInterruptedSave && beside.found == FileBeside::beginning);
  if (isOurs && beside.status) document.knownFile = KnownFile{*beside.status};
  return document;
}

void Recovery::discard(const RecoveryEntry& entry) const {
  for (const ListedRecord& record : entry.older) discardIfThere(record);
  // The record alone is still a document; the journal alone is not.
  if (entry.journal) discardIfThere(*entry.journal);
  discardIfThere(entry.record);
}

void Recovery::discardIfThere(const ListedRecord& record) const {
  const auto removed = resultOf([&] { return store_.discard(record), Done(); });
  if (!removed.isOk() && !hasCode(removed.error(), kMissingCode)) throw removed.error();
}

}  // namespace quillmor
