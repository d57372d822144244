// Records that are to go: because the document is saved, and when the disk does not let them.

#include "recovery/UnsavedRecords.h"

#include <gmock/gmock.h>

#include "document/DocumentLoader.h"
#include "support/FaultySystemCalls.h"
#include "support/UnsavedChangesFixture.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

class UnsavedRecordsTest : public UnsavedChangesFixture {
 protected:
  /// Leaves a snapshot and a journal on it.
  FileLocation openWithRecords() {
    const FileLocation location = open("abc");
    insert(0, {'1'});
    pass(5s);
    insert(0, {'2'});
    pass(1s);
    EXPECT_EQ(store.list().size(), 2U);
    return location;
  }

  /// Undoes everything while no record can be removed.
  void undoWithoutRemoval() {
    FaultySystemCalls calls;
    calls.fail(SystemCall::unlinkat, FaultySystemCalls::kEvery, EIO);
    const ScopedSystemCalls scope(calls);
    while (session.undo()) continue;
    pass(0ms);
    EXPECT_EQ(calls.count(SystemCall::unlinkat), 2);
  }
};

TEST_F(UnsavedRecordsTest, goAtOnceWhenAFileHasTheDocument) {
  openWithRecords();
  insert(0, {'3'});  // still in the queue
  changes.removalOnceSaved()();
  EXPECT_TRUE(store.list().empty());
  EXPECT_EQ(changes.bytesOnDisk(), 0);
  pass(1s);
  EXPECT_EQ(count(RecordKind::journal), 0) << "nothing may begin with a file that is not known";
}

TEST_F(UnsavedRecordsTest, stayWhenTheDocumentHasChangedSince) {
  openWithRecords();
  const auto remove = changes.removalOnceSaved();
  insert(0, {'3'});
  remove();
  EXPECT_EQ(store.list().size(), 2U);
  pass(1s);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedRecordsTest, haveWhatIsEditedAfterTheFileHasTheRest) {
  const FileLocation location = openWithRecords();
  const auto remove = changes.removalOnceSaved();
  const auto token = document->changeCountToken();
  remove();
  insert(0, {'4'});
  folder.write("file.bin", "21abc");
  document->didSave(location, loadDocument(location).known, token);
  changes.documentDidChange();
  pass(5s);
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
}

TEST_F(UnsavedRecordsTest, areNotRemovedWhereNothingIsKept) {
  open("abc");
  changes.setKeeping(false);
  EXPECT_FALSE(changes.removalOnceSaved());
  changes.setKeeping(true);
  EXPECT_FALSE(changes.removalOnceSaved()) << "nothing is recorded yet";
  insert(0, {'1'});
  EXPECT_TRUE(changes.removalOnceSaved());
}

/// A save of what is saved already removes nothing, and the next key is in the journal as ever.
TEST_F(UnsavedRecordsTest, followAnEditAfterASaveOfTheSameBytes) {
  open("abc");
  if (const auto remove = changes.removalOnceSaved()) remove();
  changes.documentDidChange();
  insert(0, {'1'});
  pass(1s);
  EXPECT_EQ(count(RecordKind::journal), 1);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedRecordsTest, areTriedAgainLaterWhenTheyCannotBeRemoved) {
  openWithRecords();
  undoWithoutRemoval();
  EXPECT_EQ(store.list().size(), 2U);
  EXPECT_GT(changes.bytesOnDisk(), 0);
  pass(29s);
  EXPECT_EQ(store.list().size(), 2U);
  pass(1s);
  EXPECT_TRUE(store.list().empty());
  EXPECT_EQ(changes.bytesOnDisk(), 0);
}

TEST_F(UnsavedRecordsTest, areTriedAgainAsOftenAsItTakes) {
  openWithRecords();
  undoWithoutRemoval();
  {
    FaultySystemCalls calls;
    calls.fail(SystemCall::unlinkat, FaultySystemCalls::kEvery, EIO);
    const ScopedSystemCalls scope(calls);
    for (int tries = 0; tries < 3; ++tries) pass(30s);
    EXPECT_EQ(calls.count(SystemCall::unlinkat), 6);
  }
  pass(30s);
  EXPECT_TRUE(store.list().empty());
}

