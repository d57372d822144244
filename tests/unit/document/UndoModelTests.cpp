// Random editing sessions against a plain list of states: whatever the edits, undo and redo lead
// through exactly these states, and the change count knows which of them was saved.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "document/ChangeCount.h"
#include "support/UndoFixture.h"

namespace quillmor {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// One state of the document as the model remembers it.
struct State {
  int id = 0;
  Bytes bytes = {};
  std::vector<std::int64_t> bookmarks = {};
  std::int64_t caret = 0;
  HexSelection selection = {};
  /// The step from the state before to this one.
  std::string stepName = {};
  bool stepMovesBookmarks = false;
};

class Session : public UndoFixture {
 public:
  explicit Session(unsigned seed) : random_(seed) {
    manager.setObserver([this](UndoManager::Event event) {
      using Event = UndoManager::Event;
      changes_.update(event == Event::didRegister ? ChangeCount::Change::done
                      : event == Event::didUndo   ? ChangeCount::Change::undone
                                                  : ChangeCount::Change::redone);
    });
    const Bytes initial = randomBytes(40);
    storage.bytes = ByteBuffer(initial);
    history_.push_back({.bytes = initial});
  }

  void act() {
    moveAbout();
    switch (below(12)) {
      case 0:
        toggleRegistration();
        break;
      case 1:
        setLevels(static_cast<int>(below(6)));
        break;
      case 2:
        snapshotEdit();
        break;
      case 3:
      case 4:
        undo();
        break;
      case 5:
        redo();
        break;
      case 6:
        save();
        break;
      default:
        rangeEdit();
        break;
    }
    check();
  }

  void walkToBothEnds() {
    while (manager.canUndo() && !testing::Test::HasFatalFailure()) {
      undo();
      check();
    }
    EXPECT_EQ(position_, 0U);
    while (manager.canRedo() && !testing::Test::HasFatalFailure()) {
      redo();
      check();
    }
    EXPECT_EQ(position_, history_.size() - 1);
  }

  void check() const {
    const State& state = history_[position_];
    const auto bytes = storage.bytes.span();
    ASSERT_EQ(Bytes(bytes.begin(), bytes.end()), state.bytes);
    ASSERT_EQ(manager.canUndo(), position_ > 0);
    ASSERT_EQ(manager.canRedo(), position_ + 1 < history_.size());
    ASSERT_EQ(manager.undoActionName(), position_ > 0 ? state.stepName : "");
    ASSERT_EQ(manager.redoActionName(),
              position_ + 1 < history_.size() ? history_[position_ + 1].stepName : "");
    ASSERT_EQ(changes_.isEdited(), state.id != savedId_);
  }

 private:
  std::int64_t below(std::int64_t limit) {
    return std::uniform_int_distribution<std::int64_t>(0, limit - 1)(random_);
  }

  Bytes randomBytes(std::int64_t limit) {
    Bytes bytes(static_cast<std::size_t>(below(limit + 1)));
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(below(256));
    return bytes;
  }

  /// What happens between edits and is not undone: the caret, the selection, new bookmarks.
  void moveAbout() {
    editor.caret = below(storage.count() + 1);
    editor.selected =
        HexSelection{below(storage.count() + 1), below(20)}.normalized(storage.count());
    if (below(3) == 0) bookmarks.add(below(storage.count() + 1));
  }

  /// Undo and redo come back to a state as it was when it was last left, fitted into its bytes.
  void leaveState() {
    State& state = history_[position_];
    state.caret = clampedToCount(editor.caret, storage.count());
    state.selection = editor.selected.normalized(storage.count());
    state.bookmarks = bookmarks.offsets();
  }

  void enterNewState(Bytes bytes, const std::string& name, bool movesBookmarks) {
    history_.resize(position_ + 1);
    history_.push_back({.id = ++lastId_,
                        .bytes = std::move(bytes),
                        .stepName = name,
                        .stepMovesBookmarks = movesBookmarks});
    ++position_;
    if (!manager.isUndoRegistrationEnabled()) {
      changes_.update(ChangeCount::Change::done);
      history_ = {history_.back()};
      position_ = 0;
    }
    trimToLevels();
  }

