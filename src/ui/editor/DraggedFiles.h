#pragma once

#include <functional>
#include <optional>

#include "base/FileLocation.h"

class QDropEvent;
class QMimeData;

namespace quillmor {

/// Called with a file that was dropped on a view. GUI thread only.
using FileDropHandler = std::function<void(const FileLocation&)>;

/// Returns the first dragged URL that is a local file and not a directory. Bytes of names that are
/// not UTF-8 are kept.
std::optional<FileLocation> firstDraggedFileURL(const QMimeData& data);

/// Answers the drag and drop events of a view. Files are looked up when the drag enters and when it
/// ends, not at every move, because that asks the file system. GUI thread only.
class FileDropTarget {
 public:
  void setHandler(FileDropHandler handler) { handler_ = std::move(handler); }

  /// Accepts a copy if the drag carries a file and may be copied; else refuses.
  void dragEnter(QDropEvent& event);
  /// Gives the same answer as the enter event before.
  void dragMove(QDropEvent& event) const;
  /// Hands the dropped file to the handler. Refused like the enter, or when there is no handler.
  void drop(QDropEvent& event);

 private:
  FileDropHandler handler_;
  bool carriesFile_ = false;
};

}  // namespace quillmor
