#include "document/UndoRecords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/UndoFixture.h"

namespace quillmor {
namespace {

using testing::ElementsAre;

constexpr std::int64_t kLimit = UndoRecords::maxUndoSnapshotBytes;

class UndoRecordsTest : public testing::Test, protected UndoFixture {};

TEST_F(UndoRecordsTest, undoesAndRedoesARangeEdit) {
  storage.bytes = {1, 2, 3, 4, 5};
  bookmarks.replaceAll({1, 3, 5});
  editor.caret = 2;
  editor.selected = {1, 2};
  ASSERT_TRUE(edit(1, 2, {9}, "Edit"));
  editor.caret = 2;
  editor.selected = {2, 0};
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 9, 4, 5}));
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(2, 4));
  EXPECT_EQ(manager.undoActionName(), "Edit");

  manager.undo();
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 2, 3, 4, 5}));
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(1, 3, 5));
  EXPECT_EQ(editor.caret, 2);
  EXPECT_EQ(editor.selected, (HexSelection{1, 2}));
  EXPECT_EQ(editor.restores, 1);
  EXPECT_EQ(manager.redoActionName(), "Edit");

  manager.redo();
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 9, 4, 5}));
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(2, 4));
  EXPECT_EQ(editor.selected, (HexSelection{2, 0}));
}

TEST_F(UndoRecordsTest, anOverwriteLeavesBookmarksAlone) {
  storage.bytes = {1, 2, 3};
  ASSERT_TRUE(edit(1, 1, {9}, "Edit"));
  bookmarks.replaceAll({2});
  manager.undo();
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(2));
}

TEST_F(UndoRecordsTest, clampsTheRangeToTheData) {
  storage.bytes = {1, 2, 3};
  ASSERT_TRUE(edit(2, 99, {7, 8}, "Edit"));
  manager.undo();
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 2, 3}));
  ASSERT_TRUE(edit(-4, 1, {7}, "Edit"));
  manager.undo();
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 2, 3}));
  ASSERT_TRUE(edit(99, -3, {7}, "Edit"));
  manager.undo();
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 2, 3}));
}

TEST_F(UndoRecordsTest, undoesAndRedoesASnapshotBySharing) {
  const ByteBuffer before{1, 2, 3};
  const ByteBuffer after{9, 9, 9, 9};
  storage.bytes = before;
  bookmarks.replaceAll({0, 3});
  editor.caret = 3;
  ASSERT_TRUE(replaceAll(after, {4}, "Replace All"));
  editor.caret = 4;
  manager.undo();
  EXPECT_TRUE(storage.bytes.sharesStorageWith(before));
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(0, 3));
  EXPECT_EQ(editor.caret, 3);
  EXPECT_EQ(manager.redoActionName(), "Replace All");
  manager.redo();
  EXPECT_TRUE(storage.bytes.sharesStorageWith(after));
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(4));
  EXPECT_EQ(editor.caret, 4);
}

TEST_F(UndoRecordsTest, restoresOnlyWhatFitsTheData) {
  storage.bytes = {1, 2, 3};
  bookmarks.replaceAll({-2, 1, 3, 50});
  editor.caret = 40;
  editor.selected = {2, 90};
  ASSERT_TRUE(edit(0, 1, {}, "Edit"));
  manager.undo();
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(1, 3));
  EXPECT_EQ(editor.caret, 3);
  EXPECT_EQ(editor.selected, (HexSelection{2, 1}));

  bookmarks.replaceAll({-2, 1, 3, 50});
  editor.caret = -7;
  editor.selected = {-1, 2};
  ASSERT_TRUE(replaceAll({5}, {}, "Crop to Selection"));
  manager.undo();
  EXPECT_THAT(bookmarks.offsets(), ElementsAre(1, 3));
  EXPECT_EQ(editor.caret, 0);
  EXPECT_EQ(editor.selected, (HexSelection{0, 1}));
}

TEST_F(UndoRecordsTest, withoutAnUndoManagerNothingIsRecorded) {
  UndoRecords none([this]() -> HexStorage& { return storage; }, nullptr, bookmarks, editor, this);
  storage.bytes = {1, 2, 3};
  EXPECT_FALSE(none.registerUndoEdit(0, 1, 1, "Edit"));
  EXPECT_FALSE(none.registerUndoSnapshot("Replace All"));
}

