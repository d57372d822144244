#pragma once

#include <cstdint>
#include <string_view>

#include "base/ByteBuffer.h"
#include "document/HexSelection.h"

namespace quillmor {

/// One change of a document's bytes that has happened.
struct RecordedEdit {
  /// As the Edit menu names it ("Edit", "Paste", "Undo Paste").
  std::string_view actionName;
  /// Where the change begins, how many bytes were there, and how many have taken their place.
  std::int64_t offset = 0;
  std::int64_t removedCount = 0;
  std::int64_t insertedCount = 0;
  /// After the edit, within the document.
  std::int64_t caretOffset = 0;
  HexSelection selection = {};
  /// True for the second digit of a byte: one step of undo takes it back with the edit before.
  bool completesStep = false;
};

/// Told of every edit of a document's bytes, before and after it. Main thread.
class EditRecorder {
 public:
  virtual ~EditRecorder() = default;

  /// The bytes of `range`, which lies within the document, are about to be replaced: the moment to
  /// look at them, and to let go of a copy that shares the document's memory. The change may still
  /// fail. `removed` are these bytes where there is a copy of them already, else null.
  virtual void willEdit(HexSelection range, const ByteBuffer* removed) noexcept = 0;

  /// The announced change has failed; the bytes are as they were. Also called when none was
  /// announced.
  virtual void editDidNotHappen() noexcept = 0;

  /// The change has happened and is accounted for; caret and selection are in their new place. It
  /// cannot be refused, and this must not fail: a recorder that has no memory for it falls back on
  /// something that needs none.
  virtual void didEdit(const RecordedEdit& edit) noexcept = 0;

  /// The session edits other bytes from now on, which have come about by no edit: those of another
  /// file, or those on disk.
  virtual void didTakeStorage() noexcept {}
};

}  // namespace quillmor
