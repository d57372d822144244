#include <algorithm>

#include "editor/HexEditorState.h"

namespace quillmor {

bool HexEditorState::canApplyEdit(std::int64_t removedCount, std::int64_t insertedCount) {
  const std::int64_t removed = clampedToCount(removedCount, count());
  const std::int64_t inserted = std::max<std::int64_t>(insertedCount, 0);
  std::int64_t newCount = 0;
  const bool overflows = __builtin_add_overflow(count() - removed, inserted, &newCount);
  if (!overflows && newCount <= maximumByteCount_) return true;
  refuse(count() >= maximumByteCount_ ? "The document is at its size limit."
                                      : "The document would grow beyond its size limit.");
  return false;
}

/// Where `insertedCount` bytes go, and what they take the place of.
HexEditorState::Replacement HexEditorState::replacementFor(HexSelection normalized,
                                                           std::int64_t insertedCount) const {
  if (normalized.length > 0) return {normalized.start, normalized.length};
  const std::int64_t start = std::min(count(), caretOffset_);
  if (!overwritesAtCaret(normalized)) return {start, 0};
  return {start, std::min(insertedCount, count() - start)};
}

/// Replaces, leaves the caret after the new bytes and sets `newSelection`.
void HexEditorState::replace(Replacement replacement, std::span<const std::uint8_t> bytes,
                             HexSelection newSelection) {
  if (!canApplyEdit(replacement.removedCount, std::ssize(bytes))) return;
  edit(replacement.start, replacement.removedCount, std::ssize(bytes),
       [&] { storage_->bytes.replace(replacement.start, replacement.removedCount, bytes); });
  placeCaretAndSelection(clampedOffset(replacement.start, std::ssize(bytes)), newSelection);
  didEdit();
}

void HexEditorState::replaceSelection(std::span<const std::uint8_t> bytes) {
  if (refusesEditing()) return;
  const HexSelection selected = normalizedSelection();
  if (selected.length < 1 && bytes.empty()) return;
  const Replacement replacement = replacementFor(selected, std::ssize(bytes));
  replace(replacement, bytes, {.start = replacement.start, .length = std::ssize(bytes)});
}

void HexEditorState::deleteSelectionOrByte(bool backward) {
  if (refusesEditing()) return;
  const HexSelection selected = normalizedSelection();
  if (selected.length > 0) {
    edit(selected.start, selected.length, 0, [&] { storage_->delete_(selected); });
    placeCaretAndSelection(selected.start, {});
  } else {
    if (backward ? caretOffset_ < 1 : caretOffset_ >= count()) return;
    const std::int64_t place = backward ? caretOffset_ - 1 : caretOffset_;
    edit(place, 1, 0, [&] { storage_->delete_({.start = place, .length = 1}); });
    if (backward) placeCaret(place);
  }
  didEdit();
}

void HexEditorState::paste(std::span<const std::uint8_t> bytes) {
  if (refusesEditing() || bytes.empty()) return;
  const HexSelection selected = normalizedSelection();
  if (skipsOverEqualBytes(selected, bytes)) return;
  replace(replacementFor(selected, std::ssize(bytes)), bytes, {});
}

/// If `bytes` equal the bytes that they would replace, moves the caret after them and returns true.
bool HexEditorState::skipsOverEqualBytes(HexSelection normalized,
                                         std::span<const std::uint8_t> bytes) {
  if (normalized.length > 0) {
    if (!storage_->bytesEqual(normalized, bytes)) return false;
    setCaretOffset(normalized.start + normalized.length);
    setSelection({});
    return true;
  }
  if (!overwritesAtCaret(normalized)) return false;
  if (!storage_->bytesEqual({.start = caretOffset_, .length = std::ssize(bytes)}, bytes))
    return false;
  setCaretOffset(clampedOffset(caretOffset_, std::ssize(bytes)));
  updateStatus();
  return true;
}

}  // namespace quillmor
