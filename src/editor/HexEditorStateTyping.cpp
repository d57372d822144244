#include <algorithm>
#include <array>

#include "base/HexText.h"
#include "editor/HexEditorState.h"

namespace quillmor {

namespace {

std::uint8_t withHighNibble(std::uint8_t byte, std::uint8_t nibble) {
  return static_cast<std::uint8_t>((byte & 0x0F) | (nibble << 4));
}

std::uint8_t withLowNibble(std::uint8_t byte, std::uint8_t nibble) {
  return static_cast<std::uint8_t>((byte & 0xF0) | nibble);
}

}  // namespace

void HexEditorState::handleTextInput(std::string_view characters) {
  if (characters.empty()) return;
  // Only ASCII can be typed, and an ASCII character is one byte in UTF-8. The first byte of any
  // other character is above 126, which both columns refuse.
  const char first = characters.front();
  if (editingArea_ == EditingArea::hex) {
    if (const auto digit = hexDigitValue(first)) return editHexNibble(*digit);
  } else if (first >= ' ' && first <= '~') {
    return editByte(static_cast<std::uint8_t>(first));
  }
  refuse(editingArea_ == EditingArea::hex
             ? "Only the digits 0 to 9 and A to F can be typed in this column."
             : "Only printable ASCII characters can be typed in this column.");
}

void HexEditorState::editHexNibble(std::uint8_t value) {
  if (refusesEditing()) return;
  if (!editingHighNibble_ && caretOffset_ >= count()) editingHighNibble_ = true;
  if (editingHighNibble_) {
    editFirstNibble(value);
  } else {
    editSecondNibble(value);
  }
}

void HexEditorState::editSecondNibble(std::uint8_t value) {
  const std::uint8_t old = storage_->bytes[caretOffset_];
  const std::uint8_t edited = withLowNibble(old, value);
  if (edited == old) {
    pendingLowNibbleEditAnnouncement_ = false;
    setCaretOffset(clampedOffset(caretOffset_, 1));
    updateStatus();
    redraw();
    return;
  }
  const auto write = [&] { storage_->bytes.set(caretOffset_, edited); };
  if (firstDigitWasAnnounced_ && delegate_ != nullptr) delegate_->willTypeSecondDigit();
  // The step of the first digit takes the second one back too. Without such a step, as after a
  // click on the second digit, there is one of its own.
  firstDigitWasAnnounced_ ? makeAnnounced(write) : edit(caretOffset_, 1, 1, write);
  placeCaret(clampedOffset(caretOffset_, 1));
  didEdit();
}

void HexEditorState::editFirstNibble(std::uint8_t value) {
  const HexSelection selected = normalizedSelection();
  if (!overwritesAtCaret(selected)) return makeByteForFirstNibble(selected, value);
  overwriteFirstNibble(value);
}

/// The caret stays on the byte of the first digit.
void HexEditorState::expectSecondDigit() {
  editingHighNibble_ = false;
  updateStatus();
  if (surface_ != nullptr) surface_->caretOrSelectionChanged();
}

/// An equal digit is no edit: the second digit decides whether there is one.
void HexEditorState::overwriteFirstNibble(std::uint8_t value) {
  const std::uint8_t old = storage_->bytes[caretOffset_];
  const std::uint8_t edited = withHighNibble(old, value);
  if (edited == old) {
    pendingLowNibbleEditAnnouncement_ = true;
    firstDigitWasAnnounced_ = false;
    expectSecondDigit();
    return redraw();
  }
  edit(caretOffset_, 1, 1, [&] { storage_->bytes.set(caretOffset_, edited); });
  pendingLowNibbleEditAnnouncement_ = false;
  firstDigitWasAnnounced_ = true;
  editingHighNibble_ = false;
  didEdit();
}

/// Puts a byte of the digit and a zero in place of the selection, or at the caret, and the caret on
/// it. Beeps when the document may not grow.
void HexEditorState::makeByteForFirstNibble(HexSelection normalized, std::uint8_t value) {
  if (!canApplyEdit(normalized.length, 1)) return;
  const std::array<std::uint8_t, 1> byte{withHighNibble(0, value)};
  const bool replaces = normalized.length > 0;
  const std::int64_t place = replaces ? normalized.start : std::min(count(), caretOffset_);
  edit(place, normalized.length, 1,
       [&] { storage_->bytes.replace(place, normalized.length, byte); });
  placeCaretAndSelection(place, replaces ? HexSelection{} : selection_);
  firstDigitWasAnnounced_ = true;
  editingHighNibble_ = false;
  didEdit();
}

void HexEditorState::editByte(std::uint8_t value) {
  if (refusesEditing()) return;
  const HexSelection selected = normalizedSelection();
  const bool overwrites = overwritesAtCaret(selected);
  if (overwrites && storage_->bytes[caretOffset_] == value) {
    setCaretOffset(clampedOffset(caretOffset_, 1));
    updateStatus();
    return;
  }
  const Replacement replacement = replacementFor(selected, 1);
  if (!canApplyEdit(replacement.removedCount, 1)) return;
  const std::array<std::uint8_t, 1> byte{value};
  edit(replacement.start, replacement.removedCount, 1,
       [&] { storage_->bytes.replace(replacement.start, replacement.removedCount, byte); });
  const bool replaced = selected.length > 0;
  placeCaretAndSelection(clampedOffset(replaced ? selected.start : caretOffset_, 1),
                         replaced ? HexSelection{} : selection_);
  didEdit();
}

}  // namespace quillmor
