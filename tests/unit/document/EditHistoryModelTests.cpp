// Random edits, undo and redo: every state that the history lists opens to exactly the bytes that
// the document had.

#include <gtest/gtest.h>

#include <deque>
#include <iostream>
#include <vector>

#include "document/EditHistory.h"
#include "editor/EditSession.h"
#include "support/RandomEdits.h"
#include "support/TestPlatform.h"

namespace quillmor::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes plain(const ByteBuffer& buffer) {
  return {buffer.span().begin(), buffer.span().end()};
}

/// Keeps all bytes after every edit.
class EveryState : public EditRecorder {
 public:
  explicit EveryState(const HexDocument& document) : document_(document) { begin(); }

  void begin() { states = {plain(document_.data())}; }

  void willEdit(HexSelection range, const ByteBuffer* removed) noexcept override {
    EXPECT_EQ(plain(document_.data()), states.back()) << "an edit comes before its announcement";
    announced_ = range;
    if (removed == nullptr) return;
    EXPECT_EQ(*removed, document_.data().slice(range.start, range.length));
  }
  void editDidNotHappen() noexcept override {}
  void didTakeStorage() noexcept override { begin(); }
  void didEdit(const RecordedEdit& edit) noexcept override {
    EXPECT_EQ(announced_, (HexSelection{edit.offset, edit.removedCount}));
    if (edit.completesStep) states.pop_back();
    states.push_back(plain(document_.data()));
  }

  std::deque<Bytes> states;

 private:
  const HexDocument& document_;
  HexSelection announced_;
};

class EditHistoryModel : public testing::Test, private EditSessionObserver {
 protected:
  EditHistoryModel() {
    session.addEditRecorder(history);
    session.addEditRecorder(model);
  }
  ~EditHistoryModel() override { session.close(); }

  void fill(const Bytes& bytes) {
    document->readData(ByteBuffer(bytes));
    session.takeStorage(document->storage(), /*preservingEditorState=*/false);
  }

  void expectEveryState() {
    ASSERT_EQ(history.stepCount() + 1, std::ssize(model.states));
    TaskProgress progress;
    for (std::int64_t state = 0; state <= history.stepCount(); ++state) {
      ASSERT_TRUE(history.canOpen(state)) << state;
      const auto bytes = bytesBeforeSteps(history.stepsFrom(state), session.bytes(), progress);
      ASSERT_EQ(plain(bytes), model.states[static_cast<std::size_t>(state)]) << state;
    }
  }

  /// What a step shows is what the states before and after it have there.
  void expectShownBytes() {
    for (std::int64_t index = 0; index < history.stepCount(); ++index) {
      const HistoryStep& step = history.step(index);
      const ByteBuffer before(model.states[static_cast<std::size_t>(index)]);
      const ByteBuffer after(model.states[static_cast<std::size_t>(index) + 1]);
      ASSERT_EQ(std::ssize(step.shownRemoved()), std::min<std::int64_t>(step.removedCount, 16));
      ASSERT_EQ(std::ssize(step.shownInserted()), std::min<std::int64_t>(step.insertedCount, 16));
      ASSERT_TRUE(before.hasAt(step.offset, step.shownRemoved())) << index;
      ASSERT_TRUE(after.hasAt(step.offset, step.shownInserted())) << index;
      ASSERT_TRUE(before.hasAt(step.offset, *step.removed())) << index;
      ASSERT_LE(step.caretOffset, after.size());
    }
  }

  TestPlatform platform;
  std::shared_ptr<HexDocument> document = std::make_shared<HexDocument>(platform.executor);
  EditHistory history{[this]() -> const ByteBuffer& { return document->storage()->bytes; }};
  EveryState model{*document};
  EditSession session{document, platform.beeper, *this};

 private:
  void updateStatus() override {}
  void sessionDidEdit(bool) override {}
  void didRefuse(const std::string&) override {}
};

TEST_F(EditHistoryModel, opensEveryStateWithTheBytesThatItHad) {
  std::int64_t steps = 0;
  for (unsigned seed = 0; seed < 40; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomEdits edits(session, seed);
    fill(Bytes(static_cast<std::size_t>(edits.below(60)), 7));
    for (int number = 0; number < 100; ++number) edits.step();
    ASSERT_NO_FATAL_FAILURE(expectEveryState());
    ASSERT_NO_FATAL_FAILURE(expectShownBytes());
    steps += history.stepCount();
  }
  std::cout << steps << " steps" << std::endl;
  EXPECT_GT(steps, 4000);
}

TEST_F(EditHistoryModel, beginsAnewWithOtherBytes) {
  RandomEdits edits(session, 1);
  for (int number = 0; number < 20; ++number) edits.step();
  const auto beginning = history.beginning();
  fill({1, 2, 3});
  EXPECT_EQ(history.stepCount(), 0);
  EXPECT_NE(history.beginning(), beginning);
  for (int number = 0; number < 20; ++number) edits.step();
  ASSERT_NO_FATAL_FAILURE(expectEveryState());
}

TEST_F(EditHistoryModel, goesBackBeyondTheLevelsOfUndo) {
  fill({0});
  for (std::uint8_t value = 1; value <= 200; ++value)
    session.replaceRange({.range = {0, 1}, .actionName = "Edit", .after = {}}, Bytes{value});
  while (session.undo()) continue;
  ASSERT_GT(session.bytes()[0], 0) << "undo ends before";
  ASSERT_NO_FATAL_FAILURE(expectEveryState());
}

}  // namespace
}  // namespace quillmor::test
