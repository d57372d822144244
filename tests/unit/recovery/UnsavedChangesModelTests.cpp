// Random edits, undo and redo, snapshots and failures of every system call: what a start after a
// crash would find is always a state that the document had, and the newest one once it was written.

#include <gtest/gtest.h>

#include <iostream>

#include "support/FaultySystemCalls.h"
#include "support/RandomEdits.h"
#include "support/UnsavedChangesFixture.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

class UnsavedChangesModelTest : public UnsavedChangesFixture {
 protected:
  void expectRecovered() {
    const auto found = recovered();
    ASSERT_EQ(found.has_value(), document->isDocumentEdited());
    if (!found) return;
    ASSERT_EQ(recoveredBytes(), bytes());
    ASSERT_FALSE(found->wasCutOff);
    // Typing what is there already moves the caret and is no edit.
    if (edits.hasTyped()) return;
    ASSERT_EQ(found->places.selection, session.selectedRange());
    ASSERT_EQ(found->places.caretOffset, session.editor().caretOffset());
  }

  static constexpr unsigned kSeed = 20261122;
  RandomEdits edits{session, kSeed};
};

TEST_F(UnsavedChangesModelTest, hasTheDocumentAfterEveryStep) {
  std::cout << "seed " << kSeed << std::endl;
  open("The quick brown fox jumps over the lazy dog.");
  for (int number = 0; number < 600; ++number) {
    const auto before = document->changeCountToken();
    const Bytes bytesBefore = bytes();
    edits.step();
    const bool isChanged = before != document->changeCountToken() || bytesBefore != bytes();
    if (edits.below(10) == 0) changes.keepNow();
    pass(edits.below(20) == 0 ? 5s : 1s);
    if (isChanged) {
      ASSERT_NO_FATAL_FAILURE(expectRecovered()) << number;
    }
    if (edits.below(60) == 0) {
      document->updateChangeCount(ChangeCount::Change::cleared);
      const Bytes saved = bytes();
      open({reinterpret_cast<const char*>(saved.data()), saved.size()});
      pass(0s);
    }
  }
  EXPECT_TRUE(failures.empty());
}

TEST_F(UnsavedChangesModelTest, losesNothingForGoodWhenAnyOneCallFails) {
  int number = 1;
  for (bool hasFailed = true; hasFailed; ++number) {
    TemporaryFolder own;
    const RecordStore ownStore(own.location("state/records"));
    open("abc");
    std::vector<Error> reported;
    {
      UnsavedChanges kept(document, platform.executor, &ownStore,
                          {.places = [] { return EditorPlaces{}; },
                           .didFail = [&](const Error& error) { reported.push_back(error); },
                           .now = [this] { return now; }});
      session.removeEditRecorder(changes);
      session.addEditRecorder(kept);
      FaultySystemCalls calls;
      calls.failCall(number, ENOSPC);
      {
        const ScopedSystemCalls scope(calls);
        insert(0, {'1'});
        pass(1s);
        insert(0, {'2'});
        pass(1s);
        insert(0, {'3'});
        pass(5s);
        insert(0, {'4'});
        pass(1s);
        hasFailed = static_cast<int>(calls.log().size()) >= number;
      }
      EXPECT_LE(reported.size(), 1U) << number;
      // Whatever went wrong, the document is recorded in the end.
      pass(40s);
      const auto listed = ownStore.list();
      ASSERT_FALSE(listed.empty()) << number;
      bool isThere = false;
      for (const ListedRecord& record : listed) {
        ASSERT_TRUE(record.header) << number;
        if (record.header->kind != RecordKind::unsavedChanges) continue;
        isThere = isThere || ownStore.read(record).payload == session.bytes();
      }
      EXPECT_TRUE(isThere) << number;
      kept.discard();
      platform.executor.runAll();
      session.removeEditRecorder(kept);
    }
    // The records beside the document are gone as well.
    EXPECT_TRUE(ownStore.list().empty()) << number;
    for (const std::string& name : folder.names()) EXPECT_FALSE(name.ends_with(".qrec")) << name;
    document->updateChangeCount(ChangeCount::Change::cleared);
  }
  EXPECT_GT(number, 50);
}

TEST_F(UnsavedChangesModelTest, reportsOnceForAFileThatNothingCanBeKept) {
  const FileLocation location = open("abc");
  FaultySystemCalls calls;
  calls.fail(SystemCall::openat, FaultySystemCalls::kEvery, ENOSPC);
  const ScopedSystemCalls scope(calls);
  insert(0, {'1'});
  pass(1s);
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_EQ(failures.front().code(), ENOSPC);
  insert(0, {'2'});
  for (int minute = 0; minute < 10; ++minute) pass(1min);
  EXPECT_EQ(failures.size(), 1U);
  EXPECT_FALSE(changes.keepNow());
  document->replaceContentsForSingleWindowOpen(document->storage(), location.sibling("other"),
                                               std::nullopt);
  changes.documentDidChange();
  insert(0, {'3'});
  pass(40s);
  EXPECT_EQ(failures.size(), 2U);
}

}  // namespace
}  // namespace quillmor::test
