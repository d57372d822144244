#include "ui/editor/HexFileDropView.h"

#include <QDragEnterEvent>

namespace quillmor {

HexFileDropView::HexFileDropView(QWidget* parent) : QWidget(parent) {
  setAcceptDrops(true);
}

void HexFileDropView::dragEnterEvent(QDragEnterEvent* event) {
  drops_.dragEnter(*event);
}

void HexFileDropView::dragMoveEvent(QDragMoveEvent* event) {
  drops_.dragMove(*event);
}

void HexFileDropView::dropEvent(QDropEvent* event) {
  drops_.drop(*event);
}

}  // namespace quillmor
