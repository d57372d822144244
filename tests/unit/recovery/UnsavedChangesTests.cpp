#include "recovery/UnsavedChanges.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "document/DocumentLoader.h"
#include "support/FailingAllocation.h"
#include "support/FaultySystemCalls.h"
#include "support/UnsavedChangesFixture.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

class UnsavedChangesTest : public UnsavedChangesFixture {};

TEST_F(UnsavedChangesTest, keepsNothingOfADocumentWithoutChanges) {
  open("abc");
  pass(1h);
  EXPECT_TRUE(store.list().empty());
  EXPECT_FALSE(folder.exists("state"));
  EXPECT_TRUE(changes.keepNow());
  EXPECT_EQ(changes.bytesOnDisk(), 0);
}

TEST_F(UnsavedChangesTest, hasTheFirstEditInAJournalOnTheFile) {
  open("abc");
  insert(1, {'x', 'y'}, "Paste");
  platform.executor.runAll();
  const auto found = recovered();
  ASSERT_TRUE(found);
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(found->entryCount, 1);
  EXPECT_EQ(found->places.caretOffset, 1);
  EXPECT_EQ(found->places.selection, (HexSelection{1, 2}));
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  EXPECT_GT(changes.bytesOnDisk(), RecordHeader::kByteCount);
}

TEST_F(UnsavedChangesTest, hasTheEditsOfAnUntitledDocument) {
  document->setUntitledNumber(3);
  insert(0, {'x'});
  platform.executor.runAll();
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(store.list().front().header->untitledNumber, 3U);
  EXPECT_EQ(store.list().front().header->path, "");
}

TEST_F(UnsavedChangesTest, writesTheJournalOnceASecondAtMost) {
  open("abc");
  insert(0, {'1'});
  platform.executor.runAll();
  insert(0, {'2'});
  pass(999ms);
  EXPECT_EQ(recovered()->entryCount, 1);
  insert(0, {'3'});
  pass(1ms);
  EXPECT_EQ(recovered()->entryCount, 3);
  EXPECT_EQ(recoveredBytes(), bytes());
  pass(1001ms);
  insert(0, {'4'});
  platform.executor.runAll();
  EXPECT_EQ(recovered()->entryCount, 4);
}

TEST_F(UnsavedChangesTest, writesASnapshotFiveSecondsAfterTheLastEdit) {
  open("abc");
  session.bookmarks().replaceAll({0, 3});
  insert(0, {'1'});
  pass(4s);
  insert(0, {'2'});
  pass(4999ms);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  pass(1ms);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_EQ(count(RecordKind::journal), 0) << "the snapshot has taken its place";
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_THAT(recovered()->places.bookmarks, testing::ElementsAre(2, 5));
  EXPECT_EQ(changes.bytesOnDisk(), RecordHeader::kByteCount + 5 + 16);
}

TEST_F(UnsavedChangesTest, writesASnapshotHalfAMinuteAfterTheFirstEdit) {
  open("abc");
  for (int second = 0; second <= 28; second += 4) {
    insert(0, {'1'});
    pass(second < 28 ? 4s : 1999ms);
  }
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  EXPECT_EQ(recoveredBytes(), bytes());
  pass(1ms);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
}

TEST_F(UnsavedChangesTest, writesASnapshotAfterThreeHundredEdits) {
  open("abc");
  for (int edit = 1; edit <= 299; ++edit) insert(0, {'1'});
  platform.executor.runAll();
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  insert(0, {'1'});
  platform.executor.runAll();
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, beginsANewJournalOnTheSnapshot) {
  open("abc");
  insert(0, {'1'});
  pass(5s);
  const std::string first = store.list().front().id;
  insert(1, {'2'});
  pass(1s);
  EXPECT_EQ(count(RecordKind::journal), 1);
  EXPECT_EQ(recovered()->entryCount, 1);
  EXPECT_EQ(recoveredBytes(), bytes());
  pass(5s);
  ASSERT_EQ(store.list().size(), 1U);
  EXPECT_NE(store.list().front().id, first);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, asksForNoWakeUpOnceEverythingIsWritten) {
  open("abc");
  insert(0, {'1'});
  pass(10s);
  FaultySystemCalls calls;
  const ScopedSystemCalls scope(calls);
  for (int hour = 0; hour < 100; ++hour) {
    pass(1h);
    EXPECT_FALSE(platform.executor.hasWork());
  }
  EXPECT_TRUE(calls.log().empty());
  EXPECT_TRUE(changes.keepNow());
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
}

