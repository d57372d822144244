#include "ui/editor/HexEditorAccessible.h"

#include <algorithm>
#include <utility>

#include "ui/editor/HexEditorView.h"

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

/// Tells of the part from the first to the last difference of two texts that are not equal.
std::unique_ptr<QAccessibleEvent> updateEvent(HexEditorView& view, const QString& before,
                                              const QString& after) {
  const qsizetype shorter = std::min(before.size(), after.size());
  const auto firstDifference =
      std::mismatch(before.begin(), before.begin() + shorter, after.begin()).first;
  const qsizetype begin = firstDifference - before.begin();
  const auto lastDifference =
      std::mismatch(before.rbegin(), before.rbegin() + (shorter - begin), after.rbegin()).first;
  const qsizetype equalAtEnd = lastDifference - before.rbegin();
  return std::make_unique<QAccessibleTextUpdateEvent>(
      &view, static_cast<int>(begin), before.mid(begin, before.size() - equalAtEnd - begin),
      after.mid(begin, after.size() - equalAtEnd - begin));
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

std::unique_ptr<QAccessibleEvent> HexEditorAccessible::caretEvent(HexEditorView& view) {
  const HexEditorAccessible accessible(view);
  const int caret = accessible.cursorPosition();
  if (accessible.selectionCount() == 0) {
    return std::make_unique<QAccessibleTextCursorEvent>(&view, caret);
  }
  int start = 0;
  int end = 0;
  accessible.selection(0, &start, &end);
  auto event = std::make_unique<QAccessibleTextSelectionEvent>(&view, start, end);
  event->setCursorPosition(caret);
  return event;
}

void HexEditorAccessible::announceCaret(HexEditorView& view) {
  if (QAccessible::isActive()) QAccessible::updateAccessibility(caretEvent(view).get());
}

std::unique_ptr<QAccessibleEvent> HexEditorAccessible::textEvent(HexEditorView& view,
                                                                 QString& announced) {
  const QString before = std::exchange(announced, HexEditorAccessible(view).text(0, -1));
  if (before == announced) return nullptr;
  // There always is some text, so an empty one means that nobody has been listening.
  if (before.isEmpty()) {
    return std::make_unique<QAccessibleEvent>(&view, QAccessible::VisibleDataChanged);
  }
  return updateEvent(view, before, announced);
}

void HexEditorAccessible::announceText(HexEditorView& view, QString& announced) {
  if (!QAccessible::isActive()) return announced.clear();
  if (const auto event = textEvent(view, announced)) QAccessible::updateAccessibility(event.get());
}

void HexEditorAccessible::announceScrolling(HexEditorView& view, QString& announced) {
  announced.clear();
  announceText(view, announced);
}

HexEditorView& HexEditorAccessible::view() const {
  return *static_cast<HexEditorView*>(widget());
}

HexEditorState* HexEditorAccessible::editor() const {
  return view().editor();
}

bool HexEditorAccessible::mayChange() const {
  return editor() != nullptr && editor()->isEditingEnabled();
}

HexRowsText HexEditorAccessible::rowsText() const {
  const HexEditorState& state = *editor();
  const double top = view().scrollPosition().y;
  const double bottom = top + view().viewport()->height();
  return {*state.storage(), state.shape(),
          state.geometry().visibleRows(top, bottom, state.shape())};
}

void* HexEditorAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
  return QAccessibleWidget::interface_cast(type);
}

QAccessible::State HexEditorAccessible::state() const {
  QAccessible::State state = QAccessibleWidget::state();
  state.multiLine = true;
  state.selectableText = true;
  state.editable = mayChange();
  state.readOnly = !state.editable;
  return state;
}

QString HexEditorAccessible::text(QAccessible::Text type) const {
  if (type == QAccessible::Value) return text(0, -1);
  return QAccessibleWidget::text(type);
}

void HexEditorAccessible::selection(int selectionIndex, int* startOffset, int* endOffset) const {
  *startOffset = 0;
  *endOffset = 0;
  if (editor() == nullptr || selectionIndex != 0) return;
  const auto range = rowsText().indexesOf(editor()->selection());
  if (!range) return;
  *startOffset = static_cast<int>(range->first);
  *endOffset = static_cast<int>(range->last);
}

int HexEditorAccessible::selectionCount() const {
  return editor() != nullptr && rowsText().indexesOf(editor()->selection()) ? 1 : 0;
}

void HexEditorAccessible::addSelection(int startOffset, int endOffset) {
  setSelection(0, startOffset, endOffset);
}

void HexEditorAccessible::removeSelection(int selectionIndex) {
  if (selectionIndex == 0 && mayChange()) editor()->setSelection({});
}

void HexEditorAccessible::setSelection(int selectionIndex, int startOffset, int endOffset) {
  if (selectionIndex != 0 || !mayChange()) return;
  const auto [first, last] = std::minmax(startOffset, endOffset);
  const HexSelection bytes = rowsText().bytesIn({.first = first, .last = last});
  if (bytes.length > 0) editor()->setCaretOffset(bytes.start + bytes.length - 1);
  editor()->setSelection(bytes);
}

int HexEditorAccessible::cursorPosition() const {
  if (editor() == nullptr) return -1;
  return static_cast<int>(rowsText().indexOf(caretPlace(*editor())).value_or(-1));
}

void HexEditorAccessible::setCursorPosition(int position) {
  if (!mayChange()) return;
  const CaretPlace place = rowsText().placeAt(position);
  editor()->setEditingArea(place.area);
  editor()->setCaretOffset(place.offset);
}

QString HexEditorAccessible::text(int startOffset, int endOffset) const {
  if (editor() == nullptr) return {};
  const HexRowsText rows = rowsText();
  const int length = static_cast<int>(rows.length());
  const int start = std::clamp(startOffset, 0, length);
  const int end = endOffset < 0 ? length : std::clamp(endOffset, start, length);
  return QString::fromStdString(
      rows.text().substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
}

int HexEditorAccessible::characterCount() const {
  return editor() == nullptr ? 0 : static_cast<int>(rowsText().length());
}

QRect HexEditorAccessible::characterRect(int offset) const {
  if (editor() == nullptr) return {};
  const Rect rect = rowsText().characterRect(offset, editor()->geometry());
  const QRect inViewport = view().viewportRect(rect).toRect();
  return {view().viewport()->mapToGlobal(inViewport.topLeft()), inViewport.size()};
}

int HexEditorAccessible::offsetAtPoint(const QPoint& point) const {
  if (editor() == nullptr) return -1;
  const QPointF inViewport = view().viewport()->mapFromGlobal(QPointF(point));
  const auto index = rowsText().indexAt(view().documentPoint(inViewport), editor()->geometry());
  return static_cast<int>(index.value_or(-1));
}

void HexEditorAccessible::scrollToSubstring(int startIndex, int endIndex) {
  if (editor() == nullptr) return;
  const HexRowsText rows = rowsText();
  const HexEditorGeometry& geometry = editor()->geometry();
  view().scrollToVisible(rows.characterRect(endIndex, geometry));
  view().scrollToVisible(rows.characterRect(startIndex, geometry));
}

QString HexEditorAccessible::attributes(int offset, int* startOffset, int* endOffset) const {
  *startOffset = offset;
  *endOffset = offset;
  return {};
}

}  // namespace quillmor
