#include "document/ChangeCount.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace quillmor {
namespace {

using enum ChangeCount::Change;

ChangeCount after(std::initializer_list<ChangeCount::Change> changes) {
  ChangeCount count;
  for (const auto change : changes) count.update(change);
  return count;
}

TEST(ChangeCount, followsEditsUndoAndRedo) {
  EXPECT_FALSE(after({}).isEdited());
  EXPECT_TRUE(after({done}).isEdited());
  EXPECT_FALSE(after({done, undone}).isEdited());
  EXPECT_TRUE(after({done, undone, redone}).isEdited());
  EXPECT_FALSE(after({done, done, cleared}).isEdited());
}

TEST(ChangeCount, undoingPastTheSavedStateIsAnEdit) {
  EXPECT_TRUE(after({done, done, cleared, undone}).isEdited());
  EXPECT_TRUE(after({done, done, cleared, undone, undone}).isEdited());
  EXPECT_FALSE(after({done, done, cleared, undone, undone, redone, redone}).isEdited());
}

TEST(ChangeCount, anEditAfterUndoingPastTheSavedStateAbandonsIt) {
  EXPECT_TRUE(after({done, cleared, undone, done}).isEdited());
  EXPECT_TRUE(after({done, cleared, undone, done, undone}).isEdited());
  EXPECT_TRUE(after({done, cleared, undone, done, done, undone}).isEdited());
  EXPECT_FALSE(after({done, cleared, undone, done, cleared}).isEdited());
}

TEST(ChangeCount, anEditAfterUndoingKeepsASavedStateBehindIt) {
  EXPECT_FALSE(after({done, cleared, done, done, undone, done, undone, undone}).isEdited());
}

TEST(ChangeCount, aChangeUnknownToUndoMakesTheSavedStateUnreachable) {
  ChangeCount count = after({done, done});
  count.update(cleared);
  const auto saving = count.token();
  count.makeSavedStateUnreachable();
  EXPECT_TRUE(count.isEdited());
  count.didSave(saving);
  EXPECT_TRUE(count.isEdited());
  count.update(undone);
  count.update(redone);
  EXPECT_TRUE(count.isEdited());
  count.update(cleared);
  EXPECT_FALSE(count.isEdited());
}

TEST(ChangeCount, aSaveClearsOnlyTheStateThatWasSaved) {
  ChangeCount count = after({done});
  const auto saving = count.token();
  count.update(done);
  count.didSave(saving);
  EXPECT_TRUE(count.isEdited());
  count.update(undone);
  EXPECT_FALSE(count.isEdited());
}

TEST(ChangeCount, aSaveOfAnAbandonedStateLeavesTheDocumentEdited) {
  ChangeCount count = after({done, done});
  const auto saving = count.token();
  count.update(undone);
  count.update(done);
  count.didSave(saving);
  EXPECT_TRUE(count.isEdited());
  count.update(undone);
  EXPECT_TRUE(count.isEdited());
}

TEST(ChangeCount, forgetsFarBranchesOnlyTowardsEdited) {
  ChangeCount count = after({done, cleared});
  for (int i = 0; i < 5000; ++i) {
    count.update(done);
    count.update(done);
    count.update(undone);
    count.update(done);
    EXPECT_TRUE(count.isEdited());
  }
  const auto saving = count.token();
  count.didSave(saving);
  EXPECT_FALSE(count.isEdited());
  for (int i = 0; i < 10000; ++i) {
    count.update(undone);
    EXPECT_TRUE(count.isEdited());
  }
  for (int i = 0; i < 10000; ++i) {
    EXPECT_TRUE(count.isEdited());
    count.update(redone);
  }
  EXPECT_FALSE(count.isEdited());
}

}  // namespace
}  // namespace quillmor
