#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "document/HexDocument.h"

namespace quillmor {

/// The open documents of the application. Main thread only.
class DocumentController {
 public:
  /// Returns a new untitled document, which is open from now on.
  std::shared_ptr<HexDocument> makeUntitledDocument(BackgroundExecutor& executor);

  /// Closes the document; whoever still holds it keeps it alive.
  void close(const HexDocument* document);

  const std::vector<std::shared_ptr<HexDocument>>& documents() const { return documents_; }

  /// `didOpen` is called with each file that the user has opened.
  void setOpenObserver(std::function<void(const FileLocation&)> didOpen) {
    didOpen_ = std::move(didOpen);
  }
  /// To be called when a document has become that of another file.
  void noteOpened(const FileLocation& location) const {
    if (didOpen_) didOpen_(location);
  }

  /// Returns the locations of all open documents except `excluded`; no output may overwrite them.
  std::vector<FileLocation> openDocumentURLs(const HexDocument* excluded) const;

  /// Returns the open document that shows the file at `location`, except `excluded` and those still
  /// waiting for their first load. Looks at the file system.
  std::shared_ptr<HexDocument> documentShowing(const FileLocation& location,
                                               const HexDocument* excluded) const;

 private:
  int freeUntitledNumber() const;

  std::vector<std::shared_ptr<HexDocument>> documents_;
  std::function<void(const FileLocation&)> didOpen_;
};

}  // namespace quillmor