TEST_F(UnsavedRecordsTest, wakeNobodyOnceTheyHaveGone) {
  openWithRecords();
  undoWithoutRemoval();
  pass(30s);
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  for (int hour = 0; hour < 10; ++hour) pass(1h);
  EXPECT_TRUE(calls.log().empty());
}

TEST_F(UnsavedRecordsTest, areTriedAgainWhenTheWindowCloses) {
  openWithRecords();
  undoWithoutRemoval();
  changes.retryRemovals();
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty());
}

TEST_F(UnsavedRecordsTest, goAndComeAgainWithTheWishToKeepThem) {
  openWithRecords();
  changes.setKeeping(false);
  EXPECT_EQ(store.list().size(), 2U) << "the disk is left to another thread";
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty());
  insert(0, {'3'});
  changes.contentWasReplaced();
  pass(1min);
  EXPECT_TRUE(store.list().empty());
  EXPECT_FALSE(changes.keepNow());
  EXPECT_FALSE(changes.failure()) << "nothing has failed";
  changes.setKeeping(true);
  pass(5s);
  EXPECT_EQ(recoveredBytes(), bytes());
  insert(0, {'4'});
  pass(1s);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedRecordsTest, thatARecoveryHasLeftGoToo) {
  open("abc");
  insert(0, {'1'});
  int kept = 0;
  changes.whenKept([&] { ++kept; });
  changes.setKeeping(false);
  EXPECT_EQ(kept, 1);
}

TEST_F(UnsavedRecordsTest, goToASnapshotWhenAnotherProgramChangesTheFile) {
  open("abc");
  insert(0, {'1'});
  pass(1s);
  ASSERT_EQ(count(RecordKind::journal), 1);
  changes.fileWasChanged();
  pass(5s);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_EQ(recoveredBytes(), bytes());
  const auto generation = store.list().front().id;
  changes.fileWasChanged();
  pass(1min);
  EXPECT_EQ(store.list().front().id, generation) << "the snapshot has everything";
}

TEST_F(UnsavedRecordsTest, haveNoSnapshotFromWhenItIsToGo) {
  UnsavedRecords records(store);
  RecordContent content;
  content.header.kind = RecordKind::unsavedChanges;
  records.install(store.write(content, bytes()), records.generation());
  EXPECT_TRUE(records.hasSnapshot());
  records.forget();
  EXPECT_FALSE(records.hasSnapshot());
  EXPECT_EQ(store.list().size(), 1U) << "the disk is left to another thread";
  records.flush();
  EXPECT_FALSE(records.hasSnapshot());
  EXPECT_TRUE(store.list().empty());
}

TEST_F(UnsavedRecordsTest, goToASnapshotWhenTheFileChangesBeforeTheOldOneHasGone) {
  // So large that the next snapshot waits, unless nothing else has the changes.
  open(std::string(static_cast<std::size_t>(SnapshotSchedule::kSmallByteCount), 'x'));
  insert(0, {'1'});
  pass(5s);
  ASSERT_EQ(count(RecordKind::unsavedChanges), 1);
  session.undo();
  ASSERT_EQ(count(RecordKind::unsavedChanges), 1) << "the disk is left to another thread";
  insert(0, {'2'});
  changes.fileWasChanged();
  folder.write("file.bin", "by another program");
  pass(5s);
  pass(1min);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_EQ(count(RecordKind::journal), 0) << "it would begin with a file that is not there";
  EXPECT_TRUE(recoveredBytes() == bytes());
}

TEST_F(UnsavedRecordsTest, beginWithASnapshotWhenTheFileHasOtherBytesAlready) {
  open("abc");
  changes.fileWasChanged();
  pass(1min);
  EXPECT_TRUE(store.list().empty()) << "nothing is unsaved";
  insert(0, {'1'});
  pass(1s);
  EXPECT_EQ(count(RecordKind::journal), 0);
  pass(4s);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_EQ(recoveredBytes(), bytes());
}

}  // namespace
}  // namespace quillmor::test
