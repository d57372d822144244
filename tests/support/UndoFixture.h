#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "base/SaturatingMath.h"
#include "document/Bookmarks.h"
#include "document/HexStorage.h"
#include "document/UndoManager.h"
#include "document/UndoRecords.h"

namespace quillmor {

/// A caret and a selection without a view.
class PlainUndoRecordsEditor : public UndoRecordsEditor {
 public:
  std::int64_t caretOffset() const override { return caret; }
  HexSelection selection() const override { return selected; }
  void restoreCaretAndSelection(std::int64_t newCaret,
                                HexSelection newSelection) noexcept override {
    caret = newCaret;
    selected = newSelection;
    ++restores;
  }

  void willRestore(HexSelection range, const ByteBuffer*) noexcept override { announced = range; }
  void didRestore(const ReplacedRange& range) noexcept override { restored = range; }

  std::int64_t caret = 0;
  HexSelection selected;
  int restores = 0;
  /// What the last step was about to replace, and what it has put back.
  HexSelection announced;
  ReplacedRange restored;
};

/// A document and its editor as far as undo sees them, with the two kinds of edit.
struct UndoFixture {
  /// Announces a range edit, then makes it, as an editor does.
  bool edit(std::int64_t start, std::int64_t removed, const ByteBuffer& inserted,
            const std::string& name) {
    const bool registered = records.registerUndoEdit(start, removed, inserted.size(), name);
    bookmarks.adjustForEdit(start, removed, inserted.size());
    const std::int64_t at = clampedToCount(start, storage.count());
    const std::int64_t length = std::clamp<std::int64_t>(removed, 0, storage.count() - at);
    storage.bytes.replace(at, length, inserted.span());
    return registered;
  }

  /// Exchanges the whole content and the bookmarks.
  bool replaceAll(ByteBuffer bytes, std::vector<std::int64_t> marks, const std::string& name) {
    const bool registered = records.registerUndoSnapshot(name, bytes.size());
    storage.bytes = std::move(bytes);
    bookmarks.replaceAll(std::move(marks));
    return registered;
  }

  HexStorage storage;
  UndoManager manager;
  Bookmarks bookmarks;
  PlainUndoRecordsEditor editor;
  UndoRecords records{[this]() -> HexStorage& { return storage; }, &manager, bookmarks, editor,
                      this};
};

}  // namespace quillmor
