#include "recovery/Recovery.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "support/ErrorMatchers.h"
#include "support/FaultySystemCalls.h"
#include "support/RecoveryFixture.h"

namespace quillmor::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class RecoveryTest : public RecoveryFixture {
 protected:
  const FileLocation file = folder.write("data.bin", "on disk");
};

TEST_F(RecoveryTest, offersNothingWithoutRecords) {
  const RecoveryOffer offer = recovery.offer();
  EXPECT_THAT(offer.entries, IsEmpty());
  EXPECT_THAT(offer.damaged, IsEmpty());
}

TEST_F(RecoveryTest, offersWhatDiffersFromTheFile) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  const RecoveryOffer offer = recovery.offer();
  ASSERT_EQ(offer.entries.size(), 1U);
  EXPECT_EQ(offer.entries[0].id(), id);
  EXPECT_EQ(offer.entries[0].byteCount, 7);
  EXPECT_EQ(offer.entries[0].file, file);
  EXPECT_TRUE(records.exists(id));
  EXPECT_EQ(TemporaryFolder::read(file), "on disk");
}

TEST_F(RecoveryTest, removesSilentlyWhatTheFileHasAlready) {
  for (const RecordKind kind : {RecordKind::save, RecordKind::unsavedChanges}) {
    const std::string id = records.leave(kind, file, "on disk");
    EXPECT_THAT(offeredIDs(), IsEmpty());
    EXPECT_FALSE(records.exists(id));
  }
}

TEST_F(RecoveryTest, keepsWhatTheFileMayHaveInMemoryOnly) {
  const std::string id = records.leave(RecordKind::save, file, "on disk");
  {
    FaultySystemCalls faulty;
    faulty.fail(SystemCall::fsync, FaultySystemCalls::kEvery, EIO);
    const ScopedSystemCalls scope(faulty);
    EXPECT_THAT(offeredIDs(), IsEmpty());
    EXPECT_TRUE(records.exists(id));
  }
  EXPECT_THAT(offeredIDs(), IsEmpty());
  EXPECT_FALSE(records.exists(id));
}

TEST_F(RecoveryTest, neverRemovesWhatDiffersInOneByteOrInItsLength) {
  for (const char* const payload : {"on disc", "on dis", "on disk ", ""}) {
    const std::string id = records.leaveUnsaved(file, payload);
    EXPECT_THAT(offeredIDs(), ElementsAre(id)) << payload;
    records.store.discard(recovery.find(id).record);
  }
}

TEST_F(RecoveryTest, listingRemovesNothingAndSetsNothingAside) {
  const std::string same = records.leaveUnsaved(file, "on disk");
  const std::string broken = records.leaveUnsaved(file, "unsaved");
  records.damage(broken, RecordHeader::kByteCount);
  const RecoveryOffer listed = recovery.list();
  ASSERT_EQ(listed.entries.size(), 1U);
  EXPECT_EQ(listed.entries[0].id(), same);
  EXPECT_THAT(listed.damaged, ElementsAre(broken + ".qrec"));
  EXPECT_TRUE(records.exists(same));
  EXPECT_TRUE(records.exists(broken));
}

TEST_F(RecoveryTest, severalRecordsOfOneFileAreAllOffered) {
  const std::string first = records.leaveUnsaved(file, "first");
  const std::string second = records.leave(RecordKind::save, file, "second");
  EXPECT_THAT(offeredIDs(), UnorderedElementsAre(first, second));
}

TEST_F(RecoveryTest, skipsTheRecordsOfLivingProcesses) {
  const auto held = records.store.write(LeftRecords::contentOf(RecordKind::unsavedChanges, file),
                                        bytesOf("unsaved"));
  EXPECT_THAT(offeredIDs(), IsEmpty());
  EXPECT_THAT([&] { recovery.find(held->id()); },
              failsWith(3105, "This record belongs to a running Quillmor."));
  EXPECT_TRUE(records.exists(held->id()));
}

TEST_F(RecoveryTest, setsDamagedRecordsAsideAndMentionsThem) {
  const std::string header = records.leaveUnsaved(file, "unsaved");
  const std::string payload = records.leaveUnsaved(file, "unsaved");
  const std::string whole = records.leaveUnsaved(file, "unsaved");
  records.damage(header, 20);
  records.damage(payload, RecordHeader::kByteCount + 3);
  const RecoveryOffer offer = recovery.offer();
  ASSERT_EQ(offer.entries.size(), 1U);
  EXPECT_EQ(offer.entries[0].id(), whole);
  EXPECT_THAT(offer.damaged, UnorderedElementsAre(header + ".qrec", payload + ".qrec"));
  for (const std::string& id : {header, payload}) {
    EXPECT_FALSE(records.exists(id));
    EXPECT_TRUE(std::filesystem::exists(records.path(id).native() + ".bad"));
  }
  EXPECT_THAT(recovery.offer().damaged, IsEmpty());
}

