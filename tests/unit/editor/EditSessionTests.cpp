// Random sessions of typing, commands, undo and redo against a plain list of states: bytes,
// bookmarks, caret, selection and the unsaved mark of each state come back exactly.

#include "editor/EditSession.h"

#include <gtest/gtest.h>

#include <new>
#include <random>
#include <string>
#include <vector>

#include "support/FailingAllocation.h"
#include "support/TestPlatform.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Offsets = std::vector<std::int64_t>;

/// Counts the edits.
class Owner : public EditSessionObserver {
 public:
  void updateStatus() override {}
  void sessionDidEdit(bool canBeUndone) override {
    if (failures > 0 && failures-- > 0) throw std::bad_alloc();
    canBeUndone ? ++edits : ++lostEdits;
  }
  void didRefuse(const std::string& reason) override { refusals.push_back(reason); }

  int edits = 0;
  int lostEdits = 0;
  /// How often telling of an edit runs out of memory from now on.
  int failures = 0;
  std::vector<std::string> refusals;
};

class EditSessionTest : public testing::Test {
 protected:
  void fill(const Bytes& bytes) {
    document->readData(ByteBuffer(bytes));
    session.takeStorage(document->storage(), /*preservingEditorState=*/false);
    document->updateChangeCount(ChangeCount::Change::cleared);
  }

  Bytes bytes() const {
    const auto span = session.bytes().span();
    return {span.begin(), span.end()};
  }

  TestPlatform platform;
  Owner owner;
  std::shared_ptr<HexDocument> document = std::make_shared<HexDocument>(platform.executor);
  EditSession session{document, platform.beeper, owner};
};

TEST_F(EditSessionTest, replacesARangeAsOneStep) {
  fill({1, 2, 3, 4});
  session.bookmarks().replaceAll({0, 2, 4});
  session.moveCaret({.caretOffset = 3, .selection = {0, 1}});
  session.replaceRange(
      {.range = {1, 2}, .actionName = "Fill", .after = {.caretOffset = 1, .selection = {1, 3}}},
      Bytes{7, 8, 9});
  EXPECT_EQ(bytes(), (Bytes{1, 7, 8, 9, 4}));
  EXPECT_EQ(session.bookmarks().offsets(), (Offsets{0, 5}));
  EXPECT_EQ(session.editor().caretOffset(), 1);
  EXPECT_EQ(session.selectedRange(), (HexSelection{1, 3}));
  EXPECT_EQ(document->undoManager().undoActionName(), "Fill");
  EXPECT_TRUE(document->isDocumentEdited());
  EXPECT_EQ(owner.edits, 1);
  EXPECT_TRUE(session.undo());
  EXPECT_EQ(bytes(), (Bytes{1, 2, 3, 4}));
  EXPECT_EQ(session.bookmarks().offsets(), (Offsets{0, 2, 4}));
  EXPECT_EQ(session.editor().caretOffset(), 3);
  EXPECT_EQ(session.selectedRange(), (HexSelection{0, 1}));
  EXPECT_FALSE(document->isDocumentEdited());
}

TEST_F(EditSessionTest, installsAPreparedDocumentAsTheEditOfARange) {
  fill({1, 2, 3});
  session.bookmarks().replaceAll({1, 3});
  session.installPrepared({.range = {1, 1}, .actionName = "Insert", .after = {}},
                          ByteBuffer{1, 9, 9, 3});
  EXPECT_EQ(bytes(), (Bytes{1, 9, 9, 3}));
  EXPECT_EQ(session.bookmarks().offsets(), Offsets{4});
  EXPECT_TRUE(session.undo());
  EXPECT_EQ(bytes(), (Bytes{1, 2, 3}));
  EXPECT_EQ(session.bookmarks().offsets(), (Offsets{1, 3}));
}

TEST_F(EditSessionTest, hasNothingToUndoOrRedoAtFirst) {
  fill({1});
  EXPECT_FALSE(session.undo());
  EXPECT_FALSE(session.redo());
}

TEST_F(EditSessionTest, losesTheHistoryWithAnEditThatIsTooLarge) {
  fill({1});
  session.replaceRange({.range = {0, 1}, .actionName = "Edit", .after = {}}, Bytes{2});
  session.installDocument(ByteBuffer::uninitialized(UndoRecords::maxUndoSnapshotBytes + 1), {},
                          "Fill", {});
  EXPECT_EQ(owner.lostEdits, 1);
  EXPECT_FALSE(session.undo());
  EXPECT_TRUE(document->isDocumentEdited());
}

