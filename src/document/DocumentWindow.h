#pragma once

namespace quillmor {

/// What a document needs of each window that shows it. Main thread only.
class DocumentWindow {
 public:
  virtual ~DocumentWindow() = default;

  /// The document's bytes were replaced whole by those of a file.
  virtual void documentStorageDidReload() = 0;

  /// The document's name, location or edited state changed.
  virtual void documentIdentityDidChange() = 0;

  /// Brings the window to the front and makes it the key window.
  virtual void activate() = 0;
};

}  // namespace quillmor
