// Announced edits, undo, and results of commands that change the bytes themselves.

#include "window/HexWindowController.h"

namespace quillmor {

void HexWindowController::announceEdit(std::int64_t start, std::int64_t removedCount,
                                       std::int64_t insertedCount) {
  announceEdit(start, removedCount, insertedCount, "Edit");
}

void HexWindowController::announceEdit(std::int64_t start, std::int64_t removedCount,
                                       std::int64_t insertedCount, const std::string& actionName) {
  withdrawEditThatDidNotHappen();
  editorMutationHasUndo_ = registerUndoEdit(start, removedCount, insertedCount, actionName);
  editorMutationWasAnnounced_ = true;
  if (removedCount != insertedCount) bookmarksBeforeEdit_ = bookmarks_.offsets();
  if (editorMutationHasUndo_) newestRecordedEdit_ = HexSelection{start, insertedCount};
  bookmarks_.adjustForEdit(start, removedCount, insertedCount);
}

void HexWindowController::hexEditorDidEdit(HexEditorState&) {
  if (!editorMutationWasAnnounced_) {
    unannouncedEditDidHappen();
  } else if (!editorMutationHasUndo_) {
    hexDocument_->updateChangeCount(ChangeCount::Change::done);
  }
  editorMutationWasAnnounced_ = false;
  editorMutationHasUndo_ = false;
  bookmarksBeforeEdit_.reset();
  updateStatus();
}

void HexWindowController::forgetAnnouncements() {
  editorMutationWasAnnounced_ = false;
  editorMutationHasUndo_ = false;
  newestRecordedEdit_.reset();
  bookmarksBeforeEdit_.reset();
}

/// An edit that was announced and then ran out of memory has left an undo step for a change that is
/// not there; taking that step would destroy bytes. The bytes are as before, the history goes.
void HexWindowController::withdrawEditThatDidNotHappen() {
  if (!editorMutationWasAnnounced_) return;
  if (bookmarksBeforeEdit_) bookmarks_.replaceAll(*std::move(bookmarksBeforeEdit_));
  forgetAnnouncements();
  removeUndoActions();
}

/// A second digit was typed without an announcement of its own. When it completes the byte of the
/// newest undo step, undoing that step takes it back too. Otherwise no undo leads back to what was
/// saved, and the document must not look saved again.
void HexWindowController::unannouncedEditDidHappen() {
  const std::int64_t changed = editor_.caretOffset() - 1;
  const bool undoTakesItBack = newestRecordedEdit_ && changed >= newestRecordedEdit_->start &&
                               changed - newestRecordedEdit_->start < newestRecordedEdit_->length;
  if (!hexDocument_->isDocumentEdited() || !undoTakesItBack)
    hexDocument_->makeSavedStateUnreachable();
}

void HexWindowController::restoreCaretAndSelection(std::int64_t caret, HexSelection selection) {
  newestRecordedEdit_.reset();
  editor_.recalcMetrics();
  moveCaret(caret, selection);
}

bool HexWindowController::registerUndoEdit(std::int64_t start, std::int64_t removedCount,
                                           std::int64_t insertedCount,
                                           const std::string& actionName,
                                           std::optional<ByteBuffer> removed) {
  withdrawEditThatDidNotHappen();
  newestRecordedEdit_.reset();
  return undoRecords_.registerUndoEdit(start, removedCount, insertedCount, actionName,
                                       std::move(removed));
}

bool HexWindowController::registerUndoSnapshot(const std::string& actionName,
                                               std::optional<std::int64_t> resultingByteCount) {
  withdrawEditThatDidNotHappen();
  newestRecordedEdit_.reset();
  return undoRecords_.registerUndoSnapshot(actionName, resultingByteCount);
}

void HexWindowController::markManualEdit(std::int64_t caretOffset, HexSelection selection,
                                         bool undoRegistered) {
  editorMutationWasAnnounced_ = true;
  editorMutationHasUndo_ = undoRegistered;
  editor_.recalcMetrics();
  moveCaret(caretOffset, selection);
  hexEditorDidEdit(editor_);
}

/// Puts `bytes` in the place of `range` as one undoable step. When memory runs out nothing changes,
/// and the answer is false, after an alert.
bool HexWindowController::replaceRange(HexSelection range, std::span<const std::uint8_t> bytes,
                                       const EditTitles& titles, const EditPlace& after) {
  const auto replaced = resultOf([&] {
    ByteBuffer& content = hexDocument_->storage()->bytes;
    // An overwrite needs no memory once the bytes are the document's own.
    if (range.length == std::ssize(bytes)) content.mutableSpan();
    announceEdit(range.start, range.length, std::ssize(bytes), titles.actionName);
    content.replace(range.start, range.length, bytes);
    return Done{};
  });
  if (replaced.isOk()) {
    markManualEdit(after.caretOffset, after.selection, editorMutationHasUndo_);
  } else {
    withdrawEditThatDidNotHappen();
    showFailure(replaced.error(), titles.failure);
  }
  return replaced.isOk();
}

void HexWindowController::undo() {
  withdrawEditThatDidNotHappen();
  if (isBusy() || !hexDocument_->undoManager().canUndo()) return platform_.beeper.beep();
  hexDocument_->undoManager().undo();
  updateStatus();
}

void HexWindowController::redo() {
  withdrawEditThatDidNotHappen();
  if (isBusy() || !hexDocument_->undoManager().canRedo()) return platform_.beeper.beep();
  hexDocument_->undoManager().redo();
  updateStatus();
}

void HexWindowController::deleteSelection() {
  if (refuseWhileBusy("Delete")) return;
  editor_.deleteSelectionOrByte(/*backward=*/false);
}

void HexWindowController::selectAll() {
  moveCaret(0, {0, byteCount()});
}

void HexWindowController::moveCaret(std::int64_t offset, HexSelection selection) {
  editor_.setCaretOffset(offset);
  editor_.setSelection(selection);
}

void HexWindowController::goTo(std::int64_t offset, HexSelection selection) {
  editor_.goTo(offset);
  editor_.setSelection(selection);
}

}  // namespace quillmor
