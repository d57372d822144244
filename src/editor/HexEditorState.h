#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/SaturatingMath.h"
#include "document/HexSelection.h"
#include "document/HexStorage.h"
#include "editor/HexEditorGeometry.h"
#include "platform/Beeper.h"

namespace quillmor {

class HexEditorState;

/// The owner of a hex view. All calls come on the main thread.
class HexEditorViewDelegate {
 public:
  virtual ~HexEditorViewDelegate() = default;

  /// The `removedCount` bytes from `start` are about to be replaced by `insertedCount` others; the
  /// storage still holds the old bytes. This is the moment to record undo and to move bookmarks.
  virtual void announceEdit(std::int64_t start, std::int64_t removedCount,
                            std::int64_t insertedCount) = 0;

  /// A digit is about to complete a byte whose first digit was announced.
  virtual void willTypeSecondDigit() noexcept = 0;

  /// The announced edit failed because memory ran out; the storage is unchanged.
  virtual void editDidNotHappen() noexcept = 0;

  /// The storage has changed, and caret and selection are those after the edit; nothing is shown
  /// yet. A digit that completes a byte whose first digit was announced comes without an
  /// announcement of its own.
  virtual void hexEditorDidEdit(HexEditorState& editor) = 0;

  /// The caret or the selection was set.
  virtual void updateStatus() = 0;

  /// Input was refused with a beep; `reason` is a sentence for the user.
  virtual void didRefuse(const std::string& reason) = 0;
};

/// The widget that shows a `HexEditorState`. All calls come on the main thread.
class HexEditorSurface {
 public:
  virtual ~HexEditorSurface() = default;

  /// Something visible may have changed.
  virtual void redrawVisiblePart() = 0;

  /// `HexEditorGeometry::frameSize` has changed.
  virtual void documentSizeChanged() = 0;

  /// Scrolls as little as needed to show `rect` (document coordinates).
  virtual void scrollToVisible(const Rect& rect) = 0;

  /// The document coordinates of the viewport's top left corner.
  virtual Point scrollPosition() const = 0;

  /// Scrolls there, as far as the document goes.
  virtual void scrollTo(Point position) = 0;

  /// Gives the keyboard focus to this view.
  virtual void takeKeyboardFocus() = 0;

  /// The caret or the selection was set, for assistive technology.
  virtual void caretOrSelectionChanged() = 0;

  /// Bytes may have changed, or their rows, for assistive technology.
  virtual void contentsChanged() = 0;

  /// The state has another surface, or none, or is being destroyed. Do not use it any more.
  virtual void detached() = 0;
};

/// One key press, named independently of the toolkit.
struct KeyPress {
  enum class Key { deleteBackward, deleteForward, left, right, down, up, other };

  Key key = Key::other;
  bool shift = false;
  bool command = false;
  /// The text that the key types, in UTF-8. Looked at for `Key::other` only.
  std::string characters;

  /// True if the press carries no characters. The named keys always count as having some: whether a
  /// toolkit reports them differs between systems.
  bool isEmpty() const { return key == Key::other && characters.empty(); }
};

/// The hex view without its drawing: caret, selection, typing modes, and what keyboard, mouse and
/// commands do with them. Edits go straight into the storage. Each is announced to the delegate
/// before it happens and reported afterwards. A refusal beeps, changes nothing, and gives its
/// reason to the delegate.
///
/// Main thread only. Delegate, surface and beeper must outlive the state or be reset.
class HexEditorState {
 public:
  explicit HexEditorState(Beeper& beeper);
  ~HexEditorState();
  HexEditorState(const HexEditorState&) = delete;
  HexEditorState& operator=(const HexEditorState&) = delete;

  void setDelegate(HexEditorViewDelegate* delegate) { delegate_ = delegate; }
  /// Without a surface the state works in the same way and shows nothing.
  void setSurface(HexEditorSurface* surface);

