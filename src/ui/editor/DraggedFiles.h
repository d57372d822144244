#pragma once

#include <functional>
#include <optional>

#include "base/FileLocation.h"

class QDropEvent;
class QMimeData;

namespace quillmor {

/// Called with a file that was dropped on a view. GUI thread only.
using FileDropHandler = std::function<void(const FileLocation&)>;

/// The first of the dragged URLs that is a local file and not a directory. File names that are not
/// UTF-8 survive.
std::optional<FileLocation> firstDraggedFileURL(const QMimeData& data);

/// What a view answers while something is dragged over it. Files are looked up when the drag enters
/// and when it ends, not at every move: that asks the file system. GUI thread only.
class FileDropTarget {
 public:
  void setHandler(FileDropHandler handler) { handler_ = std::move(handler); }

  /// A copy when the drag carries a file and may be copied, else refused.
  void dragEnter(QDropEvent& event);
  /// As for the enter before.
  void dragMove(QDropEvent& event) const;
  /// Hands the dropped file to the handler. Refused like the enter, or when there is no handler.
  void drop(QDropEvent& event);

 private:
  FileDropHandler handler_;
  bool carriesFile_ = false;
};

}  // namespace quillmor
