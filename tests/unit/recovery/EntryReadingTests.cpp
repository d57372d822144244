// A journal that begins with its document's file, when something has happened to that file.

#include "recovery/EntryReading.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "recovery/JournalWriter.h"
#include "support/ErrorMatchers.h"
#include "support/RecoveryFixture.h"

namespace quillmor::test {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class JournalOfAFile : public RecoveryFixture {
 protected:
  enum class Digest { known, unknown };

  /// Leaves a journal that makes "on disk" end with "!"; returns its ID.
  std::string leaveJournal(Digest digest = Digest::known) {
    RecordContent content = LeftRecords::contentOf(RecordKind::journal, file);
    if (digest == Digest::known) content.header.setBaseDigest(contentDigest(bytesOf("on disk")));
    const auto journal = JournalWriter::create(records.store, std::move(content));
    std::vector<std::uint8_t> entries;
    JournalEntry{.actionName = "Edit",
                 .offset = 7,
                 .removedCount = 0,
                 .inserted = bytesOf("!"),
                 .caretOffset = 8}
        .appendTo(entries);
    journal->append(entries);
    return journal->record().id();
  }

  void touch() const { fs::last_write_time(file.path(), fs::file_time_type::clock::now() - 1h); }

  std::string recoveredText(const std::string& id) const {
    return textOf(recover(id).bytes.span());
  }

  void expectChangedBase(const std::string& id) const {
    EXPECT_THAT([&] { recover(id); }, failsWith(2810, changedBaseError().message()));
    const RecoveryOffer offer = recovery.offer();
    ASSERT_EQ(offer.entries.size(), 1U);
    EXPECT_TRUE(offer.entries[0].problem);
    EXPECT_TRUE(records.exists(id));
  }

  const FileLocation file = folder.write("data.bin", "on disk");
};

TEST_F(JournalOfAFile, isReplayedOnTheFileAsItWas) {
  const std::string id = leaveJournal();
  EXPECT_EQ(recoveredText(id), "on disk!");
  EXPECT_EQ(recoveredText(leaveJournal(Digest::unknown)), "on disk!");
}

TEST_F(JournalOfAFile, isReplayedOnAFileThatWasMerelyTouched) {
  const std::string id = leaveJournal();
  touch();
  ::chmod(file.path().c_str(), 0600);
  EXPECT_EQ(recoveredText(id), "on disk!");
  EXPECT_THAT(offeredIDs(), testing::ElementsAre(id));
}

TEST_F(JournalOfAFile, isReplayedOnAnotherFileWithTheSameBytes) {
  const std::string id = leaveJournal();
  fs::rename(folder.write("new", "on disk").path(), file.path());
  EXPECT_EQ(recoveredText(id), "on disk!");
}

TEST_F(JournalOfAFile, leavesATouchedFileKnownAsItIsNow) {
  const std::string id = leaveJournal();
  touch();
  const RecoveredDocument document = recover(id);
  ASSERT_TRUE(document.knownFile);
  EXPECT_EQ(document.knownFile->status, SecureFileAccess::fileStatus(file, FollowSymlinks::no));
  const auto hasChanged = [&] {
    return document.knownFile->hasChanged(SecureFileAccess::documentDestination(file));
  };
  EXPECT_FALSE(hasChanged()) << "a save has nothing to ask";
  touch();
  EXPECT_FALSE(hasChanged());
  folder.write("data.bin", "On disk");
  EXPECT_TRUE(hasChanged());
}

TEST_F(JournalOfAFile, isOfNoUseBesideOtherBytes) {
  const std::string id = leaveJournal();
  for (const char* const other : {"on disc", "on dis", "on disk ", ""}) {
    folder.write("data.bin", other);
    expectChangedBase(id);
  }
  folder.write("data.bin", "on disk");
  EXPECT_EQ(recoveredText(id), "on disk!") << "the bytes are back";
}

TEST_F(JournalOfAFile, withoutADigestIsOfNoUseBesideATouchedFile) {
  const std::string id = leaveJournal(Digest::unknown);
  touch();
  expectChangedBase(id);
}

TEST_F(JournalOfAFile, saysThatItsLastEditsWereNotRecordedWhole) {
  const std::string id = leaveJournal();
  EXPECT_FALSE(recovery.offer().entries.at(0).isCutOff);
  EXPECT_FALSE(recover(id).isCutOff);
  std::ofstream(records.path(id), std::ios::app | std::ios::binary) << "part of an entry";
  EXPECT_TRUE(recovery.offer().entries.at(0).isCutOff);
  EXPECT_TRUE(recovery.list().entries.at(0).isCutOff);
  EXPECT_TRUE(recover(id).isCutOff);
  EXPECT_EQ(recoveredText(id), "on disk!");
}

}  // namespace
}  // namespace quillmor::test
