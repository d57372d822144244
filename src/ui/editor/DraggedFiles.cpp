#include "ui/editor/DraggedFiles.h"

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

void answer(QDropEvent& event, bool isWanted) {
  if (!isWanted || !event.possibleActions().testFlag(Qt::CopyAction)) return event.ignore();
  event.setDropAction(Qt::CopyAction);
  event.accept();
}

}  // namespace

std::optional<FileLocation> firstDraggedFileURL(const QMimeData& data) {
  for (const QUrl& url : data.urls()) {
    const auto location = FileLocation::fromURL(url.toEncoded().toStdString());
    if (location.isLocalFile() && !isDirectory(location)) return location;
  }
  return std::nullopt;
}

void FileDropTarget::dragEnter(QDropEvent& event) {
  carriesFile_ = firstDraggedFileURL(*event.mimeData()).has_value();
  answer(event, carriesFile_);
}

void FileDropTarget::dragMove(QDropEvent& event) const {
  answer(event, carriesFile_);
}

void FileDropTarget::drop(QDropEvent& event) {
  const auto location = firstDraggedFileURL(*event.mimeData());
  answer(event, location && handler_);
  if (event.isAccepted()) handler_(*location);
}

}  // namespace quillmor
