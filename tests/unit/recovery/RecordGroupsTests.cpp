#include "recovery/RecordGroups.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillmor::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::string idOf(char digit) {
  return std::string(16, digit) + "-00000000-0000-4000-8000-" + std::string(12, digit);
}

/// A record of the kind with the ID made of `digit`, written at that second.
ListedRecord record(char digit, RecordKind kind, const std::string& path = "/folder/data.bin",
                    std::int64_t second = 100) {
  ListedRecord listed{.id = idOf(digit),
                      .location = FileLocation::fromPath("/records/" + idOf(digit) + ".qrec"),
                      .header = {},
                      .error = {}};
  listed.header.emplace();
  listed.header->kind = kind;
  listed.header->path = path;
  listed.header->created.seconds = second;
  if (kind != RecordKind::journal) listed.header->payloadByteCount = 7;
  return listed;
}

ListedRecord journalOn(char digit, char base, std::int64_t second = 200,
                       const std::string& path = "/folder/data.bin") {
  ListedRecord journal = record(digit, RecordKind::journal, path, second);
  journal.header->baseID = idOf(base);
  return journal;
}

ListedRecord withError(char digit, const Error& error) {
  ListedRecord listed = record(digit, RecordKind::save);
  listed.header.reset();
  listed.error = error;
  return listed;
}

std::vector<std::string> idsOf(const std::vector<RecoveryEntry>& entries) {
  std::vector<std::string> ids;
  for (const RecoveryEntry& entry : entries) ids.push_back(entry.id());
  return ids;
}

TEST(RecordGroups, nothingComesOfNothing) {
  const RecordGroups groups = groupRecords({});
  EXPECT_THAT(groups.entries, IsEmpty());
  EXPECT_THAT(groups.damaged, IsEmpty());
}

TEST(RecordGroups, aRecordIsAnEntryWithItsFacts) {
  const RecordGroups groups = groupRecords(
      {record('1', RecordKind::save), record('2', RecordKind::unsavedChanges, "", 101)});
  ASSERT_EQ(groups.entries.size(), 2U);
  const RecoveryEntry& saved = groups.entries[0];
  EXPECT_EQ(saved.shownName(), "data.bin");
  EXPECT_EQ(saved.kind(), "interrupted save");
  EXPECT_EQ(saved.byteCount, 7);
  EXPECT_EQ(saved.time.seconds, 100);
  EXPECT_FALSE(saved.problem);
  const RecoveryEntry& untitled = groups.entries[1];
  EXPECT_EQ(untitled.shownName(), "Untitled");
  EXPECT_FALSE(untitled.file);
  EXPECT_EQ(untitled.kind(), "unsaved changes");
}

TEST(RecordGroups, laterUntitledDocumentsHaveTheirNumber) {
  for (const auto& [number, name] :
       {std::pair(0U, "Untitled"), std::pair(1U, "Untitled"), std::pair(2U, "Untitled 2")}) {
    ListedRecord untitled = record('1', RecordKind::unsavedChanges, "");
    untitled.header->untitledNumber = number;
    EXPECT_EQ(groupRecords({untitled}).entries.at(0).shownName(), name);
  }
}

TEST(RecordGroups, aJournalJoinsItsRecordAndHidesItsID) {
  for (const bool isJournalFirst : {false, true}) {
    std::vector<ListedRecord> records = {record('1', RecordKind::unsavedChanges),
                                         journalOn('2', '1')};
    if (isJournalFirst) std::swap(records[0], records[1]);
    const RecordGroups groups = groupRecords(records);
    EXPECT_THAT(idsOf(groups.entries), ElementsAre(idOf('1')));
    ASSERT_TRUE(groups.entries[0].journal);
    EXPECT_EQ(groups.entries[0].journal->id, idOf('2'));
    EXPECT_EQ(groups.entries[0].time.seconds, 200);
  }
}

TEST(RecordGroups, theNewestOfSeveralJournalsJoinsTheRecord) {
  const RecordGroups groups = groupRecords({record('1', RecordKind::unsavedChanges),
                                            journalOn('2', '1', 300), journalOn('3', '1', 200)});
  EXPECT_THAT(idsOf(groups.entries), ElementsAre(idOf('3'), idOf('1')));
  EXPECT_EQ(groups.entries[0].base->id, idOf('1'));
  EXPECT_FALSE(groups.entries[0].problem);
  EXPECT_EQ(groups.entries[1].journal->id, idOf('2'));
}

