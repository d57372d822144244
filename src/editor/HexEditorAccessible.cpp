#include "editor/HexEditorAccessible.h"

#include <algorithm>

#include "editor/HexEditorView.h"

namespace quillmor {

namespace {

QAccessibleInterface* makeAccessible(const QString& /*className*/, QObject* object) {
  auto* const view = qobject_cast<HexEditorView*>(object);
  return view != nullptr ? new HexEditorAccessible(*view) : nullptr;
}

CaretPlace caretPlace(const HexEditorState& editor) {
  return {.offset = editor.caretOffset(),
          .area = editor.editingArea(),
          .highNibble = editor.editingHighNibble()};
}

}  // namespace

HexEditorAccessible::HexEditorAccessible(HexEditorView& view)
    : QAccessibleWidget(&view, QAccessible::EditableText, view.accessibleName()) {}

void HexEditorAccessible::install() {
  static const bool isInstalled = [] {
    QAccessible::installFactory(makeAccessible);
    return true;
  }();
  Q_UNUSED(isInstalled);
}

void HexEditorAccessible::announceCaret(HexEditorView& view) {
  if (!QAccessible::isActive()) return;
  auto* const accessible = QAccessible::queryAccessibleInterface(&view);
  QAccessibleTextInterface* const text = accessible->textInterface();
  int start = 0;
  int end = 0;
  text->selection(0, &start, &end);
  if (text->selectionCount() > 0) {
    QAccessibleTextSelectionEvent event(&view, start, end);
    event.setCursorPosition(text->cursorPosition());
    return QAccessible::updateAccessibility(&event);
  }
  QAccessibleTextCursorEvent event(&view, text->cursorPosition());
  QAccessible::updateAccessibility(&event);
}

void HexEditorAccessible::announceScrolling(HexEditorView& view) {
  if (!QAccessible::isActive()) return;
  QAccessibleEvent event(&view, QAccessible::VisibleDataChanged);
  QAccessible::updateAccessibility(&event);
}

HexEditorView& HexEditorAccessible::view() const {
  return *static_cast<HexEditorView*>(widget());
}

HexRowsText HexEditorAccessible::rowsText() const {
  const HexEditorState& editor = view().editor();
  const double top = view().scrollPosition().y;
  const double bottom = top + view().viewport()->height();
  return {*editor.storage(), editor.shape(),
          editor.geometry().visibleRows(top, bottom, editor.shape())};
}

void* HexEditorAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
  return QAccessibleWidget::interface_cast(type);
}

QAccessible::State HexEditorAccessible::state() const {
  QAccessible::State state = QAccessibleWidget::state();
  state.multiLine = true;
  state.selectableText = true;
  state.editable = view().editor().isEditingEnabled();
  state.readOnly = !state.editable;
  return state;
}

QString HexEditorAccessible::text(QAccessible::Text type) const {
  if (type == QAccessible::Value) return QString::fromStdString(rowsText().text());
  return QAccessibleWidget::text(type);
}

void HexEditorAccessible::selection(int selectionIndex, int* startOffset, int* endOffset) const {
  const auto range = rowsText().indexesOf(view().editor().selection());
  const bool exists = selectionIndex == 0 && range;
  *startOffset = exists ? static_cast<int>(range->first) : 0;
  *endOffset = exists ? static_cast<int>(range->last) : 0;
}

int HexEditorAccessible::selectionCount() const {
  return rowsText().indexesOf(view().editor().selection()) ? 1 : 0;
}

void HexEditorAccessible::addSelection(int startOffset, int endOffset) {
  setSelection(0, startOffset, endOffset);
}

void HexEditorAccessible::removeSelection(int selectionIndex) {
  HexEditorState& editor = view().editor();
  if (selectionIndex == 0 && editor.isEditingEnabled()) editor.setSelection({});
}

void HexEditorAccessible::setSelection(int selectionIndex, int startOffset, int endOffset) {
  HexEditorState& editor = view().editor();
  if (selectionIndex != 0 || !editor.isEditingEnabled()) return;
  const HexRowsText rows = rowsText();
  const auto [first, last] = std::minmax(startOffset, endOffset);
  if (first == last) return editor.setSelection({});
  const std::int64_t start = rows.placeAt(first).offset;
  const std::int64_t end = rows.placeAt(last - 1).offset;
  editor.setCaretOffset(end);
  editor.setSelection({.start = start, .length = end - start + 1});
}

int HexEditorAccessible::cursorPosition() const {
  return static_cast<int>(rowsText().indexOf(caretPlace(view().editor())).value_or(-1));
}

void HexEditorAccessible::setCursorPosition(int position) {
  HexEditorState& editor = view().editor();
  if (!editor.isEditingEnabled()) return;
  const CaretPlace place = rowsText().placeAt(position);
  editor.setEditingArea(place.area);
  editor.setCaretOffset(place.offset);
}

QString HexEditorAccessible::text(int startOffset, int endOffset) const {
  const HexRowsText rows = rowsText();
  const int length = static_cast<int>(rows.length());
  const int start = std::clamp(startOffset, 0, length);
  const int end = endOffset < 0 ? length : std::clamp(endOffset, start, length);
  return QString::fromStdString(
      rows.text().substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
}

int HexEditorAccessible::characterCount() const {
  return static_cast<int>(rowsText().length());
}

QRect HexEditorAccessible::characterRect(int offset) const {
  const Rect rect = rowsText().characterRect(offset, view().editor().geometry());
  const QRect inViewport = view().viewportRect(rect).toRect();
  return {view().viewport()->mapToGlobal(inViewport.topLeft()), inViewport.size()};
}

int HexEditorAccessible::offsetAtPoint(const QPoint& point) const {
  const QPointF inViewport = view().viewport()->mapFromGlobal(QPointF(point));
  const auto index =
      rowsText().indexAt(view().documentPoint(inViewport), view().editor().geometry());
  return static_cast<int>(index.value_or(-1));
}

void HexEditorAccessible::scrollToSubstring(int startIndex, int endIndex) {
  const HexRowsText rows = rowsText();
  const HexEditorGeometry& geometry = view().editor().geometry();
  view().scrollToVisible(rows.characterRect(endIndex, geometry));
  view().scrollToVisible(rows.characterRect(startIndex, geometry));
}

QString HexEditorAccessible::attributes(int offset, int* startOffset, int* endOffset) const {
  *startOffset = offset;
  *endOffset = offset;
  return {};
}

}  // namespace quillmor
