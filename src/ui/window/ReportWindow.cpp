#include "ui/window/ReportWindow.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QShortcut>
#include <QSplitter>
#include <QVBoxLayout>
#include <utility>

#include "ui/window/QtText.h"
#include "window/GroupedDecimal.h"

namespace quillmor {

namespace {

constexpr QSize kSize(760, 540);
constexpr QMargins kBarMargins(12, 7, 12, 7);
constexpr int kBarSpacing = 8;
constexpr int kChartHeight = 290;
constexpr int kFieldWidth = 230;
constexpr int kButtonPadding = 11;
constexpr int kControlHeight = 26;
constexpr int kFieldTextMargin = 4;
const QColor kFieldGround(46, 46, 48);
const QColor kSplitterLine(58, 58, 60);

QString numberText(std::int64_t number) {
  return QString::fromStdString(groupedDecimal(number));
}

/// A line between two panes, in place of the style's dots.
class PaneHandle : public QSplitterHandle {
 public:
  using QSplitterHandle::QSplitterHandle;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter(this).fillRect(rect().adjusted(0, height() / 2, 0, height() / 2 + 1 - height()),
                            kSplitterLine);
  }
};

class Panes : public QSplitter {
 public:
  explicit Panes(QWidget* parent) : QSplitter(Qt::Vertical, parent) {
    setChildrenCollapsible(false);
    setHandleWidth(5);
  }

 protected:
  QSplitterHandle* createHandle() override { return new PaneHandle(orientation(), this); }
};

}  // namespace

ReportWindow::ReportWindow(const std::string& title, const std::string& report, SaveHandler save)
    : title_(title),
      report_(std::make_shared<const std::string>(report)),
      save_(std::move(save)),
      text_(new ReportText(this)) {
  setWindowTitle(toQString(title));
  resize(kSize);
  text_->setAccessibleName(toQString(title));
  text_->setReport(toQString(report));

  auto* content = new QWidget(this);
  layout_ = new QVBoxLayout(content);
  layout_->setContentsMargins(0, 0, 0, 0);
  layout_->setSpacing(0);
  layout_->addWidget(text_, 1);
  layout_->addWidget(makeBar());
  setCentralWidget(content);
  addFindKeys();
  text_->setFocus();
}

void ReportWindow::addChart(QWidget* chart, QSize size) {
  resize(size);
  auto* panes = new Panes(centralWidget());
  panes->addWidget(chart);
  panes->addWidget(text_);
  panes->setStretchFactor(0, 0);
  panes->setStretchFactor(1, 1);
  panes->setSizes({kChartHeight, size.height() - kChartHeight});
  layout_->insertWidget(0, panes, 1);
  // The Tab key goes from top to bottom, though the text was made first.
  for (QWidget* widget : chart->findChildren<QWidget*>())
    if (widget->focusPolicy() & Qt::TabFocus) setTabOrder(widget, text_);
  text_->setFocus();
}

QWidget* ReportWindow::makeBar() {
  auto* bar = new QWidget(this);
  field_ = makeField(bar);
  auto* previous =
      makeButton(tr("Previous"), bar, [this] { find(&ReportText::selectPreviousMatch); });
  auto* next = makeButton(tr("Next"), bar, [this] { find(&ReportText::selectNextMatch); });
  note_ = new QLabel(bar);
  note_->setObjectName("findNote");
  auto* all = makeButton(tr("Select All"), bar, [this] { selectAll(); });
  auto* copy = makeButton(tr("Copy"), bar, [this] { text_->copy(); });
  auto* saveAs = makeButton(tr("Save As…"), bar, [this] { save(); });
  copy->setEnabled(false);
  connect(text_, &ReportText::copyAvailable, copy, &QPushButton::setEnabled);
  connect(field_, &QLineEdit::textChanged, this, &ReportWindow::findFromHere);

  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(kBarMargins);
  row->setSpacing(kBarSpacing);
  for (QWidget* control : std::initializer_list<QWidget*>{field_, previous, next}) {
    row->addWidget(control);
  }
  row->addWidget(note_, 1);
  for (QWidget* control : {all, copy, saveAs}) row->addWidget(control);
  return bar;
}

QLineEdit* ReportWindow::makeField(QWidget* bar) {
  auto* field = new QLineEdit(bar);
  field->setPlaceholderText(tr("Find in report"));
  field->setAccessibleName(field->placeholderText());
  field->setClearButtonEnabled(true);
  field->setMinimumHeight(kControlHeight);
  field->setFixedWidth(kFieldWidth);
  field->setTextMargins(kFieldTextMargin, 0, kFieldTextMargin, 0);
  QPalette palette = field->palette();
  palette.setColor(QPalette::Base, kFieldGround);
  field->setPalette(palette);
  field->installEventFilter(this);
  return field;
}

QPushButton* ReportWindow::makeButton(const QString& title, QWidget* bar,
                                      std::function<void()> action) {
  auto* button = new QPushButton(title, bar);
  // A click leaves the focus, and with it the visible selection, where it is.
  button->setFocusPolicy(Qt::TabFocus);
  button->setMinimumHeight(kControlHeight);
  button->setFixedWidth(button->fontMetrics().horizontalAdvance(title) + 2 * kButtonPadding);
  connect(button, &QPushButton::clicked, this, std::move(action));
  return button;
}

void ReportWindow::addFindKeys() {
  // Find of the main menu is the editor's.
  const auto addKey = [this](const QKeySequence& key, auto select) {
    connect(new QShortcut(key, this), &QShortcut::activated, this,
            [this, select] { find(select); });
  };
  addKey(Qt::Key_F3, &ReportText::selectNextMatch);
  addKey(Qt::SHIFT | Qt::Key_F3, &ReportText::selectPreviousMatch);
}

bool ReportWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched != field_ || event->type() != QEvent::KeyPress) return false;
  const auto& key = static_cast<const QKeyEvent&>(*event);
  switch (key.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      find(key.modifiers() & Qt::ShiftModifier ? &ReportText::selectPreviousMatch
                                               : &ReportText::selectNextMatch);
      return true;
    case Qt::Key_Escape:
      text_->setFocus();
      return true;
    default:
      return false;
  }
}

void ReportWindow::findFromHere() {
  text_->markMatches(field_->text());
  showMatch(text_->selectNearestMatch());
}

void ReportWindow::find(std::optional<std::int64_t> (ReportText::*select)()) {
  if (field_->text().isEmpty()) return field_->setFocus();
  showMatch((text_->*select)());
}

void ReportWindow::showMatch(std::optional<std::int64_t> index) {
  if (field_->text().isEmpty()) return note_->clear();
  QAccessibleEvent changed(note_, QAccessible::NameChanged);
  note_->setText(index ? tr("%1 of %2").arg(numberText(*index + 1), numberText(text_->matchCount()))
                       : tr("Not found"));
  QAccessible::updateAccessibility(&changed);
}

void ReportWindow::selectAll() {
  text_->selectAll();
  text_->setFocus();
}

void ReportWindow::save() {
  // Copies: the window and all it holds may go while the user is asked.
  const SaveHandler handler = save_;
  const std::string title = title_;
  const auto report = report_;
  handler(title, *report);
}

}  // namespace quillmor