TEST_F(EditSessionTest, takesAnotherFilesBytesWithoutHistory) {
  fill({1, 2, 3});
  session.bookmarks().replaceAll({1, 3});
  session.replaceRange(
      {.range = {0, 1}, .actionName = "Edit", .after = {.caretOffset = 3, .selection = {1, 2}}},
      Bytes{2});
  auto other = std::make_shared<HexStorage>();
  other->bytes = ByteBuffer{5, 6};
  session.takeStorage(other, /*preservingEditorState=*/true);
  EXPECT_FALSE(document->undoManager().canUndo());
  EXPECT_EQ(session.bookmarks().offsets(), Offsets{1});
  EXPECT_EQ(session.editor().caretOffset(), 2);
  EXPECT_EQ(session.editor().selection(), (HexSelection{1, 1}));
  session.takeStorage(other, /*preservingEditorState=*/false);
  EXPECT_EQ(session.bookmarks().offsets(), Offsets{});
  EXPECT_EQ(session.editor().caretOffset(), 0);
  EXPECT_EQ(session.editor().selection(), HexSelection{});
}

TEST_F(EditSessionTest, reportsNoEditAsFailedThatHasHappened) {
  for (const int failures : {1, 2}) {
    fill({1, 2});
    owner.edits = 0;
    owner.failures = failures;
    EXPECT_NO_THROW(
        session.replaceRange({.range = {0, 1}, .actionName = "Edit", .after = {}}, Bytes{7}));
    EXPECT_EQ(bytes(), (Bytes{7, 2}));
    EXPECT_EQ(owner.edits, 2 - failures) << "it is tried twice";
    EXPECT_TRUE(document->isDocumentEdited());
    EXPECT_TRUE(session.undo());
    EXPECT_EQ(bytes(), (Bytes{1, 2}));
  }
}

TEST_F(EditSessionTest, passesOnWhatTheHexViewRefuses) {
  fill({1});
  session.editor().setEditingEnabled(false);
  session.editor().editByte(2);
  EXPECT_EQ(owner.refusals.size(), 1U);
  EXPECT_EQ(bytes(), Bytes{1});
}

TEST_F(EditSessionTest, takesASecondDigitBackWithTheFirst) {
  fill({0x12, 0x34});
  session.moveCaret({});
  session.editor().editHexNibble(0xA);
  session.editor().editHexNibble(0xB);
  EXPECT_EQ(bytes(), (Bytes{0xAB, 0x34}));
  EXPECT_TRUE(session.undo());
  EXPECT_EQ(bytes(), (Bytes{0x12, 0x34}));
  EXPECT_FALSE(document->isDocumentEdited());
}

TEST_F(EditSessionTest, forgetsTheSavedStateWithASecondDigitAfterASave) {
  fill({0x12});
  session.moveCaret({});
  session.editor().editHexNibble(0xA);
  document->updateChangeCount(ChangeCount::Change::cleared);
  session.editor().editHexNibble(0xB);
  EXPECT_TRUE(document->isDocumentEdited());
  EXPECT_TRUE(session.undo());
  EXPECT_TRUE(document->isDocumentEdited());
}

#if QUILLMOR_NEW_CAN_FAIL

TEST_F(EditSessionTest, happensWhollyOrNotAtAll) {
  const auto edits = {
      +[](EditSession& edited) {
        edited.replaceRange({.range = {1, 1}, .actionName = "Edit", .after = {}}, Bytes{7, 8, 9});
      },
      +[](EditSession& edited) {
        edited.installPrepared({.range = {1, 1}, .actionName = "Edit", .after = {}},
                               ByteBuffer{1, 7, 8, 9, 3, 4});
      },
      +[](EditSession& edited) {
        edited.installDocument(ByteBuffer{1, 7, 8, 9, 3, 4}, {6}, "Edit", {});
      },
  };
  for (const auto edit : edits) {
    for (int number = 1;; ++number) {
      SCOPED_TRACE("allocation " + std::to_string(number));
      fill({1, 2, 3, 4});
      session.bookmarks().replaceAll({4});
      bool hasFailed = false;
      bool hasThrown = false;
      {
        const FailingAllocation failing(number);
        try {
          edit(session);
        } catch (const std::bad_alloc&) {
          hasThrown = true;
        }
        hasFailed = failing.hasFailed();
      }
      const bool hasHappened = session.byteCount() == 6;
      EXPECT_NE(hasHappened, hasThrown);
      EXPECT_EQ(bytes(), hasHappened ? (Bytes{1, 7, 8, 9, 3, 4}) : (Bytes{1, 2, 3, 4}));
      EXPECT_EQ(session.bookmarks().offsets(), Offsets{hasHappened ? 6 : 4});
      EXPECT_EQ(document->undoManager().canUndo(), hasHappened);
      EXPECT_EQ(document->isDocumentEdited(), hasHappened);
      if (!hasFailed) break;
    }
  }
}

#endif

/// One state of the model.
struct State {
  Bytes bytes = {};
  Offsets bookmarks = {};
  EditPlace place = {};
  std::string stepName = {};
  int id = 0;
};