TEST_F(RecoveryTest, leavesNewerRecordsAloneAndNamesThem) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  std::fstream(records.path(id), std::ios::in | std::ios::out | std::ios::binary).seekp(8).put(2);
  const RecoveryOffer offer = recovery.offer();
  EXPECT_THAT(offer.entries, IsEmpty());
  EXPECT_THAT(offer.newer, ElementsAre(id + ".qrec"));
  EXPECT_TRUE(records.exists(id));
  EXPECT_THAT([&] { recovery.find(id); }, failsWith(3102, newerRecordError().message()));
}

TEST_F(RecoveryTest, refusesRecordsThatOthersMayHaveWritten) {
  const std::string open = records.leaveUnsaved(file, "unsaved");
  const std::string linked = records.leaveUnsaved(file, "unsaved");
  const std::string symbolic = records.leaveUnsaved(file, "unsaved");
  ::chmod(records.path(open).c_str(), 0640);
  std::filesystem::create_hard_link(records.path(linked), folder.path() / "second name");
  std::filesystem::rename(records.path(symbolic), folder.path() / "elsewhere");
  std::filesystem::create_symlink(folder.path() / "elsewhere", records.path(symbolic));
  const RecoveryOffer offer = recovery.offer();
  EXPECT_THAT(offer.entries, IsEmpty());
  EXPECT_THAT(offer.refused,
              UnorderedElementsAre(open + ".qrec", linked + ".qrec", symbolic + ".qrec"));
  EXPECT_THAT(offer.damaged, IsEmpty());
  for (const std::string& id : {open, linked, symbolic}) EXPECT_TRUE(records.exists(id));
}

TEST_F(RecoveryTest, refusesTheRecordOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give files away";
  const std::string id = records.leaveUnsaved(file, "unsaved");
  ASSERT_EQ(::chown(records.path(id).c_str(), 1, 1), 0);
  EXPECT_THAT(recovery.offer().refused, ElementsAre(id + ".qrec"));
  EXPECT_THAT([&] { recovery.find(id); }, failsWith(3103, untrustedRecordError().message()));
}

TEST_F(RecoveryTest, anUnknownIDIsNoRecord) {
  for (const char* const id : {"", "ID", "../data.bin"})
    EXPECT_THAT([&] { recovery.find(id); }, failsWith(3104, "There is no such recovery record."));
}

TEST_F(RecoveryTest, recoversBytesPlaceAndStatus) {
  const std::string id = records.leaveUnsaved(
      file, "unsaved", {.caretOffset = 3, .selection = {2, 4}, .bookmarks = {0, 7}});
  const RecoveredDocument document = recover(id);
  EXPECT_EQ(textOf(document.bytes.span()), "unsaved");
  EXPECT_EQ(document.location, file);
  EXPECT_EQ(document.knownFile->status, SecureFileAccess::fileStatus(file, FollowSymlinks::no));
  EXPECT_EQ(document.places.caretOffset, 3);
  EXPECT_EQ(document.places.selection, (HexSelection{2, 4}));
  EXPECT_THAT(document.places.bookmarks, ElementsAre(0, 7));
}

TEST_F(RecoveryTest, placesBeyondTheBytesAreClipped) {
  const std::string id =
      records.leaveUnsaved(file, "unsaved", {.caretOffset = 99, .selection = {5, 99}});
  const RecoveredDocument document = recover(id);
  EXPECT_EQ(document.places.caretOffset, 7);
  EXPECT_EQ(document.places.selection, (HexSelection{5, 2}));
}

TEST_F(RecoveryTest, anUntitledDocumentHasNoLocation) {
  const RecoveredDocument document = recover(records.leaveUnsaved(std::nullopt, "typed"));
  EXPECT_EQ(textOf(document.bytes.span()), "typed");
  EXPECT_FALSE(document.location);
  EXPECT_FALSE(document.knownFile);
}

TEST_F(RecoveryTest, aDocumentWhoseFileHasGoneHasNoLocation) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  std::filesystem::remove(file.path());
  EXPECT_THAT(offeredIDs(), ElementsAre(id));
  EXPECT_FALSE(recover(id).location);
  // Nor has one with a folder or a link in its place.
  std::filesystem::create_directory(file.path());
  EXPECT_FALSE(recover(id).location);
  std::filesystem::remove(file.path());
  std::filesystem::create_symlink(folder.write("other", "unsaved").path(), file.path());
  EXPECT_THAT(offeredIDs(), ElementsAre(id));
  EXPECT_FALSE(recover(id).location);
}