TEST_F(UnsavedChangesTest, stopsASnapshotThatHasNotBegunAndSharesNothingWithIt) {
  open("abc");
  insert(0, {'1'});
  platform.executor.runAll();
  now += 5s;
  platform.executor.advance(5s);
  platform.executor.runPosted();
  ASSERT_TRUE(platform.executor.hasWork());
  const std::uint8_t* const before = session.bytes().data();
  session.editor().setCaretOffset(1);
  session.editor().setEditingArea(EditingArea::ascii);
  session.editor().handleTextInput("z");
  EXPECT_EQ(session.bytes().data(), before) << "the bytes were copied";
  platform.executor.runAll();
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  pass(1s);
  EXPECT_EQ(recoveredBytes(), bytes());
  pass(5s);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_TRUE(failures.empty());
}

TEST_F(UnsavedChangesTest, doesNotInstallASnapshotOfBytesThatHaveChangedSince) {
  open("abc");
  insert(0, {'1'});
  pass(1s);
  FaultySystemCalls calls;
  // The record is past its last look at the stop request. The main thread waits meanwhile.
  calls.before(SystemCall::fsync, 1, [&] { insert(0, {'2'}); });
  const ScopedSystemCalls scope(calls);
  pass(5s);
  EXPECT_EQ(session.bytes()[0], '2');
  EXPECT_EQ(calls.count(SystemCall::renameat), 1);
  pass(1s);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, removesTheRecordsOnceTheDocumentIsSaved) {
  const FileLocation location = open("abc");
  insert(0, {'1'});
  pass(5s);
  insert(0, {'2'});
  pass(1s);
  ASSERT_EQ(store.list().size(), 2U);
  insert(0, {'3'});  // still in the queue
  const auto token = document->changeCountToken();
  folder.write("file.bin", "321abc");
  document->didSave(location, loadDocument(location).known, token);
  changes.documentDidChange();
  pass(0ms);
  EXPECT_TRUE(store.list().empty());
  EXPECT_EQ(changes.bytesOnDisk(), 0);
  pass(1h);
  EXPECT_TRUE(store.list().empty());
  insert(0, {'4'});
  pass(1s);
  EXPECT_EQ(recovered()->entryCount, 1);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, removesTheRecordsOnUndoBackToTheSavedState) {
  open("abc");
  insert(0, {'1'});
  pass(1s);
  ASSERT_EQ(store.list().size(), 1U);
  session.undo();
  pass(0ms);
  EXPECT_TRUE(store.list().empty());
  session.redo();
  pass(1s);
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(recovered()->entryCount, 1);
}

TEST_F(UnsavedChangesTest, recordsAnUndoPastTheSavedState) {
  const FileLocation location = open("abc");
  insert(0, {'1'});
  folder.write("file.bin", "1abc");
  document->didSave(location, loadDocument(location).known, document->changeCountToken());
  changes.documentDidChange();
  pass(2s);
  session.undo();
  pass(1s);
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(recovered()->entryCount, 1);
}

TEST_F(UnsavedChangesTest, removesTheRecordsThatTheUserDoesNotWant) {
  open("abc");
  insert(0, {'1'});
  pass(5s);
  insert(0, {'1'});
  changes.discard();
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty());
}

TEST_F(UnsavedChangesTest, removesARecordThatIsWrittenWhenItIsNotWantedAnyMore) {
  open("abc");
  insert(0, {'1'});
  platform.executor.advance(5s);
  now += 5s;
  platform.executor.runPosted();
  while (platform.executor.runOneWork()) changes.discard();
  platform.executor.runAll();
  EXPECT_TRUE(store.list().empty());
}

TEST_F(UnsavedChangesTest, leavesTheRecordsWhenItEndsOtherwise) {
  {
    UnsavedChanges other(document, platform.executor, &store,
                         {.places = [] { return EditorPlaces{}; }});
    session.removeEditRecorder(changes);
    session.addEditRecorder(other);
    insert(0, {'1'});
    platform.executor.runAll();
    session.removeEditRecorder(other);
  }
  platform.executor.runAll();
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, leavesAnEditLargerThanTheQueueToASnapshot) {
  open("abc");
  insert(0, Bytes(kMiB, 1));
  pass(0ms);
  EXPECT_EQ(recoveredBytes(), bytes());
  insert(0, Bytes(16 * kMiB, 1));
  insert(0, {'1'});
  pass(2s);
  EXPECT_EQ(recovered()->entryCount, 1) << "no entry may follow the hole";
  pass(2999ms);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  pass(1ms);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_EQ(recoveredBytes(), bytes());
  insert(0, {'2'});
  pass(1s);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, leavesEditsBeyondAFullQueueToASnapshot) {
  open("abc");
  insert(0, {'1'});
  // None of these is flushed before the next second.
  for (int edit = 0; edit < 17; ++edit) insert(0, Bytes(kMiB, 1));
  pass(1s);
  EXPECT_EQ(recovered()->entryCount, 16);
  pass(4s);
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
}