  const std::shared_ptr<HexStorage>& storage() const { return storage_; }
  /// Replaces the bytes shown; the caller then sets caret and selection and lays out again.
  void setStorage(std::shared_ptr<HexStorage> storage);

  /// Clamped to 8...32. The view keeps its place: the row of the caret if it is visible, else the
  /// first visible row.
  std::int64_t bytesPerRow() const { return bytesPerRow_; }
  void setBytesPerRow(std::int64_t value);

  /// Whether typing inserts bytes instead of overwriting them.
  bool insertMode() const { return insertMode_; }
  void setInsertMode(bool value) { insertMode_ = value; }

  /// Clamped to 0...count; setting it expects a first digit again, forgets the selection's anchor
  /// and scrolls the caret into view.
  std::int64_t caretOffset() const { return caretOffset_; }
  void setCaretOffset(std::int64_t value);
  /// The same, for a jump: also shows a few rows above and below, if there is room.
  void goTo(std::int64_t offset);

  /// Sets caret and selection as the two setters do, but shows nothing, so it cannot fail after a
  /// change of the bytes. Call `showCaretAndSelection` afterwards.
  void placeCaretAndSelection(std::int64_t caretOffset, HexSelection selection) noexcept;
  /// Scrolls the caret into view and redraws.
  void showCaretAndSelection();

  /// Kept as given; use it normalised.
  HexSelection selection() const { return selection_; }
  void setSelection(HexSelection value);

  /// False while a background operation runs: editing and selecting by mouse are refused.
  bool isEditingEnabled() const { return isEditingEnabled_; }
  void setEditingEnabled(bool value);

  /// The size that no edit may exceed, in bytes.
  std::int64_t maximumByteCount() const { return maximumByteCount_; }
  void setMaximumByteCount(std::int64_t value) { maximumByteCount_ = value; }

  EditingArea editingArea() const { return editingArea_; }
  void setEditingArea(EditingArea value);

  /// True if the next hex digit is the first of a byte.
  bool editingHighNibble() const { return editingHighNibble_; }

  /// True if the announcement of an edit waits for the second digit, because the first one did not
  /// change the byte.
  bool pendingLowNibbleEditAnnouncement() const { return pendingLowNibbleEditAnnouncement_; }

  /// The offset where the current mouse drag began.
  std::optional<std::int64_t> trackingDragStart() const { return trackingDragStart_; }

  /// The fixed end of the selection being made.
  std::optional<std::int64_t> selectionAnchor() const { return selectionAnchor_; }

  const HexEditorGeometry& geometry() const { return geometry_; }
  HexDocumentShape shape() const { return {.byteCount = count(), .bytesPerRow = bytesPerRow_}; }
  /// See `HexEditorGeometry::setFontMetrics`.
  void setFontMetrics(double widthOfW, double fontHeight);
  /// The size of the visible part of the document; takes effect with `recalcMetrics`.
  void setViewportSize(Size size) { viewportSize_ = size; }
  /// Lays out again; cheap when nothing has changed. Call it after every change of the bytes.
  void recalcMetrics();
  Rect caretDrawingRect() const;

  // Mouse (HexEditorStateMouse.cpp). Points are document coordinates.
  void mouseDown(Point point);
  void mouseDragged(Point point);
  void mouseUp();

  // Keyboard (HexEditorStateKeyboard.cpp).
  /// Returns false when the key is left to the toolkit.
  bool keyDown(const KeyPress& press);
  /// Moves by `amount` bytes, stopping at the document's ends; extends the selection or clears it.
  void moveCaret(std::int64_t amount, bool extending);
  /// `offset` moved by `amount` and clamped to 0...count, whatever their sum.
  std::int64_t clampedOffset(std::int64_t offset, std::int64_t amount) const;

  // Typing (HexEditorStateTyping.cpp).
  /// Types the first character of `characters` (UTF-8) into the current column.
  void handleTextInput(std::string_view characters);
  /// Types one hex digit, 0...15.
  void editHexNibble(std::uint8_t value);
  /// Types one whole byte.
  void editByte(std::uint8_t value);

