#include "editor/HexEditorState.h"

#include <algorithm>
#include <utility>

#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

/// How much is shown above and below a place gone to.
constexpr std::int64_t kContextRows = 3;

}  // namespace

HexEditorState::HexEditorState(Beeper& beeper)
    : beeper_(beeper), storage_(std::make_shared<HexStorage>()) {}

HexEditorState::~HexEditorState() {
  setSurface(nullptr);
}

void HexEditorState::setSurface(HexEditorSurface* surface) {
  HexEditorSurface* const before = std::exchange(surface_, surface);
  if (before != nullptr && before != surface) before->detached();
}

void HexEditorState::setStorage(std::shared_ptr<HexStorage> storage) {
  storage_ = std::move(storage);
}

void HexEditorState::setBytesPerRow(std::int64_t value) {
  const std::int64_t clamped = std::clamp<std::int64_t>(value, 8, 32);
  if (clamped == bytesPerRow_) return;
  const Point scroll = surface_ != nullptr ? surface_->scrollPosition() : Point{};
  const PlaceInView place =
      geometry_.placeToKeep(scroll.y, viewportSize_.height, caretOffset_, shape());
  bytesPerRow_ = clamped;
  layOut();
  if (surface_ != nullptr) {
    surface_->scrollTo({scroll.x, geometry_.scrollFor(place, bytesPerRow_)});
    surface_->contentsChanged();
  }
  redraw();
}

void HexEditorState::setCaretOffset(std::int64_t value) {
  placeCaret(value);
  showCaretAndSelection();
}

void HexEditorState::goTo(std::int64_t offset) {
  placeCaret(offset);
  show(geometry_.contextAround(viewportSize_.height, kContextRows));
}

void HexEditorState::placeCaret(std::int64_t offset) noexcept {
  caretOffset_ = clampedToCount(offset, count());
  editingHighNibble_ = true;
  pendingLowNibbleEditAnnouncement_ = false;
  firstDigitWasAnnounced_ = false;
  selectionAnchor_.reset();
}

void HexEditorState::placeCaretAndSelection(std::int64_t caretOffset,
                                            HexSelection selection) noexcept {
  placeCaret(caretOffset);
  selection_ = selection;
}

void HexEditorState::showCaretAndSelection() {
  show(0);
}

void HexEditorState::show(double context) {
  if (surface_ != nullptr) {
    Rect shown = caretDrawingRect().enlarged(4, 2 + context);
    // Where the surroundings reach into the header it is shown whole.
    if (context > 0 && shown.y < geometry_.rowTop(0)) {
      shown.height += shown.y;
      shown.y = 0;
    }
    surface_->scrollToVisible(shown);
    surface_->redrawVisiblePart();
    surface_->caretOrSelectionChanged();
  }
  updateStatus();
}

void HexEditorState::setSelection(HexSelection value) {
  selection_ = value;
  updateStatus();
  redraw();
  if (surface_ != nullptr) surface_->caretOrSelectionChanged();
}

void HexEditorState::setEditingEnabled(bool value) {
  if (value == isEditingEnabled_) return;
  isEditingEnabled_ = value;
  // The caret is shown only while editing is enabled.
  redraw();
}

void HexEditorState::setEditingArea(EditingArea value) {
  if (value == editingArea_) return;
  editingArea_ = value;
  redraw();
}

void HexEditorState::setFontMetrics(double widthOfW, double fontHeight) {
  geometry_.setFontMetrics(widthOfW, fontHeight);
}

void HexEditorState::recalcMetrics() {
  layOut();
  if (surface_ != nullptr) surface_->contentsChanged();
}

/// For edits, which report the new contents once they are complete.
void HexEditorState::layOut() {
  if (geometry_.recalcMetrics(shape(), viewportSize_) && surface_ != nullptr) {
    surface_->documentSizeChanged();
  }
}

Rect HexEditorState::caretDrawingRect() const {
  return geometry_.caretDrawingRect(
      {.offset = caretOffset_, .area = editingArea_, .highNibble = editingHighNibble_},
      bytesPerRow_);
}

bool HexEditorState::overwritesAtCaret(HexSelection normalized) const {
  return normalized.length < 1 && !insertMode_ && caretOffset_ < count();
}

bool HexEditorState::refusesEditing() {
  if (!isEditingEnabled_) refuse("The document cannot be edited while an operation is running.");
  return !isEditingEnabled_;
}

void HexEditorState::refuse(const std::string& reason) {
  beeper_.beep();
  if (delegate_ != nullptr) delegate_->didRefuse(reason);
}

void HexEditorState::redraw() {
  if (surface_ != nullptr) surface_->redrawVisiblePart();
}

void HexEditorState::updateStatus() {
  if (delegate_ != nullptr) delegate_->updateStatus();
}

/// Accounts for an edit, and only then shows it: whatever showing may fail with, bytes, caret,
/// history and change count agree.
void HexEditorState::didEdit() {
  const auto account = [&] {
    if (delegate_ != nullptr) delegate_->hexEditorDidEdit(*this);
  };
  showingInAnyCase(account, [&] {
    layOut();
    showCaretAndSelection();
    if (surface_ != nullptr) surface_->contentsChanged();
  });
}

}  // namespace quillmor
