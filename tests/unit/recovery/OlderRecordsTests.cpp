// Records that a save has left behind: of use to nobody, if the process of that save made them.

#include <gmock/gmock.h>

#include "recovery/JournalWriter.h"
#include "recovery/RecordNames.h"
#include "support/FaultySystemCalls.h"
#include "support/RecoveryFixture.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class OlderRecords : public RecoveryFixture {
 protected:
  static constexpr std::uint64_t kUnknown = 0;
  static constexpr const char* kSaved = "saved bytes";

  std::string leaveSnapshot() const { return records.leaveUnsaved(file, "older"); }
  std::string leaveSave() const { return records.leave(RecordKind::save, file, kSaved); }

  /// Leaves a journal of one edit in the file as it is now.
  std::string leaveJournal() const {
    RecordContent content = LeftRecords::contentOf(RecordKind::journal, file);
    content.header.setBaseDigest(contentDigest(bytesOf("on disk")));
    const auto journal = JournalWriter::create(records.store, std::move(content));
    std::vector<std::uint8_t> entries;
    JournalEntry{.actionName = "Edit", .offset = 7, .inserted = bytesOf("!")}.appendTo(entries);
    journal->append(entries);
    return journal->record().id();
  }

  /// Makes a record that of another process with the same number, as in a container, or of one that
  /// is not known.
  void setWriter(const std::string& id, std::uint64_t number) const {
    std::array<std::uint8_t, RecordHeader::kByteCount> bytes{};
    std::fstream record(records.path(id), std::ios::in | std::ios::out | std::ios::binary);
    record.read(reinterpret_cast<char*>(bytes.data()), std::ssize(bytes));
    RecordHeader header = RecordHeader::decoded(bytes);
    header.writerNumber = number;
    bytes = header.encoded();
    record.seekp(0);
    record.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
  }

  const std::uint64_t another = currentWriterNumber() ^ 1;
  const FileLocation file = folder.write("data.bin", "on disk");
};

TEST_F(OlderRecords, goWhenTheFileHasTheSaveOfTheirProcess) {
  const std::string snapshot = leaveSnapshot();
  const std::string journal = leaveJournal();
  const std::string save = leaveSave();
  folder.write("data.bin", kSaved);
  EXPECT_THAT(offeredIDs(), IsEmpty());
  for (const std::string& id : {snapshot, journal, save}) EXPECT_FALSE(records.exists(id));
}

TEST_F(OlderRecords, stayWhenAnotherProcessWithTheSameNumberMadeThem) {
  const std::string snapshot = leaveSnapshot();
  setWriter(snapshot, another);
  const std::string save = leaveSave();
  folder.write("data.bin", kSaved);
  EXPECT_THAT(offeredIDs(), ElementsAre(snapshot));
  EXPECT_FALSE(records.exists(save));
}

TEST_F(OlderRecords, stayWhenTheirProcessIsNotKnown) {
  const std::string snapshot = leaveSnapshot();
  const std::string save = leaveSave();
  setWriter(snapshot, kUnknown);
  setWriter(save, kUnknown);
  folder.write("data.bin", kSaved);
  EXPECT_THAT(offeredIDs(), ElementsAre(snapshot));
}

TEST_F(OlderRecords, stayWhenOnlyOneOfTheProcessesIsKnown) {
  const std::string snapshot = leaveSnapshot();
  const std::string save = leaveSave();
  setWriter(save, kUnknown);
  folder.write("data.bin", kSaved);
  EXPECT_THAT(offeredIDs(), ElementsAre(snapshot));
}

TEST_F(OlderRecords, areOfferedByThemselvesBesideATornFileOfAnotherProcess) {
  const std::string journal = leaveJournal();
  const std::string save = leaveSave();
  folder.write("data.bin", "sav");
  for (const std::uint64_t number : {another, kUnknown}) {
    setWriter(journal, number);
    EXPECT_THAT(offeredIDs(), UnorderedElementsAre(journal, save));
  }
  recovery.discard(recovery.find(save));
  EXPECT_TRUE(records.exists(journal));
}

TEST_F(OlderRecords, areDiscardedWithTheSaveThatIsFoundByItsID) {
  const std::string snapshot = leaveSnapshot();
  const std::string journal = leaveJournal();
  const std::string save = leaveSave();
  folder.write("data.bin", "sav");
  const RecoveryEntry offered = recovery.offer().entries.at(1);
  ASSERT_EQ(offered.id(), save);
  const RecoveryEntry found = recovery.find(save);
  ASSERT_EQ(found.older.size(), 1U);
  EXPECT_EQ(found.older.at(0).id, journal);
  EXPECT_EQ(offered.older.size(), found.older.size());
  EXPECT_TRUE(recovery.find(snapshot).older.empty());
  recovery.discard(found);
  EXPECT_FALSE(records.exists(save));
  EXPECT_FALSE(records.exists(journal));
  EXPECT_TRUE(records.exists(snapshot)) << "it can be recovered";
}

TEST_F(OlderRecords, ofOtherDocumentsAreLeftAloneWhereOneIsAskedFor) {
  const std::string snapshot = leaveSnapshot();
  const std::string save = leaveSave();
  const std::string damaged = leaveSnapshot();
  const std::string payload = leaveSnapshot();
  const std::string newer = leaveSnapshot();
  records.damage(damaged, 20);
  records.damage(payload, RecordHeader::kByteCount);
  std::fstream(records.path(newer), std::ios::in | std::ios::out | std::ios::binary)
      .seekp(8)
      .put(2);
  folder.write("data.bin", kSaved);
  const std::vector<FileLocation> others = {folder.write("other.bin", "other")};
  FaultySystemCalls listing;
  {
    const ScopedSystemCalls scope(listing);
    records.store.list(others);
  }
  FaultySystemCalls offering;
  {
    const ScopedSystemCalls scope(offering);
    const RecoveryOffer offer = recovery.offer(others);
    EXPECT_THAT(offer.entries, IsEmpty());
    EXPECT_THAT(offer.damaged, IsEmpty());
    EXPECT_THAT(offer.newer, IsEmpty());
  }
  EXPECT_EQ(offering.count(SystemCall::pread), listing.count(SystemCall::pread)) << "headers only";
  for (const std::string& id : {snapshot, save, damaged, payload, newer})
    EXPECT_TRUE(records.exists(id));
  // Asked for, they are judged as ever.
  const RecoveryOffer offer = recovery.offer(std::vector{file});
  EXPECT_THAT(offer.entries, IsEmpty());
  EXPECT_THAT(offer.newer, ElementsAre(newer + ".qrec"));
  for (const std::string& id : {snapshot, save, damaged, payload}) EXPECT_FALSE(records.exists(id));
}

}  // namespace
}  // namespace quillmor::test