TEST_F(UndoRecordsTest, disabledRegistrationClearsTheHistoryOfTheTargetOnly) {
  storage.bytes = {1, 2, 3};
  manager.registerUndo(nullptr, [] {});
  manager.setActionName("Other");
  ASSERT_TRUE(edit(0, 1, {4}, "Edit"));
  manager.disableUndoRegistration();
  EXPECT_FALSE(edit(0, 1, {5}, "Edit"));
  EXPECT_EQ(manager.undoActionName(), "Other");
  manager.enableUndoRegistration();
  ASSERT_TRUE(edit(0, 1, {6}, "Edit"));
  manager.disableUndoRegistration();
  EXPECT_FALSE(replaceAll({7}, {}, "Replace All"));
  EXPECT_EQ(manager.undoActionName(), "Other");
}

TEST_F(UndoRecordsTest, recordsARemovalOfTheLimitAndClearsTheHistoryBeyondIt) {
  EXPECT_EQ(kLimit, 67108864);
  storage.bytes = ByteBuffer::filled(kLimit + 1, 0x5A);
  ASSERT_TRUE(edit(0, 1, {1}, "Edit"));
  ASSERT_TRUE(edit(1, kLimit, {}, "Delete"));
  EXPECT_EQ(storage.count(), 1);
  manager.undo();
  manager.undo();
  EXPECT_EQ(storage.bytes, ByteBuffer::filled(kLimit + 1, 0x5A));
  ASSERT_TRUE(manager.canRedo());
  EXPECT_FALSE(edit(0, kLimit + 1, {}, "Delete"));
  EXPECT_FALSE(manager.canUndo());
  EXPECT_FALSE(manager.canRedo());
}

TEST_F(UndoRecordsTest, recordsAnInsertionOfTheLimitAndClearsTheHistoryBeyondIt) {
  storage.bytes = {1, 2};
  EXPECT_TRUE(edit(1, 0, ByteBuffer::filled(kLimit, 7), "Insert Bytes"));
  manager.undo();
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 2}));
  manager.redo();
  EXPECT_EQ(storage.count(), kLimit + 2);
  manager.undo();
  ASSERT_TRUE(edit(0, 1, {3}, "Edit"));
  EXPECT_FALSE(records.registerUndoEdit(1, 0, kLimit + 1, "Insert Bytes"));
  EXPECT_FALSE(manager.canUndo());
}

TEST_F(UndoRecordsTest, recordsASnapshotOfTheLimitAndClearsTheHistoryBeyondIt) {
  storage.bytes = ByteBuffer::filled(kLimit, 1);
  EXPECT_TRUE(records.registerUndoSnapshot("Replace All"));
  EXPECT_TRUE(records.registerUndoSnapshot("Replace All", kLimit));
  EXPECT_FALSE(records.registerUndoSnapshot("Replace All", kLimit + 1));
  EXPECT_FALSE(manager.canUndo());
  storage.bytes = {1};
  ASSERT_TRUE(edit(0, 1, {3}, "Edit"));
  storage.bytes = ByteBuffer::filled(kLimit + 1, 1);
  EXPECT_FALSE(records.registerUndoSnapshot("Crop to Selection", 5));
  EXPECT_FALSE(manager.canUndo());
}

TEST_F(UndoRecordsTest, aSnapshotUndoneOverTooManyBytesCannotBeRedone) {
  storage.bytes = {1, 2, 3};
  ASSERT_TRUE(records.registerUndoSnapshot("Replace All"));
  storage.bytes = ByteBuffer::filled(kLimit + 1, 1);
  manager.undo();
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 2, 3}));
  EXPECT_FALSE(manager.canRedo());
}

TEST_F(UndoRecordsTest, followsAnExchangedStorage) {
  HexStorage other;
  HexStorage* current = &storage;
  UndoRecords following([&]() -> HexStorage& { return *current; }, &manager, bookmarks, editor,
                        this);
  storage.bytes = {1, 2, 3};
  other.bytes = {7, 8, 9};
  current = &other;
  ASSERT_TRUE(following.registerUndoEdit(0, 1, 1, "Edit"));
  other.bytes.set(0, 0);
  manager.undo();
  EXPECT_EQ(other.bytes, ByteBuffer({7, 8, 9}));
  EXPECT_EQ(storage.bytes, ByteBuffer({1, 2, 3}));
}

}  // namespace
}  // namespace quillmor
