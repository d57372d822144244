#include "ui/window/HistoryComboBox.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QMenu>

#include "search/typed/TypedInput.h"
#include "ui/window/QtText.h"
#include "window/SearchHistory.h"

namespace quillmor {

namespace {

constexpr int kMinimumWidth = 370;
constexpr int kTextMargin = 48;

/// More than any command accepts, whatever the scalars are.
constexpr int kMaxCodeUnits = static_cast<int>(2 * maxTextInputCharacters + 1);

/// One line that fits `width`. In a menu "&" marks the access key, so a literal one is doubled.
QString entryTitle(const QString& text, const QFontMetrics& metrics, int width) {
  QString line = text;
  for (QChar& character : line) {
    if (!character.isPrint() && !character.isSurrogate()) character = u' ';
  }
  return metrics.elidedText(line, Qt::ElideRight, width).replace("&", "&&");
}

}  // namespace

HistoryComboBox::HistoryComboBox(const SearchHistory& history, QWidget* parent)
    : QComboBox(parent), history_(history) {
  setEditable(true);
  setCompleter(nullptr);
  setInsertPolicy(QComboBox::NoInsert);
  setMinimumWidth(kMinimumWidth);
  lineEdit()->setMaxLength(kMaxCodeUnits);
}

bool HistoryComboBox::isFull() const {
  return lineEdit()->text().size() >= lineEdit()->maxLength();
}

void HistoryComboBox::showPopup() {
  if (history_.entries().empty()) return;
  auto* list = new QMenu(this);
  list->setAttribute(Qt::WA_DeleteOnClose);
  list->setAccessibleName(accessibleName());
  list->setMinimumWidth(width());
  const int textWidth = width() - kTextMargin;
  for (const std::string& entry : history_.entries()) {
    const QString text = toQString(entry);
    list->addAction(entryTitle(text, list->fontMetrics(), textWidth), this, [this, text] {
      lineEdit()->selectAll();
      lineEdit()->insert(text);
    });
  }
  list->popup(mapToGlobal(QPoint(0, height())));
  list->setActiveAction(list->actions().constFirst());
}

void HistoryComboBox::selectAll() {
  lineEdit()->selectAll();
}

void HistoryComboBox::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
      return showPopup();
    default:
      QComboBox::keyPressEvent(event);
  }
}

void HistoryComboBox::wheelEvent(QWheelEvent* event) {
  event->ignore();
}

}  // namespace quillmor
