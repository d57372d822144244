#include "editor/EditSession.h"

#include <utility>

#include "base/SaturatingMath.h"
#include "document/QuillmorResourceLimits.h"
#include "platform/RunInBackground.h"

namespace quillmor {

namespace {

constexpr const char* kTyping = "Edit";

/// Recorders look at so few bytes themselves.
constexpr std::int64_t kFewBytes = 16;

/// The smallest change where it is found at once; larger documents count as changed all over.
ReplacedRange replacedByInstalling(const ByteBuffer& before, const ByteBuffer& after) {
  constexpr std::int64_t kMost = UndoRecords::maxUndoSnapshotBytes;
  if (before.size() <= kMost && after.size() <= kMost)
    return replacedRange(before.span(), after.span());
  return {.offset = 0, .removedCount = before.size(), .insertedCount = after.size()};
}

}  // namespace

EditSession::EditSession(std::shared_ptr<HexDocument> document, Beeper& beeper,
                         EditSessionObserver& observer)
    : document_(std::move(document)),
      observer_(observer),
      editor_(beeper),
      undoRecords_([this]() -> HexStorage& { return *document_->storage(); },
                   &document_->undoManager(), bookmarks_, *this, this) {
  const std::int64_t limit = QuillmorResourceLimits::maximumDocumentByteCount();
  UndoManager& undoManager = document_->undoManager();
  const int cap = undoLevelCap(limit);
  if (undoManager.levelsOfUndo() == 0 || undoManager.levelsOfUndo() > cap)
    undoManager.setLevelsOfUndo(cap);
  editor_.setMaximumByteCount(limit);
  editor_.setStorage(document_->storage());
  editor_.setDelegate(this);
}

EditSession::~EditSession() {
  removeUndoActions();
}

void EditSession::moveCaret(const EditPlace& place) {
  editor_.setCaretOffset(place.caretOffset);
  editor_.setSelection(place.selection);
}

void EditSession::goTo(const EditPlace& place) {
  editor_.goTo(place.caretOffset);
  editor_.setSelection(place.selection);
}

void EditSession::replaceRange(RangeEdit edit, std::span<const std::uint8_t> bytes) {
  announcing(edit, [&] {
    ByteBuffer& content = document_->storage()->bytes;
    const bool isOverwrite = edit.range.length == std::ssize(bytes);
    // An overwrite needs no memory once the bytes are the document's own. One of all bytes leaves
    // them to undo and gets memory of its own.
    if (isOverwrite && edit.range.length < content.size()) content.makeUnique();
    AnnouncedEdit announced = announcementOf(edit, std::ssize(bytes));
    content.replace(edit.range.start, edit.range.length, bytes);
    finish(std::move(announced), edit.after);
  });
}

void EditSession::installPrepared(RangeEdit edit, ByteBuffer wholeDocument) {
  announcing(edit, [&] {
    const std::int64_t insertedCount = wholeDocument.size() - (byteCount() - edit.range.length);
    AnnouncedEdit announced = announcementOf(edit, insertedCount);
    document_->storage()->bytes = std::move(wholeDocument);
    finish(std::move(announced), edit.after);
  });
}

void EditSession::installDocument(ByteBuffer bytes, std::vector<std::int64_t> bookmarks,
                                  const std::string& actionName, const EditPlace& after) {
  const ReplacedRange replaced = replacedByInstalling(this->bytes(), bytes);
  announcing({replaced.offset, replaced.removedCount}, nullptr, [&] {
    AnnouncedEdit announced{.undo = undoRecords_.prepareUndoSnapshot(actionName, bytes.size()),
                            .actionName = actionName,
                            .replaced = replaced};
    document_->storage()->bytes = std::move(bytes);
    bookmarks_.replaceAll(std::move(bookmarks));
    finish(std::move(announced), after);
  });
}

bool EditSession::undo() {
  UndoManager& manager = document_->undoManager();
  if (!manager.canUndo()) return false;
  restore("Undo " + manager.undoActionName(), [&] { manager.undo(); });
  return true;
}

bool EditSession::redo() {
  UndoManager& manager = document_->undoManager();
  if (!manager.canRedo()) return false;
  restore("Redo " + manager.redoActionName(), [&] { manager.redo(); });
  return true;
}

template <class Step>
void EditSession::restore(const std::string& actionName, Step step) {
  restored_.reset();
  const auto tellRecorders = [&] {
    restored_ ? didEdit(actionName, *restored_) : editDidNotHappen();
  };
  showingInAnyCase([&] { showingInAnyCase(step, tellRecorders); }, [&] { showStorage(); });
}

void EditSession::takeStorage(std::shared_ptr<HexStorage> storage,
                              bool preservingEditorState) noexcept {
  const std::int64_t count = storage->count();
  const EditPlace kept = preservingEditorState ? place() : EditPlace{};
  preservingEditorState ? bookmarks_.keepWithin(count) : bookmarks_.clear();
  editDidNotHappen();
  newestRecordedEdit_.reset();
  removeUndoActions();
  editor_.setStorage(std::move(storage));
  editor_.placeCaretAndSelection(clampedToCount(kept.caretOffset, count),
                                 kept.selection.normalized(count));
  for (EditRecorder* const recorder : recorders_) recorder->didTakeStorage();
}

void EditSession::showStorage() {
  editor_.recalcMetrics();
  editor_.showCaretAndSelection();
}

void EditSession::close() {
  removeUndoActions();
  editor_.setDelegate(nullptr);
  editor_.setSurface(nullptr);
}

void EditSession::announceEdit(std::int64_t start, std::int64_t removedCount,
                               std::int64_t insertedCount) {
  RangeEdit typed{.range = {start, removedCount}, .actionName = kTyping, .after = {}};
  announcing(typed, [&] {
    announcedEdit_.reset();
    announcedEdit_ = announcementOf(typed, insertedCount);
  });
}

void EditSession::editDidNotHappen() noexcept {
  announcedEdit_.reset();
  for (EditRecorder* const recorder : recorders_) recorder->editDidNotHappen();
}

void EditSession::hexEditorDidEdit(HexEditorState&) {
  auto edit = std::exchange(announcedEdit_, std::nullopt);
  const bool canBeUndone = !edit || edit->undo.isRecorded;
  edit ? account(*std::move(edit)) : accountForSecondDigit();
  observer_.sessionDidEdit(canBeUndone);
}

void EditSession::restoreCaretAndSelection(std::int64_t caret, HexSelection selection) noexcept {
  newestRecordedEdit_.reset();
  editor_.placeCaretAndSelection(caret, selection);
}

EditSession::AnnouncedEdit EditSession::announcementOf(RangeEdit& edit,
                                                       std::int64_t insertedCount) {
  return {.undo = undoRecords_.prepareUndoEdit(edit.range.start, edit.range.length, insertedCount,
                                               edit.actionName, std::move(edit.removed)),
          .inserted = HexSelection{edit.range.start, insertedCount},
          .removedCount = edit.range.length,
          .actionName = std::move(edit.actionName)};
}

/// The bytes have changed: places the caret, accounts for the edit and shows it.
void EditSession::finish(AnnouncedEdit edit, const EditPlace& after) {
  editor_.placeCaretAndSelection(after.caretOffset, after.selection);
  const bool canBeUndone = edit.undo.isRecorded;
  const auto accounted = resultOf([&] { return account(std::move(edit)), Done(); });
  // An edit that has happened must not be reported as failed.
  resultOf([&] {
    retryingWithoutMemory([&] {
      if (!accounted.isOk()) document_->showIdentity();
      observer_.sessionDidEdit(canBeUndone);
      showStorage();
    });
    return Done();
  });
}

/// Takes no memory until the change count has been told. The recorders come last, in any case.
void EditSession::account(AnnouncedEdit edit) {
  newestRecordedEdit_.reset();
  if (edit.inserted) {
    if (edit.undo.isRecorded) newestRecordedEdit_ = edit.inserted;
    bookmarks_.adjustForEdit(edit.inserted->start, edit.removedCount, edit.inserted->length);
  }
  const HexSelection inserted = edit.inserted.value_or(HexSelection{});
  const ReplacedRange replaced =
      edit.replaced.value_or(ReplacedRange{.offset = inserted.start,
                                           .removedCount = edit.removedCount,
                                           .insertedCount = inserted.length});
  showingInAnyCase(
      [&] {
        if (!undoRecords_.commit(std::move(edit.undo)))
          document_->updateChangeCount(ChangeCount::Change::done);
      },
      [&] { didEdit(edit.actionName, replaced); });
}

/// A second digit was typed without an announcement of its own. When it completes the byte of the
/// newest undo step, undoing that step takes it back too. Otherwise no undo leads back to what was
/// saved, and the document must not look saved again.
void EditSession::accountForSecondDigit() {
  const std::int64_t changed = editor_.caretOffset() - 1;
  const bool undoTakesItBack = newestRecordedEdit_ && changed >= newestRecordedEdit_->start &&
                               changed - newestRecordedEdit_->start < newestRecordedEdit_->length;
  showingInAnyCase(
      [&] {
        if (!document_->isDocumentEdited() || !undoTakesItBack)
          document_->makeSavedStateUnreachable();
      },
      [&] {
        didEdit(kTyping, {.offset = changed, .removedCount = 1, .insertedCount = 1},
                undoTakesItBack);
      });
}

/// Makes an edit with `change`, which throws when it has not happened.
template <class Change>
void EditSession::announcing(HexSelection range, const ByteBuffer* removed, const Change& change) {
  willEdit(range, removed);
  try {
    change();
  } catch (...) {
    editDidNotHappen();
    throw;
  }
}

/// The same; one copy of what is removed serves undo and the recorders.
template <class Change>
void EditSession::announcing(RangeEdit& edit, const Change& change) {
  const std::int64_t length = edit.range.length;
  if (!edit.removed && length > kFewBytes && length <= UndoRecords::maxUndoSnapshotBytes)
    edit.removed = bytes().slice(edit.range.start, length);
  // Undo takes it over.
  const std::optional<ByteBuffer> removed = edit.removed;
  announcing(edit.range, removed ? &*removed : nullptr, change);
}

void EditSession::willEdit(HexSelection range, const ByteBuffer* removed) noexcept {
  for (EditRecorder* const recorder : recorders_) recorder->willEdit(range, removed);
}

void EditSession::didEdit(std::string_view actionName, const ReplacedRange& range,
                          bool completesStep) noexcept {
  const RecordedEdit edit{.actionName = actionName,
                          .offset = range.offset,
                          .removedCount = range.removedCount,
                          .insertedCount = range.insertedCount,
                          .caretOffset = editor_.caretOffset(),
                          .selection = selectedRange(),
                          .completesStep = completesStep};
  for (EditRecorder* const recorder : recorders_) recorder->didEdit(edit);
}

}  // namespace quillmor
