// Random edits, undo and redo, snapshots and failures of every system call: what a start after a
// crash would find is always a state that the document had, and the newest one once it was written.

#include <gtest/gtest.h>

#include <iostream>
#include <random>

#include "support/FaultySystemCalls.h"
#include "support/UnsavedChangesFixture.h"

namespace quillmor::test {
namespace {

using namespace std::chrono_literals;

class UnsavedChangesModelTest : public UnsavedChangesFixture {
 protected:
  std::int64_t below(std::int64_t bound) {
    return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(bound));
  }

  HexSelection someRange() {
    const std::int64_t start = below(session.byteCount() + 1);
    return {start, below(std::min<std::int64_t>(session.byteCount() - start, 40) + 1)};
  }

  Bytes someBytes() {
    Bytes bytes(static_cast<std::size_t>(below(30)));
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(below(4));
    return bytes;
  }

  void type() {
    HexEditorState& editor = session.editor();
    editor.setInsertMode(below(2) == 0);
    editor.setEditingArea(below(2) == 0 ? EditingArea::hex : EditingArea::ascii);
    if (below(2) == 0) editor.setCaretOffset(below(session.byteCount() + 1));
    for (auto left = below(5); left > 0; --left) editor.handleTextInput(below(2) == 0 ? "5" : "a");
    if (below(4) == 0) editor.deleteSelectionOrByte(below(2) == 0);
  }

  void installSomething(const HexSelection& range, const Bytes& bytes) {
    ByteBuffer whole = session.bytes();
    whole.replace(range.start, range.length, bytes);
    const EditPlace after{.caretOffset = below(whole.size() + 1), .selection = {}};
    if (below(2) == 0) {
      session.installPrepared({.range = range, .actionName = "Fill", .after = after},
                              std::move(whole));
    } else {
      session.installDocument(std::move(whole), {0}, "Replace All", after);
    }
  }

  void step() {
    hasTyped = false;
    const HexSelection range = someRange();
    switch (below(6)) {
      case 0:
        return session.replaceRange({.range = range,
                                     .actionName = "Paste",
                                     .after = {.caretOffset = range.start, .selection = range}},
                                    someBytes());
      case 1:
        return installSomething(range, someBytes());
      case 2:
        session.undo();
        return;
      case 3:
        session.redo();
        return;
      default:
        hasTyped = true;
        return type();
    }
  }

  void expectRecovered() {
    const auto found = recovered();
    ASSERT_EQ(found.has_value(), document->isDocumentEdited());
    if (!found) return;
    ASSERT_EQ(recoveredBytes(), bytes());
    ASSERT_FALSE(found->wasCutOff);
    // Typing what is there already moves the caret and is no edit.
    if (hasTyped) return;
    ASSERT_EQ(found->places.selection, session.selectedRange());
    ASSERT_EQ(found->places.caretOffset, session.editor().caretOffset());
  }

  std::mt19937 random;
  bool hasTyped = false;
};

TEST_F(UnsavedChangesModelTest, hasTheDocumentAfterEveryStep) {
  constexpr unsigned kSeed = 20261122;
  std::cout << "seed " << kSeed << std::endl;
  random.seed(kSeed);
  open("The quick brown fox jumps over the lazy dog.");
  for (int number = 0; number < 600; ++number) {
    const auto before = document->changeCountToken();
    const Bytes bytesBefore = bytes();
    step();
    const bool isChanged = before != document->changeCountToken() || bytesBefore != bytes();
    if (below(10) == 0) changes.keepNow();
    pass(below(20) == 0 ? 5s : 1s);
    if (isChanged) {
      ASSERT_NO_FATAL_FAILURE(expectRecovered()) << number;
    }
    if (below(60) == 0) {
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
      session.addEditRecorder(changes);
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