  void rangeEdit() {
    const std::string name = "Edit " + std::to_string(lastId_);
    const std::int64_t start = below(storage.count() + 1);
    const std::int64_t removed = below(std::min<std::int64_t>(storage.count() - start, 12) + 1);
    Bytes inserted = randomBytes(12);
    if (below(3) == 0) inserted.resize(static_cast<std::size_t>(removed));
    leaveState();
    Bytes bytes = history_[position_].bytes;
    const auto at = bytes.erase(bytes.begin() + start, bytes.begin() + start + removed);
    bytes.insert(at, inserted.begin(), inserted.end());
    const bool registered = edit(start, removed, ByteBuffer(inserted), name);
    ASSERT_EQ(registered, manager.isUndoRegistrationEnabled());
    enterNewState(std::move(bytes), name, removed != static_cast<std::int64_t>(inserted.size()));
  }

  void snapshotEdit() {
    const std::string name = "Replace All " + std::to_string(lastId_);
    const Bytes bytes = randomBytes(60);
    leaveState();
    const bool registered =
        replaceAll(ByteBuffer(bytes), {static_cast<std::int64_t>(bytes.size())}, name);
    ASSERT_EQ(registered, manager.isUndoRegistrationEnabled());
    enterNewState(bytes, name, true);
  }

  void checkRestored(bool movesBookmarks, const std::vector<std::int64_t>& bookmarksBefore) const {
    const State& state = history_[position_];
    ASSERT_EQ(storage.count(), static_cast<std::int64_t>(state.bytes.size()));
    ASSERT_EQ(editor.caret, state.caret);
    ASSERT_EQ(editor.selected, state.selection);
    ASSERT_EQ(bookmarks.offsets(), movesBookmarks ? state.bookmarks : bookmarksBefore);
  }

  void undo() {
    if (!manager.canUndo()) return;
    const auto marks = bookmarks.offsets();
    const bool movesBookmarks = history_[position_].stepMovesBookmarks;
    leaveState();
    manager.undo();
    --position_;
    checkRestored(movesBookmarks, marks);
    // Without an inverse nothing can be redone: undo must not skip over an unrecorded change.
    if (!manager.isUndoRegistrationEnabled()) history_.resize(position_ + 1);
    trimToLevels();
  }

  void redo() {
    if (!manager.canRedo()) return;
    const auto marks = bookmarks.offsets();
    leaveState();
    manager.redo();
    ++position_;
    checkRestored(history_[position_].stepMovesBookmarks, marks);
    if (!manager.isUndoRegistrationEnabled()) dropBefore(position_);
    trimToLevels();
  }

  void toggleRegistration() {
    if (manager.isUndoRegistrationEnabled() && below(3) == 0) {
      manager.disableUndoRegistration();
    } else if (!manager.isUndoRegistrationEnabled()) {
      manager.enableUndoRegistration();
    }
  }

  void setLevels(int levels) {
    manager.setLevelsOfUndo(levels);
    trimToLevels();
  }

  void trimToLevels() {
    const auto levels = static_cast<std::size_t>(manager.levelsOfUndo());
    if (levels == 0) return;
    if (position_ > levels) dropBefore(position_ - levels);
    if (history_.size() - 1 - position_ > levels) history_.resize(position_ + levels + 1);
  }

  void dropBefore(std::size_t first) {
    history_.erase(history_.begin(), history_.begin() + static_cast<std::ptrdiff_t>(first));
    position_ -= first;
  }

  /// Begins a save or ends the one that is under way, which saves the state in which it began.
  void save() {
    if (!saving_) {
      saving_ = Saving{changes_.token(), history_[position_].id};
      return;
    }
    changes_.didSave(saving_->token);
    savedId_ = saving_->id;
    saving_.reset();
  }

  struct Saving {
    ChangeCount::Token token;
    int id;
  };

  std::mt19937 random_;
  ChangeCount changes_;
  std::vector<State> history_;
  std::size_t position_ = 0;
  int lastId_ = 0;
  int savedId_ = 0;
  std::optional<Saving> saving_;
};

TEST(UndoModel, randomSessionsWalkToBothEnds) {
  for (unsigned seed = 1; seed <= 3000; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    Session session(seed);
    for (int step = 0; step < 40; ++step) {
      session.act();
      if (testing::Test::HasFatalFailure()) return;
    }
    session.walkToBothEnds();
    if (testing::Test::HasFailure()) return;
  }
}

}  // namespace
}  // namespace quillmor
