// Random keys, clicks, drags and pastes, compared step by step with a plain model. The recording
// delegate checks on the way that every change is exactly the announced one.

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "editor/HexEditorState.h"
#include "support/EditorDoubles.h"
#include "support/NaiveHexEditor.h"

namespace quillmor {
namespace {

using Key = KeyPress::Key;

class TwoEditors {
 public:
  explicit TwoEditors(unsigned seed) : random_(seed), fixture_(startBytes()) {
    const std::int64_t maximum = fixture_.state->storage()->count() + below(40);
    fixture_.state->setMaximumByteCount(maximum);
    fixture_.state->setBytesPerRow(8);
    naive_.maximum = maximum;
    naive_.bytes = fixture_.bytes();
  }

  void step() {
    switch (below(11)) {
      case 0:
        return click();
      case 1:
        return drag();
      case 2:
      case 3:
        return arrow();
      case 4:
        return erase();
      case 5:
        return put();
      case 6:
        return toggleMode();
      default:
        return type();
    }
  }

  void expectEqual() const {
    const HexEditorState& state = *fixture_.state;
    ASSERT_EQ(fixture_.bytes(), naive_.bytes);
    ASSERT_EQ(state.caretOffset(), naive_.caret);
    ASSERT_EQ(state.selection().normalized(naive_.count()).length, naive_.selectionLength);
    if (naive_.selectionLength > 0) {
      ASSERT_EQ(state.selection().start, naive_.selectionStart);
    }
    ASSERT_EQ(state.editingHighNibble(), naive_.high);
    ASSERT_EQ(state.pendingLowNibbleEditAnnouncement(), naive_.pending);
    ASSERT_EQ(state.selectionAnchor(), naive_.anchor);
    ASSERT_EQ(fixture_.beeper->count, naive_.beeps);
    ASSERT_EQ(static_cast<int>(fixture_.delegate->announced.size()), naive_.announcements);
    ASSERT_EQ(fixture_.delegate->edits, naive_.edits);
  }

  int unannouncedEdits() const { return fixture_.delegate->unannouncedEdits; }

 private:
  std::int64_t below(std::int64_t limit) {
    return std::uniform_int_distribution<std::int64_t>(0, limit - 1)(random_);
  }

  /// Few distinct values, so that equal bytes are typed and pasted often.
  std::uint8_t byte() {
    static constexpr std::uint8_t kValues[] = {0x00, 0x41, 0x42, 0x1B, 0xB1, 0x61};
    return kValues[below(6)];
  }

  std::vector<std::uint8_t> someBytes(std::int64_t atMost) {
    std::vector<std::uint8_t> bytes;
    for (auto left = below(atMost + 1); left > 0; --left) bytes.push_back(byte());
    return bytes;
  }

  std::vector<std::uint8_t> startBytes() { return someBytes(60); }

  void click() {
    const std::int64_t offset = below(naive_.count() + 1);
    const bool ascii = below(2) == 0;
    const bool second = below(2) == 0;
    fixture_.state->mouseDown(ascii ? fixture_.asciiPoint(offset)
                                    : fixture_.hexPoint(offset, second ? 1 : 0));
    fixture_.state->mouseUp();
    naive_.click(offset, ascii, second);
  }

  void drag() {
    const std::int64_t start = below(naive_.count() + 1);
    const std::int64_t end = below(naive_.count() + 1);
    fixture_.state->mouseDown(fixture_.hexPoint(start));
    fixture_.state->mouseDragged(fixture_.hexPoint(end));
    fixture_.state->mouseUp();
    naive_.click(start, false, false);
    naive_.drag(start, end);
  }

  void arrow() {
    static constexpr std::pair<Key, std::int64_t> kArrows[] = {
        {Key::left, -1}, {Key::right, 1}, {Key::up, -8}, {Key::down, 8}};
    const auto [key, amount] = kArrows[below(4)];
    const bool shift = below(2) == 0;
    fixture_.press(key, shift);
    naive_.move(amount, shift);
  }

  void erase() {
    const bool backward = below(2) == 0;
    fixture_.press(backward ? Key::deleteBackward : Key::deleteForward);
    naive_.erase(backward);
  }

  void put() {
    auto bytes = someBytes(6);
    if (below(3) == 0 && naive_.selectionLength > 0) {
      const auto first = naive_.bytes.begin() + naive_.selectionStart;
      bytes.assign(first, first + naive_.selectionLength);
    }
    const bool isPaste = below(2) == 0;
    isPaste ? fixture_.state->paste(bytes) : fixture_.state->replaceSelection(bytes);
    naive_.put(bytes, isPaste);
  }

  void toggleMode() {
    naive_.insertMode = !naive_.insertMode;
    fixture_.state->setInsertMode(naive_.insertMode);
  }

  void type() {
    static constexpr std::string_view kCharacters = "0014Bb64AaG~\r";
    const char c =
        kCharacters[static_cast<std::size_t>(below(static_cast<std::int64_t>(kCharacters.size())))];
    fixture_.type(std::string(1, c));
    naive_.typeCharacter(c);
  }

  std::mt19937 random_;
  test::NaiveHexEditor naive_;
  test::EditorFixture fixture_;
};

TEST(HexEditorModel, randomInputDoesWhatThePlainModelDoes) {
  int unannounced = 0;
  for (unsigned seed = 0; seed < 200; ++seed) {
    TwoEditors editors(seed);
    for (int step = 0; step < 300; ++step) {
      editors.step();
      editors.expectEqual();
      if (testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << step;
    }
    unannounced += editors.unannouncedEdits();
  }
  EXPECT_GT(unannounced, 0) << "second digits after a first one or a click are part of the input";
}

}  // namespace
}  // namespace quillmor
