#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/ByteBuffer.h"
#include "document/Bookmarks.h"
#include "document/EditRecorder.h"
#include "document/HexDocument.h"
#include "document/SafetyCopy.h"
#include "document/UndoRecords.h"
#include "editor/HexEditorState.h"

namespace quillmor {

/// Where an edit leaves the editor.
struct EditPlace {
  std::int64_t caretOffset = 0;
  HexSelection selection;
};

/// An edit of one range, apart from its new bytes.
struct RangeEdit {
  HexSelection range;  ///< lies within the document
  /// The edit's name in the Edit menu.
  std::string actionName;
  EditPlace after;
  /// The bytes of the range, if the caller has them, so undo need not copy them.
  std::optional<ByteBuffer> removed = {};
};

/// The owner of an edit session. All calls come on the main thread.
class EditSessionObserver {
 public:
  virtual ~EditSessionObserver() = default;

  /// The caret or the selection was set.
  virtual void updateStatus() = 0;

  /// The last call of an edit: it has happened and is accounted for.
  virtual void sessionDidEdit(bool canBeUndone) = 0;

  /// Input was refused with a beep; `reason` is a sentence for the user.
  virtual void didRefuse(const std::string& reason) = 0;
};

/// One document as it is edited in one window: the document, its hex view without pixels, the
/// bookmarks, and undo. Every change of the bytes goes through here or through the typing of
/// `HexEditorState`, and becomes one undoable step with its bookmarks, caret and unsaved mark.
///
/// When memory runs out, an edit throws std::bad_alloc and changes nothing. Once bytes have
/// changed, the edit has happened: showing it is tried twice, then left to the next change.
///
/// Main thread only.
class EditSession : private UndoRecordsEditor, private HexEditorViewDelegate {
 public:
  /// Beeper and observer outlive the session.
  EditSession(std::shared_ptr<HexDocument> document, Beeper& beeper, EditSessionObserver& observer);
  ~EditSession() override;
  EditSession(const EditSession&) = delete;
  EditSession& operator=(const EditSession&) = delete;

  HexDocument& document() const { return *document_; }
  const std::shared_ptr<HexDocument>& sharedDocument() const { return document_; }
  HexEditorState& editor() { return editor_; }
  const HexEditorState& editor() const { return editor_; }

  /// Setting bookmarks is no edit: undo does not take it back.
  Bookmarks& bookmarks() { return bookmarks_; }
  const Bookmarks& bookmarks() const { return bookmarks_; }

  const ByteBuffer& bytes() const { return document_->storage()->bytes; }
  std::int64_t byteCount() const { return bytes().size(); }
  /// The selection within the document.
  HexSelection selectedRange() const { return editor_.selection().normalized(byteCount()); }
  /// Caret and selection as they are.
  EditPlace place() const {
    return {.caretOffset = editor_.caretOffset(), .selection = editor_.selection()};
  }

  /// Caret and selection with the bookmarks, for a copy that can be recovered.
  EditorPlaces places() const {
    return {.caretOffset = editor_.caretOffset(),
            .selection = selectedRange(),
            .bookmarks = bookmarks_.offsets()};
  }

  /// Recorders are told in the order of adding. Each outlives its use.
  void addEditRecorder(EditRecorder& recorder) { recorders_.push_back(&recorder); }
  void removeEditRecorder(EditRecorder& recorder) { std::erase(recorders_, &recorder); }

  void moveCaret(const EditPlace& place);
  /// The same for a place to go to: shows a few rows around it too.
  void goTo(const EditPlace& place);

  // Edits, one undoable step each.

  /// Puts `bytes`, which are not part of the document, in place of the range.
  void replaceRange(RangeEdit edit, std::span<const std::uint8_t> bytes);

  /// The same where a copy of the whole document with the new bytes was prepared elsewhere.
  void installPrepared(RangeEdit edit, ByteBuffer wholeDocument);

  /// Makes `bytes` the whole document, with `bookmarks`.
  void installDocument(ByteBuffer bytes, std::vector<std::int64_t> bookmarks,
                       const std::string& actionName, const EditPlace& after);

  /// Takes the last edit back; false when there is none.
  bool undo();
  bool redo();

  // Another file's bytes.

  /// Edits `storage` from now on; the history is cleared. Bookmarks, caret and selection are
  /// cleared too, or with `preservingEditorState` kept as far as they fit. Call `showStorage`
  /// afterwards.
  void takeStorage(std::shared_ptr<HexStorage> storage, bool preservingEditorState) noexcept;
  void showStorage();

  /// Ends the session: the history is cleared, and the hex view reports to nobody any more.
  void close();

 private:
  /// An edit that is about to happen, with all memory that its accounting needs.
  struct AnnouncedEdit {
    UndoRecords::Pending undo = {};
    /// Where the new bytes will be and how many they replace; absent when the edit brings its own
    /// bookmarks.
    std::optional<HexSelection> inserted = {};
    std::int64_t removedCount = 0;
    std::string actionName = {};
    /// What the recorders are told; without it, `inserted` says it.
    std::optional<ReplacedRange> replaced = {};
  };

  void announceEdit(std::int64_t start, std::int64_t removedCount,
                    std::int64_t insertedCount) override;
  void willTypeSecondDigit() noexcept override { willEdit({editor_.caretOffset(), 1}, nullptr); }
  void editDidNotHappen() noexcept override;
  void hexEditorDidEdit(HexEditorState& editor) override;
  void updateStatus() override { observer_.updateStatus(); }
  void didRefuse(const std::string& reason) override { observer_.didRefuse(reason); }

  std::int64_t caretOffset() const override { return editor_.caretOffset(); }
  HexSelection selection() const override { return editor_.selection(); }
  void restoreCaretAndSelection(std::int64_t caret, HexSelection selection) noexcept override;
  void willRestore(HexSelection range, const ByteBuffer* removed) noexcept override {
    willEdit(range, removed);
  }
  void didRestore(const ReplacedRange& range) noexcept override { restored_ = range; }

  template <class Step>
  void restore(const std::string& actionName, Step step);
  template <class Change>
  void announcing(HexSelection range, const ByteBuffer* removed, const Change& change);
  template <class Change>
  void announcing(RangeEdit& edit, const Change& change);
  void willEdit(HexSelection range, const ByteBuffer* removed) noexcept;
  void didEdit(std::string_view actionName, const ReplacedRange& range,
               bool completesStep = false) noexcept;

  AnnouncedEdit announcementOf(RangeEdit& edit, std::int64_t insertedCount);
  void finish(AnnouncedEdit edit, const EditPlace& after);
  void account(AnnouncedEdit edit);
  void accountForSecondDigit();
  void removeUndoActions() { document_->undoManager().removeAllActions(this); }

  const std::shared_ptr<HexDocument> document_;
  EditSessionObserver& observer_;
  HexEditorState editor_;
  Bookmarks bookmarks_;
  UndoRecords undoRecords_;
  /// A typed edit from its announcement until it has happened.
  std::optional<AnnouncedEdit> announcedEdit_;
  /// Where the newest undo step left its bytes, as long as it is the last change.
  std::optional<HexSelection> newestRecordedEdit_;
  std::vector<EditRecorder*> recorders_;
  /// What the step of undo or redo that runs has put back.
  std::optional<ReplacedRange> restored_;
};

}  // namespace quillmor
