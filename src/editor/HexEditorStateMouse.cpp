#include <algorithm>
#include <cmath>

#include "editor/HexEditorState.h"

namespace quillmor {

void HexEditorState::mouseDown(Point point) {
  if (!isEditingEnabled_) return;
  if (surface_ != nullptr) surface_->takeKeyboardFocus();
  editingArea_ = point.x >= geometry_.asciiStart() ? EditingArea::ascii : EditingArea::hex;
  const std::int64_t offset = geometry_.offsetFor(point, shape(), caretOffset_);
  setCaretOffset(offset);
  if (editingArea_ == EditingArea::hex && point.x >= geometry_.hexStart()) {
    const double withinCell = std::fmod(point.x - geometry_.hexStart(), geometry_.charWidth() * 3);
    editingHighNibble_ = withinCell < geometry_.charWidth();
  }
  setSelection({.start = offset, .length = 0});
  trackingDragStart_ = offset;
  selectionAnchor_ = offset;
}

void HexEditorState::mouseDragged(Point point) {
  if (!isEditingEnabled_ || !trackingDragStart_) return;
  const std::int64_t start = *trackingDragStart_;
  const std::int64_t current = geometry_.offsetFor(point, shape(), caretOffset_);
  setCaretOffset(current);
  setSelection(selectionBetween(start, current));
  selectionAnchor_ = start;
}

void HexEditorState::mouseUp() {
  trackingDragStart_.reset();
}

HexSelection HexEditorState::selectionBetween(std::int64_t anchor, std::int64_t caret) const {
  const std::int64_t distance = caret < anchor ? anchor - caret : caret - anchor;
  // The end position is not a byte: reaching it adds none.
  return {.start = std::min(caret, anchor), .length = distance + (caret < count() ? 1 : 0)};
}

}  // namespace quillmor