TEST_F(UnsavedChangesTest, recordsADocumentThatIsUnsavedWithoutAnEdit) {
  open("abc");
  document->makeSavedStateUnreachable();
  changes.documentDidChange();
  pass(5s);
  EXPECT_EQ(recoveredBytes(), bytes());
  insert(0, {'1'});
  pass(1s);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, recordsAnUntitledDocumentThatBeginsWithBytes) {
  document->readData({1, 2, 3});
  document->updateChangeCount(ChangeCount::Change::cleared);
  insert(0, {'1'});
  pass(4999ms);
  EXPECT_EQ(count(RecordKind::journal), 0) << "there is nothing that a journal could begin with";
  pass(1ms);
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, beginsAnewWhenItsFileIsNotTheOneThatItBeganWith) {
  const FileLocation location = open("abc");
  insert(0, {'1'});
  pass(1s);
  folder.write("file.bin", "torn");
  document->setKnownFile(loadDocument(location).known);
  insert(0, {'2'});
  pass(1s);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
  pass(4s);
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(count(RecordKind::journal), 0);
}

#if QUILLMOR_NEW_CAN_FAIL

TEST_F(UnsavedChangesTest, recordsWhatComesAfterAnEditThatFailed) {
  open("abc");
  const Bytes inserted{'1'};
  {
    const FailingAllocation failing;
    EXPECT_THROW(insert(0, inserted), std::bad_alloc);
  }
  // No edit: only the document can tell of it.
  document->makeSavedStateUnreachable();
  changes.documentDidChange();
  pass(5s);
  EXPECT_EQ(recoveredBytes(), bytes());
}

#endif

TEST_F(UnsavedChangesTest, keepsNothingWithoutAStore) {
  UnsavedChanges none(document, platform.executor, nullptr,
                      {.places = [] { return EditorPlaces{}; }});
  session.removeEditRecorder(changes);
  session.addEditRecorder(none);
  insert(0, {'1'});
  none.documentDidChange();
  none.contentWasReplaced();
  pass(1h);
  EXPECT_FALSE(none.keepNow());
  EXPECT_FALSE(none.failure());
  EXPECT_EQ(none.bytesOnDisk(), 0);
  none.discard();
  EXPECT_FALSE(folder.exists("state"));
}

// The end of the process.

TEST_F(UnsavedChangesTest, keepsWhatIsQueuedAtOnceInTheJournal) {
  open("abc");
  insert(0, {'1'});
  pass(0ms);
  insert(0, {'2'});
  EXPECT_TRUE(changes.keepNow());
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(recovered()->entryCount, 2);
  EXPECT_EQ(count(RecordKind::unsavedChanges), 0);
}

TEST_F(UnsavedChangesTest, keepsWhatOnlyASnapshotCanHave) {
  open("abc");
  insert(0, Bytes(16 * kMiB, 1));
  EXPECT_TRUE(changes.keepNow());
  EXPECT_EQ(count(RecordKind::unsavedChanges), 1);
  EXPECT_EQ(recoveredBytes(), bytes());
  insert(0, {'1'});
  EXPECT_TRUE(changes.keepNow());
  EXPECT_EQ(recoveredBytes(), bytes());
  EXPECT_EQ(count(RecordKind::journal), 1);
}

TEST_F(UnsavedChangesTest, keepsADocumentThatIsUnsavedWithoutAnEditAtOnce) {
  open("abc");
  document->makeSavedStateUnreachable();
  EXPECT_TRUE(changes.keepNow());
  EXPECT_EQ(recoveredBytes(), bytes());
}

TEST_F(UnsavedChangesTest, saysWhyItCannotKeepWhatIsUnsaved) {
  open("abc");
  insert(0, {'1'});
  FaultySystemCalls calls;
  calls.fail(SystemCall::fsync, FaultySystemCalls::kEvery, EIO);
  const ScopedSystemCalls scope(calls);
  EXPECT_FALSE(changes.keepNow());
  ASSERT_TRUE(changes.failure());
  EXPECT_EQ(changes.failure()->code(), EIO);
}

}  // namespace
}  // namespace quillmor::test
