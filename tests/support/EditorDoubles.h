#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "editor/HexEditorState.h"
#include "support/TestPlatform.h"

namespace quillmor::test {

/// One announced edit.
struct AnnouncedEdit {
  std::int64_t start = 0;
  std::int64_t removedCount = 0;
  std::int64_t insertedCount = 0;
  bool operator==(const AnnouncedEdit&) const = default;
};

inline void PrintTo(const AnnouncedEdit& edit, std::ostream* out) {
  *out << "(" << edit.start << ", " << edit.removedCount << ", " << edit.insertedCount << ")";
}

/// Writes down what a hex view tells its owner, and checks that no byte changes before it is
/// announced, and that what then changes is exactly what was announced.
class RecordingDelegate : public HexEditorViewDelegate {
 public:
  explicit RecordingDelegate(HexEditorState& state) : state_(state) { rememberBytes(); }

  void announceEdit(std::int64_t start, std::int64_t removedCount,
                    std::int64_t insertedCount) override;
  void willTypeSecondDigit() noexcept override { ++secondDigits; }
  void editDidNotHappen() noexcept override { isAnnounced_ = false; }
  void hexEditorDidEdit(HexEditorState& editor) override;
  void updateStatus() override { ++statusUpdates; }
  void didRefuse(const std::string& reason) override { refusals.push_back(reason); }

  /// Takes the bytes as they are for what they were, after the test has changed them itself.
  void rememberBytes();
  void clear();

  std::vector<AnnouncedEdit> announced;
  int edits = 0;
  int unannouncedEdits = 0;
  int secondDigits = 0;
  int statusUpdates = 0;
  std::vector<std::string> refusals;
  /// Whether accounting for an edit runs out of memory in the end.
  bool failsAfterEdits = false;

 private:
  void expectOnlyAnnouncedChange(const AnnouncedEdit& edit, std::span<const std::uint8_t> now);
  void expectOneByteCompleted(std::span<const std::uint8_t> now);

  HexEditorState& state_;
  std::vector<std::uint8_t> before_;
  bool isAnnounced_ = false;
};

/// Counts what a hex view asks of its widget.
class RecordingSurface : public HexEditorSurface {
 public:
  void redrawVisiblePart() override { ++redraws; }
  void documentSizeChanged() override { ++sizeChanges; }
  void scrollToVisible(const Rect& rect) override { scrolledTo.push_back(rect); }
  Point scrollPosition() const override { return scroll; }
  void scrollTo(Point position) override { scroll = position; }
  void takeKeyboardFocus() override { ++focusRequests; }
  void caretOrSelectionChanged() override { ++caretChanges; }
  void contentsChanged() override { ++contentChanges; }
  void detached() override { ++detachments; }

  int redraws = 0;
  int sizeChanges = 0;
  int focusRequests = 0;
  int caretChanges = 0;
  int contentChanges = 0;
  int detachments = 0;
  std::vector<Rect> scrolledTo;
  Point scroll;
};

inline std::vector<std::uint8_t> bytesOf(const HexEditorState& state) {
  const auto span = state.storage()->bytes.span();
  return {span.begin(), span.end()};
}

/// A state laid out with cells of 8 by 20, its delegate and its surface.
struct EditorFixture {
  EditorFixture() : EditorFixture(std::vector<std::uint8_t>{}) {}
  explicit EditorFixture(const std::vector<std::uint8_t>& bytes);
  static EditorFixture counting(int byteCount);

  void type(std::string_view characters);
  void press(KeyPress::Key key, bool shift = false);
  Point hexPoint(std::int64_t offset, double digit = 0) const;
  Point asciiPoint(std::int64_t offset) const;
  std::vector<std::uint8_t> bytes() const { return bytesOf(*state); }

  std::unique_ptr<CountingBeeper> beeper = std::make_unique<CountingBeeper>();
  std::unique_ptr<RecordingSurface> surface = std::make_unique<RecordingSurface>();
  std::unique_ptr<HexEditorState> state = std::make_unique<HexEditorState>(*beeper);
  std::unique_ptr<RecordingDelegate> delegate;
};

}  // namespace quillmor::test
