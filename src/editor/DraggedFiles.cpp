#include "editor/DraggedFiles.h"

#include <QDropEvent>
#include <QMimeData>
#include <QUrl>
#include <filesystem>
#include <system_error>

namespace quillmor {

namespace {

bool isDirectory(const FileLocation& location) {
  std::error_code error;
  return location.path().ends_with('/') || std::filesystem::is_directory(location.path(), error);
}

void acceptCopy(QDropEvent& event) {
  event.setDropAction(Qt::CopyAction);
  event.accept();
}

}  // namespace

std::optional<FileLocation> firstDraggedFileURL(const QMimeData& data) {
  for (const QUrl& url : data.urls()) {
    const auto location = FileLocation::fromUrl(url.toEncoded().toStdString());
    if (location.isLocalFile() && !isDirectory(location)) return location;
  }
  return std::nullopt;
}

void answerFileDrag(QDropEvent& event) {
  if (firstDraggedFileURL(*event.mimeData())) {
    acceptCopy(event);
  } else {
    event.ignore();
  }
}

void performFileDrop(QDropEvent& event, const FileDropHandler& handler) {
  const auto location = firstDraggedFileURL(*event.mimeData());
  if (!location || !handler) return event.ignore();
  acceptCopy(event);
  handler(*location);
}

}  // namespace quillmor