  // Replacing (HexEditorStateReplacing.cpp).
  /// True if the document's size allows the edit; otherwise refuses it.
  bool canApplyEdit(std::int64_t removedCount, std::int64_t insertedCount);
  /// Returns how many bytes a paste of `insertedCount` bytes would replace now.
  std::int64_t byteCountReplacedBy(std::int64_t insertedCount) const {
    return replacementFor(normalizedSelection(), insertedCount).removedCount;
  }
  /// Puts `bytes` in place of the selection, or at the caret, and selects them. `bytes` must not be
  /// part of the storage.
  void replaceSelection(std::span<const std::uint8_t> bytes);
  void deleteSelectionOrByte(bool backward);
  /// Like `replaceSelection`, but leaves the caret after the bytes and nothing selected. Pasting
  /// equal bytes over bytes is no edit.
  void paste(std::span<const std::uint8_t> bytes);

 private:
  std::int64_t count() const { return storage_->count(); }
  HexSelection normalizedSelection() const { return selection_.normalized(count()); }
  bool overwritesAtCaret(HexSelection normalized) const;
  bool refusesEditing();
  void refuse(const std::string& reason);
  /// Scrolls the caret into view with `context` above and below it, in document coordinates, and
  /// redraws.
  void show(double context);
  void redraw();
  void updateStatus();
  void placeCaret(std::int64_t offset) noexcept;
  template <class Change>
  void edit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
            const Change& change);
  template <class Change>
  void makeAnnounced(const Change& change);
  void didEdit();
  void layOut();

  std::int64_t anchorForExtending(HexSelection normalized) const;
  HexSelection selectionBetween(std::int64_t anchor, std::int64_t caret) const;

  void editFirstNibble(std::uint8_t value);
  void overwriteFirstNibble(std::uint8_t value);
  void makeByteForFirstNibble(HexSelection normalized, std::uint8_t value);
  void expectSecondDigit();
  void editSecondNibble(std::uint8_t value);

  struct Replacement {
    std::int64_t start = 0;
    std::int64_t removedCount = 0;
  };
  Replacement replacementFor(HexSelection normalized, std::int64_t insertedCount) const;
  void replace(Replacement replacement, std::span<const std::uint8_t> bytes,
               HexSelection newSelection);
  bool skipsOverEqualBytes(HexSelection normalized, std::span<const std::uint8_t> bytes);

  Beeper& beeper_;
  HexEditorViewDelegate* delegate_ = nullptr;
  HexEditorSurface* surface_ = nullptr;
  HexEditorGeometry geometry_;
  Size viewportSize_;

  std::shared_ptr<HexStorage> storage_;
  std::int64_t bytesPerRow_ = 16;
  bool insertMode_ = false;
  std::int64_t caretOffset_ = 0;
  HexSelection selection_;
  bool isEditingEnabled_ = true;
  std::int64_t maximumByteCount_ = kMaxInt64;
  EditingArea editingArea_ = EditingArea::hex;
  bool editingHighNibble_ = true;
  bool pendingLowNibbleEditAnnouncement_ = false;
  /// True if the announced edit of the first digit stands for the second one too.
  bool firstDigitWasAnnounced_ = false;
  std::optional<std::int64_t> trackingDragStart_;
  std::optional<std::int64_t> selectionAnchor_;
};

/// Announces an edit and makes it with `change`, which changes the storage or throws.
template <class Change>
void HexEditorState::edit(std::int64_t start, std::int64_t removedCount, std::int64_t insertedCount,
                          const Change& change) {
  firstDigitWasAnnounced_ = false;
  if (delegate_ != nullptr) delegate_->announceEdit(start, removedCount, insertedCount);
  makeAnnounced(change);
}

template <class Change>
void HexEditorState::makeAnnounced(const Change& change) {
  try {
    change();
  } catch (...) {
    if (delegate_ != nullptr) delegate_->editDidNotHappen();
    throw;
  }
}

}  // namespace quillmor
