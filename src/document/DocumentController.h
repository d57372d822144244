#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "document/HexDocument.h"

namespace quillmor {

/// The open documents of the application. Main thread only.
class DocumentController {
 public:
  /// A new untitled document, open from now on.
  std::shared_ptr<HexDocument> makeUntitledDocument(BackgroundExecutor& executor);

  /// Lets go of the document; whoever still holds it keeps it alive.
  void close(const HexDocument* document);

  const std::vector<std::shared_ptr<HexDocument>>& documents() const { return documents_; }

  /// The locations of all open documents but `excluded`; no output may land on them.
  std::vector<FileLocation> openDocumentURLs(const HexDocument* excluded) const;

  /// The open document that shows the file at `location`, leaving out `excluded` and those still
  /// waiting for their own first load. Looks at the file system.
  std::shared_ptr<HexDocument> documentShowing(const FileLocation& location,
                                               const HexDocument* excluded) const;

 private:
  int freeUntitledNumber() const;

  std::vector<std::shared_ptr<HexDocument>> documents_;
};

}  // namespace quillmor