TEST_F(RecoveryTest, aFileThatAnotherProgramChangedIsKnownAsItWas) {
  const auto before = SecureFileAccess::fileStatus(file, FollowSymlinks::no);
  const std::string id = records.leaveUnsaved(file, "unsaved");
  folder.write("data.bin", "by another program");
  const RecoveredDocument document = recover(id);
  EXPECT_EQ(document.knownFile->status, before);
  EXPECT_TRUE(document.knownFile->hasChanged(SecureFileAccess::documentDestination(file)));
}

TEST_F(RecoveryTest, aFileThatAppearedSinceIsAnotherPrograms) {
  const FileLocation late = folder.location("late.bin");
  const std::string id = records.leaveUnsaved(late, "unsaved");
  folder.write("late.bin", "by another program");
  const RecoveredDocument document = recover(id);
  EXPECT_EQ(document.location, late);
  EXPECT_TRUE(document.knownFile->hasChanged(SecureFileAccess::documentDestination(late)));
}

TEST_F(RecoveryTest, whatAnInterruptedSaveLeftIsNoChangeByAnotherProgram) {
  const std::string id = records.leave(RecordKind::save, file, "new bytes");
  for (const char* const torn : {"", "new", "new byte"}) {
    folder.write("data.bin", torn);
    EXPECT_THAT(offeredIDs(), ElementsAre(id));
    const auto known = recover(id).knownFile;
    EXPECT_FALSE(known->hasChanged(SecureFileAccess::documentDestination(file))) << torn;
  }
  folder.write("data.bin", "neX");
  EXPECT_TRUE(recover(id).knownFile->hasChanged(SecureFileAccess::documentDestination(file)));
}

TEST_F(RecoveryTest, theBeginningIsNoProofForUnsavedChanges) {
  const std::string id = records.leaveUnsaved(file, "on disk and more");
  folder.write("data.bin", "on");
  EXPECT_TRUE(recover(id).knownFile->hasChanged(SecureFileAccess::documentDestination(file)));
}

TEST_F(RecoveryTest, aRecordBesideItsFileIsFoundWithTheFile) {
  const FileLocation openToAll = folder.location("open to all");
  std::filesystem::create_directory(openToAll.path());
  ::chmod(openToAll.path().c_str(), 0755);
  const std::string id =
      RecordStore(openToAll)
          .write(LeftRecords::contentOf(RecordKind::unsavedChanges, file), bytesOf("unsaved"))
          ->id();
  EXPECT_THAT(offeredIDs(), IsEmpty());
  const std::vector<FileLocation> documents = {file, folder.location("no folder/other")};
  const RecoveryOffer offer = recovery.offer(documents);
  ASSERT_EQ(offer.entries.size(), 1U);
  EXPECT_EQ(offer.entries[0].id(), id);
  EXPECT_EQ(textOf(recovery.recover(offer.entries[0]).bytes.span()), "unsaved");
  recovery.discard(offer.entries[0]);
  EXPECT_THAT(offeredIDs(documents), IsEmpty());
}

TEST_F(RecoveryTest, otherDocumentsAreLeftOutWhereOneIsAskedFor) {
  records.leaveUnsaved(folder.write("other", ""), "unsaved");
  records.leaveUnsaved(std::nullopt, "unsaved");
  const std::string id = records.leaveUnsaved(file, "unsaved");
  EXPECT_THAT(offeredIDs(std::vector{file}), ElementsAre(id));
  EXPECT_EQ(offeredIDs().size(), 3U);
}

TEST_F(RecoveryTest, discardingRemovesTheRecord) {
  const std::string id = records.leaveUnsaved(file, "unsaved");
  const RecoveryEntry entry = recovery.find(id);
  recovery.discard(entry);
  EXPECT_FALSE(records.exists(id));
  // Another process may have been faster.
  recovery.discard(entry);
  EXPECT_EQ(TemporaryFolder::read(file), "on disk");
}

TEST_F(RecoveryTest, aStopRequestEndsIt) {
  records.leaveUnsaved(file, "unsaved");
  TaskProgress progress;
  progress.requestStop();
  EXPECT_THAT([&] { recovery.offer({}, &progress); },
              testing::Throws<Error>(testing::Property(&Error::isStopped, true)));
}

}  // namespace
}  // namespace quillmor::test
