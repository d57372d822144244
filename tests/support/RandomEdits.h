#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <utility>
#include <vector>

#include "editor/EditSession.h"

namespace quillmor::test {

/// Edits a session as a user might: typing, pasting, whole documents, undo and redo. The same for
/// the same seed.
class RandomEdits {
 public:
  RandomEdits(EditSession& session, unsigned seed) : session_(session), random_(seed) {}

  /// A number of 0..<`bound`.
  std::int64_t below(std::int64_t bound) {
    return static_cast<std::int64_t>(random_() % static_cast<std::uint64_t>(bound));
  }

  /// One command, or a few keys. It may change nothing.
  void step() {
    hasTyped_ = false;
    const HexSelection range = someRange();
    switch (below(6)) {
      case 0:
        return session_.replaceRange({.range = range,
                                      .actionName = "Paste",
                                      .after = {.caretOffset = range.start, .selection = range}},
                                     someBytes());
      case 1:
        return installSomething(range, someBytes());
      case 2:
        session_.undo();
        return;
      case 3:
        session_.redo();
        return;
      default:
        hasTyped_ = true;
        return type();
    }
  }

  /// True if the last step was typing, which moves the caret even where it is no edit.
  bool hasTyped() const { return hasTyped_; }

 private:
  using Bytes = std::vector<std::uint8_t>;

  HexSelection someRange() {
    const std::int64_t start = below(session_.byteCount() + 1);
    return {start, below(std::min<std::int64_t>(session_.byteCount() - start, 40) + 1)};
  }

  Bytes someBytes() {
    Bytes bytes(static_cast<std::size_t>(below(30)));
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(below(4));
    return bytes;
  }

  void type() {
    HexEditorState& editor = session_.editor();
    editor.setInsertMode(below(2) == 0);
    editor.setEditingArea(below(2) == 0 ? EditingArea::hex : EditingArea::ascii);
    if (below(2) == 0) editor.setCaretOffset(below(session_.byteCount() + 1));
    for (auto left = below(5); left > 0; --left) editor.handleTextInput(below(2) == 0 ? "5" : "a");
    if (below(4) == 0) editor.deleteSelectionOrByte(below(2) == 0);
  }

  void installSomething(const HexSelection& range, const Bytes& bytes) {
    ByteBuffer whole = session_.bytes();
    whole.replace(range.start, range.length, bytes);
    const EditPlace after{.caretOffset = below(whole.size() + 1), .selection = {}};
    if (below(2) == 0) {
      session_.installPrepared({.range = range, .actionName = "Fill", .after = after},
                               std::move(whole));
    } else {
      session_.installDocument(std::move(whole), {0}, "Replace All", after);
    }
  }

  EditSession& session_;
  std::mt19937 random_;
  bool hasTyped_ = false;
};

}  // namespace quillmor::test