TEST(RecordGroups, aJournalByItselfIsAnEntryOfUnknownSize) {
  const RecordGroups groups = groupRecords({record('1', RecordKind::journal)});
  ASSERT_EQ(groups.entries.size(), 1U);
  EXPECT_FALSE(groups.entries[0].problem);
  EXPECT_FALSE(groups.entries[0].byteCount);
  EXPECT_EQ(groups.entries[0].kind(), "unsaved changes");
}

TEST(RecordGroups, aJournalWithoutItsRecordIsKeptWithTheReason) {
  const RecordGroups groups = groupRecords({journalOn('2', '1')});
  ASSERT_EQ(groups.entries.size(), 1U);
  EXPECT_EQ(groups.entries[0].problem->code(), missingBaseRecordError().code());
}

TEST(RecordGroups, aJournalNeverJoinsTheRecordOfAnotherFileNorAnotherJournal) {
  const RecordGroups groups =
      groupRecords({record('1', RecordKind::unsavedChanges, "/folder/other.bin"),
                    journalOn('2', '1'), record('3', RecordKind::journal), journalOn('4', '3')});
  ASSERT_EQ(groups.entries.size(), 4U);
  for (const RecoveryEntry& entry : groups.entries) {
    EXPECT_FALSE(entry.journal);
    EXPECT_EQ(entry.problem.has_value(), !entry.header().baseID.empty());
  }
}

TEST(RecordGroups, recordsOfLivingProcessesAreSkippedWithTheirJournals) {
  ListedRecord running = record('1', RecordKind::unsavedChanges);
  ListedRecord journal = journalOn('2', '1');
  running.belongsToRunningProcess = true;
  journal.belongsToRunningProcess = true;
  const RecordGroups groups =
      groupRecords({running, journal, record('3', RecordKind::unsavedChanges)});
  EXPECT_THAT(idsOf(groups.entries), ElementsAre(idOf('3')));
}

TEST(RecordGroups, severalRecordsOfOneFileAreAllListed) {
  const RecordGroups groups =
      groupRecords({record('3', RecordKind::unsavedChanges), record('1', RecordKind::save),
                    record('2', RecordKind::unsavedChanges)});
  EXPECT_THAT(idsOf(groups.entries), ElementsAre(idOf('1'), idOf('2'), idOf('3')));
}

TEST(RecordGroups, entriesAreOrderedByTimeThenByID) {
  ListedRecord half = record('5', RecordKind::save, "/a", 100);
  half.header->created.nanoseconds = 500;
  const RecordGroups groups = groupRecords({record('9', RecordKind::save, "/b", 99), half,
                                            record('7', RecordKind::save, "/c", 100),
                                            record('6', RecordKind::save, "/c", 100)});
  EXPECT_THAT(idsOf(groups.entries), ElementsAre(idOf('9'), idOf('6'), idOf('7'), idOf('5')));
}

TEST(RecordGroups, filesThatAreNoRecordsAreToldApart) {
  const RecordGroups groups =
      groupRecords({withError('1', damagedRecordError()), withError('2', newerRecordError()),
                    withError('3', untrustedRecordError()), withError('4', Error::posix(EACCES))});
  EXPECT_THAT(groups.entries, IsEmpty());
  EXPECT_EQ(groups.damaged.at(0).id, idOf('1'));
  EXPECT_EQ(groups.newer.at(0).id, idOf('2'));
  EXPECT_EQ(groups.refused.at(0).id, idOf('3'));
  EXPECT_EQ(groups.refused.at(1).id, idOf('4'));
}

TEST(RecoveryTime, isShownInUTC) {
  EXPECT_EQ(utcText({0, 0}), "1970-01-01T00:00:00Z");
  EXPECT_EQ(utcText({1772366400, 999999999}), "2026-03-01T12:00:00Z");
  EXPECT_EQ(utcText({253402300799, 0}), "9999-12-31T23:59:59Z");
  EXPECT_EQ(utcText({253402300800, 0}), "invalid time");
  EXPECT_EQ(utcText({-1, 0}), "invalid time");
}

}  // namespace
}  // namespace quillmor::test
