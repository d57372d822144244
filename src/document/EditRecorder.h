#pragma once

#include <cstdint>
#include <string_view>

namespace quillmor {

/// One change of a document's bytes that has happened.
struct RecordedEdit {
  /// As the Edit menu names it ("Edit", "Paste", "Undo Paste").
  std::string_view actionName;
  /// Where the change begins, how many bytes were there, and how many have taken their place.
  std::int64_t offset = 0;
  std::int64_t removedCount = 0;
  std::int64_t insertedCount = 0;
};

/// Told of every change of a document's bytes, once it has happened and caret and selection are in
/// their new place. Main thread.
class EditRecorder {
 public:
  virtual ~EditRecorder() = default;

  /// Cannot refuse the edit and must not fail: a recorder that has no memory for it falls back on
  /// something that needs none.
  virtual void didEdit(const RecordedEdit& edit) noexcept = 0;
};

}  // namespace quillmor
