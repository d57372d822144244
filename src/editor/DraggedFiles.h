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

/// Answers a drag that entered or moved: a copy when it carries a file, else refused.
void answerFileDrag(QDropEvent& event);

/// Hands the dropped file to `handler`. Refuses the drop when there is no file or no handler.
void performFileDrop(QDropEvent& event, const FileDropHandler& handler);

}  // namespace quillmor
