#include "editor/HexFileDropView.h"

#include <QDragEnterEvent>

namespace quillmor {

HexFileDropView::HexFileDropView(QWidget* parent) : QWidget(parent) {
  setAcceptDrops(true);
}

void HexFileDropView::dragEnterEvent(QDragEnterEvent* event) {
  answerFileDrag(*event);
}

void HexFileDropView::dragMoveEvent(QDragMoveEvent* event) {
  answerFileDrag(*event);
}

void HexFileDropView::dropEvent(QDropEvent* event) {
  performFileDrop(*event, fileDropHandler_);
}

}  // namespace quillmor
