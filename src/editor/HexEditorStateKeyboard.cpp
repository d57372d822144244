#include "editor/HexEditorState.h"

namespace quillmor {

bool HexEditorState::keyDown(const KeyPress& press) {
  if (refusesEditing()) return true;
  if (press.isEmpty()) return false;
  using Key = KeyPress::Key;
  switch (press.key) {
    case Key::deleteBackward:
      deleteSelectionOrByte(true);
      return true;
    case Key::deleteForward:
      deleteSelectionOrByte(false);
      return true;
    case Key::left:
      moveCaret(-1, press.shift);
      return true;
    case Key::right:
      moveCaret(1, press.shift);
      return true;
    case Key::down:
      moveCaret(bytesPerRow_, press.shift);
      return true;
    case Key::up:
      moveCaret(-bytesPerRow_, press.shift);
      return true;
    case Key::other:
      break;
  }
  if (press.command) return false;
  handleTextInput(press.characters);
  return true;
}

std::int64_t HexEditorState::clampedOffset(std::int64_t offset, std::int64_t amount) const {
  return clampedToCount(saturatingAdd(offset, amount), count());
}

std::int64_t HexEditorState::anchorForExtending(HexSelection normalized) const {
  if (selectionAnchor_) return *selectionAnchor_;
  if (normalized.length < 1) return caretOffset_;
  // A caret at the selection's start extends from the far end, as if it had been dragged there.
  if (normalized.start >= caretOffset_) return normalized.start + normalized.length - 1;
  return normalized.start;
}

void HexEditorState::moveCaret(std::int64_t amount, bool extending) {
  const std::int64_t anchor = anchorForExtending(normalizedSelection());
  setCaretOffset(clampedOffset(caretOffset_, amount));
  if (!extending) {
    setSelection({});
    return;
  }
  selectionAnchor_ = anchor;
  setSelection(selectionBetween(anchor, caretOffset_));
}

}  // namespace quillmor
