#pragma once

#include <QWidget>

#include "ui/editor/DraggedFiles.h"

namespace quillmor {

/// A passive view that accepts dropped files for the part of the window around the editor.
class HexFileDropView : public QWidget {
  Q_OBJECT

 public:
  explicit HexFileDropView(QWidget* parent = nullptr);

  void setFileDropHandler(FileDropHandler handler) { drops_.setHandler(std::move(handler)); }

 protected:
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  FileDropTarget drops_;
};

}  // namespace quillmor