class EditSessionModel : public EditSessionTest {
 protected:
  std::int64_t below(std::int64_t limit) {
    return std::uniform_int_distribution<std::int64_t>(0, limit - 1)(random_);
  }
  Bytes randomBytes(std::int64_t limit) {
    Bytes made(static_cast<std::size_t>(below(limit + 1)));
    for (auto& byte : made) byte = static_cast<std::uint8_t>(below(256));
    return made;
  }
  HexSelection randomRange() {
    const std::int64_t start = below(session.byteCount() + 1);
    return {start, below(std::min<std::int64_t>(session.byteCount() - start, 8) + 1)};
  }
  EditPlace randomPlace(std::int64_t count) {
    const std::int64_t start = below(count + 1);
    return {.caretOffset = below(count + 1), .selection = {start, below(count - start + 1)}};
  }
  State& current() { return history_[position_]; }

  void start(unsigned seed) {
    random_.seed(seed);
    const Bytes first = randomBytes(40);
    fill(first);
    history_ = {{.bytes = first}};
    position_ = 0;
    lastId_ = savedId_ = 0;
  }

  void enter(State state) {
    state.id = ++lastId_;
    history_.resize(position_ + 1);
    history_.push_back(std::move(state));
    ++position_;
    const auto levels = static_cast<std::size_t>(document->undoManager().levelsOfUndo());
    while (position_ > levels) {
      history_.erase(history_.begin());
      --position_;
    }
  }

  void moveAbout() {
    current().place = randomPlace(session.byteCount());
    session.moveCaret(current().place);
  }

  void type() {
    session.editor().setInsertMode(below(2) == 0);
    session.moveCaret({.caretOffset = below(session.byteCount() + 1), .selection = {}});
    current().place = session.place();
    State next = current();
    const auto at = next.bytes.begin() + next.place.caretOffset;
    const bool inserts = session.editor().insertMode() || at == next.bytes.end();
    // A byte that is there already is no edit.
    const auto byte = static_cast<std::uint8_t>(inserts ? below(256) : *at + 1);
    if (inserts) {
      next.bytes.insert(at, byte);
      adjustBookmarksForEdit(next.bookmarks, next.place.caretOffset, 0, 1);
    } else {
      *at = byte;
    }
    session.editor().editByte(byte);
    next.place = session.place();
    next.stepName = "Edit";
    enter(std::move(next));
  }

  void replaceRange(bool prepared) {
    const HexSelection range = randomRange();
    const Bytes inserted = randomBytes(8);
    State next = current();
    const auto at = next.bytes.begin() + range.start;
    next.bytes.insert(next.bytes.erase(at, at + range.length), inserted.begin(), inserted.end());
    adjustBookmarksForEdit(next.bookmarks, range.start, range.length, std::ssize(inserted));
    next.place = randomPlace(std::ssize(next.bytes));
    next.stepName = prepared ? "Prepared" : "Range";
    RangeEdit edit{.range = range, .actionName = next.stepName, .after = next.place};
    if (below(2) == 0) edit.removed = session.bytes().slice(range.start, range.length);
    if (prepared) {
      session.installPrepared(std::move(edit), ByteBuffer(next.bytes));
    } else {
      session.replaceRange(std::move(edit), inserted);
    }
    enter(std::move(next));
  }

  void installDocument() {
    State next{.bytes = randomBytes(40), .stepName = "Everything"};
    for (const std::int64_t offset : {1, 5, 20})
      if (offset <= std::ssize(next.bytes)) next.bookmarks.push_back(offset);
    next.place = randomPlace(std::ssize(next.bytes));
    session.installDocument(ByteBuffer(next.bytes), next.bookmarks, next.stepName, next.place);
    enter(std::move(next));
  }

  void act() {
    moveAbout();
    switch (below(10)) {
      case 0:
      case 1:
      case 2:
        if (session.undo()) --position_;
        break;
      case 3:
      case 4:
        if (session.redo()) ++position_;
        break;
      case 5:
        document->updateChangeCount(ChangeCount::Change::cleared);
        savedId_ = current().id;
        break;
      case 6:
        type();
        break;
      case 7:
        installDocument();
        break;
      default:
        replaceRange(/*prepared=*/below(2) == 0);
    }
  }

  void check() {
    const State& state = current();
    ASSERT_EQ(bytes(), state.bytes);
    ASSERT_EQ(session.bookmarks().offsets(), state.bookmarks);
    ASSERT_EQ(session.editor().caretOffset(), state.place.caretOffset);
    ASSERT_EQ(session.selectedRange(), state.place.selection.normalized(session.byteCount()));
    ASSERT_EQ(document->undoManager().canUndo(), position_ > 0);
    ASSERT_EQ(document->undoManager().canRedo(), position_ + 1 < history_.size());
    ASSERT_EQ(document->undoManager().undoActionName(), position_ > 0 ? state.stepName : "");
    ASSERT_EQ(document->isDocumentEdited(), state.id != savedId_);
  }

 private:
  std::mt19937 random_;
  std::vector<State> history_;
  std::size_t position_ = 0;
  int lastId_ = 0;
  int savedId_ = 0;
};

TEST_F(EditSessionModel, goesThroughTheStatesOfAList) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    start(seed);
    for (int i = 0; i < 120; ++i) {
      act();
      check();
      if (HasFatalFailure()) return;
    }
  }
}

}  // namespace
}  // namespace quillmor::test
