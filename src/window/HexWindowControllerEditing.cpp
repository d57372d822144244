// Announced edits, undo, and results of commands that change the bytes themselves.

#include <utility>

#include "base/Check.h"
#include "platform/RunInBackground.h"
#include "window/HexWindowController.h"

namespace quillmor {

namespace {

constexpr const char* kTooLargeToUndo = "This change was too large to be undone.";

}  // namespace

void HexWindowController::announceEdit(std::int64_t start, std::int64_t removedCount,
                                       std::int64_t insertedCount) {
  announceEdit(start, removedCount, insertedCount, "Edit");
}

void HexWindowController::announceEdit(std::int64_t start, std::int64_t removedCount,
                                       std::int64_t insertedCount, const std::string& actionName) {
  registerUndoEdit(start, removedCount, insertedCount, actionName);
  announcedEdit_->inserted = HexSelection{start, insertedCount};
  announcedEdit_->removedCount = removedCount;
}

void HexWindowController::editDidNotHappen() noexcept {
  announcedEdit_.reset();
}

void HexWindowController::hexEditorDidEdit(HexEditorState&) {
  auto edit = std::exchange(announcedEdit_, std::nullopt);
  const bool cannotBeUndone = edit && !edit->undo.isRecorded;
  edit ? announcedEditDidHappen(*std::move(edit)) : unannouncedEditDidHappen();
  updateStatus();
  // The last thing of an edit, after the caret has moved.
  cannotBeUndone ? showNotice(kTooLargeToUndo) : clearNotice();
}

/// Takes no memory until the change count has been told, which comes last.
void HexWindowController::announcedEditDidHappen(AnnouncedEdit edit) {
  newestRecordedEdit_.reset();
  if (edit.inserted) {
    if (edit.undo.isRecorded) newestRecordedEdit_ = edit.inserted;
    bookmarks_.adjustForEdit(edit.inserted->start, edit.removedCount, edit.inserted->length);
  }
  if (!undoRecords_.commit(std::move(edit.undo)))
    hexDocument_->updateChangeCount(ChangeCount::Change::done);
}

void HexWindowController::forgetAnnouncements() {
  editDidNotHappen();
  newestRecordedEdit_.reset();
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

void HexWindowController::restoreCaretAndSelection(std::int64_t caret,
                                                   HexSelection selection) noexcept {
  newestRecordedEdit_.reset();
  editor_.placeCaretAndSelection(caret, selection);
}

bool HexWindowController::registerUndoEdit(std::int64_t start, std::int64_t removedCount,
                                           std::int64_t insertedCount,
                                           const std::string& actionName,
                                           std::optional<ByteBuffer> removed) {
  editDidNotHappen();
  announcedEdit_ =
      AnnouncedEdit{.undo = undoRecords_.prepareUndoEdit(start, removedCount, insertedCount,
                                                         actionName, std::move(removed)),
                    .inserted = std::nullopt};
  return announcedEdit_->undo.isRecorded;
}

bool HexWindowController::registerUndoSnapshot(const std::string& actionName,
                                               std::optional<std::int64_t> resultingByteCount) {
  editDidNotHappen();
  announcedEdit_ =
      AnnouncedEdit{.undo = undoRecords_.prepareUndoSnapshot(actionName, resultingByteCount),
                    .inserted = std::nullopt};
  return announcedEdit_->undo.isRecorded;
}

void HexWindowController::markManualEdit(std::int64_t caretOffset, HexSelection selection,
                                         bool undoRegistered) {
  if (!announcedEdit_) announcedEdit_.emplace();
  checkPrecondition(announcedEdit_->undo.isRecorded == undoRegistered,
                    "an edit is marked as it was registered");
  editor_.placeCaretAndSelection(caretOffset, selection);
  showingInAnyCase([&] { hexEditorDidEdit(editor_); }, [&] { showStorage(); });
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
    markManualEdit(after.caretOffset, after.selection, announcedEdit_->undo.isRecorded);
  } else {
    editDidNotHappen();
    showFailure(replaced.error(), titles.failure);
  }
  return replaced.isOk();
}

void HexWindowController::undo() {
  if (isBusy()) return refuse(BackgroundTaskFrame::busyError().message());
  if (!hexDocument_->undoManager().canUndo()) return refuse(kNothingToUndo);
  showingInAnyCase([&] { hexDocument_->undoManager().undo(); }, [&] { showStorage(); });
}

void HexWindowController::redo() {
  if (isBusy()) return refuse(BackgroundTaskFrame::busyError().message());
  if (!hexDocument_->undoManager().canRedo()) return refuse(kNothingToRedo);
  showingInAnyCase([&] { hexDocument_->undoManager().redo(); }, [&] { showStorage(); });
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
