#include "ui/window/HistoryWindow.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QShortcut>
#include <QTableView>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "ui/window/HistoryModel.h"
#include "ui/window/QtText.h"

namespace quillmor {

namespace {

constexpr QSize kSize(980, 460);
constexpr QMargins kMargins(12, 12, 12, 12);
constexpr int kSpacing = 10;
constexpr int kButtonPadding = 12;
constexpr int kCellPadding = 14;
constexpr int kRowPadding = 8;

int widthOf(const QFont& font, const QString& text) {
  return QFontMetrics(font).horizontalAdvance(text) + kCellPadding;
}

}  // namespace

HistoryWindow::HistoryWindow(std::shared_ptr<EditHistory> history, Open open)
    : history_(std::move(history)),
      open_(std::move(open)),
      model_(new HistoryModel(history_, this)),
      table_(new QTableView(this)),
      note_(new QLabel(this)),
      openButton_(makeButton(tr("Open This State"))) {
  setWindowTitle(tr("History"));
  resize(kSize);
  makeTable();
  note_->setTextFormat(Qt::PlainText);
  note_->setAccessibleDescription(tr("About the selected state"));
  QPushButton* const close = makeButton(tr("Close"));
  connect(close, &QPushButton::clicked, this, &QWidget::close);
  connect(openButton_, &QPushButton::clicked, this, &HistoryWindow::openSelected);
  connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);

  auto* content = new QWidget(this);
  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(kSpacing);
  buttons->addWidget(note_, 1);
  buttons->addWidget(close);
  buttons->addWidget(openButton_);
  auto* layout = new QVBoxLayout(content);
  layout->setContentsMargins(kMargins);
  layout->setSpacing(kSpacing);
  layout->addWidget(table_, 1);
  layout->addLayout(buttons);
  setCentralWidget(content);
  setTabOrder(table_, close);
  setTabOrder(close, openButton_);

  following_.setSingleShot(true);
  connect(&following_, &QTimer::timeout, this, &HistoryWindow::follow);
  history_->setObserver([guard = QPointer<HistoryWindow>(this)] {
    if (guard && !guard->following_.isActive()) guard->following_.start(0);
  });
  table_->selectRow(0);
  showSelection();
  table_->setFocus();
}

void HistoryWindow::makeTable() {
  table_->setModel(model_);
  table_->setAccessibleName(tr("History"));
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::SingleSelection);
  table_->setTabKeyNavigation(false);
  // The first bytes and the count stay readable.
  table_->setTextElideMode(Qt::ElideMiddle);
  table_->setWordWrap(false);
  table_->horizontalHeader()->setHighlightSections(false);
  table_->horizontalHeader()->setStretchLastSection(true);
  // Measuring the rows would take long: there may be 100,000.
  table_->verticalHeader()->hide();
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table_->verticalHeader()->setDefaultSectionSize(table_->fontMetrics().height() + kRowPadding);
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  table_->setColumnWidth(0, widthOf(table_->font(), "2026-00-00 00:00:00"));
  table_->setColumnWidth(1, widthOf(table_->font(), "Undo Replace All Bytes"));
  table_->setColumnWidth(2, widthOf(fixed, "0x00000000"));
  table_->setColumnWidth(3, widthOf(fixed, QString("00 ").repeated(12)));
  table_->installEventFilter(this);
  connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          &HistoryWindow::showSelection);
  connect(table_, &QTableView::doubleClicked, this, &HistoryWindow::openSelected);
}

QPushButton* HistoryWindow::makeButton(const QString& title) {
  auto* button = new QPushButton(title, this);
  button->setMinimumWidth(button->fontMetrics().horizontalAdvance(title) + 2 * kButtonPadding);
  return button;
}

void HistoryWindow::bringToFront() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
}

bool HistoryWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched != table_ || event->type() != QEvent::KeyPress) return false;
  const int key = static_cast<const QKeyEvent&>(*event).key();
  if (key != Qt::Key_Return && key != Qt::Key_Enter) return false;
  openSelected();
  return true;
}

void HistoryWindow::closeEvent(QCloseEvent* event) {
  // Another list of the same history may follow before this one is destroyed.
  history_->setObserver(nullptr);
  UtilityWindow::closeEvent(event);
}

void HistoryWindow::follow() {
  model_->follow();
  if (selectedRow() < 0 && model_->rowCount() > 0) table_->selectRow(0);
  showSelection();
  // Which states can be opened may have changed in any row.
  table_->viewport()->update();
}

void HistoryWindow::showSelection() {
  const HistoryList& list = model_->list();
  openButton_->setEnabled(list.stateToOpen(selectedRow()).has_value());
  note_->setText(toQString(list.note(selectedRow())));
}

/// -1 when none is.
int HistoryWindow::selectedRow() const {
  const QModelIndexList rows = table_->selectionModel()->selectedRows();
  return rows.isEmpty() ? -1 : rows.front().row();
}

void HistoryWindow::openSelected() {
  const auto state = model_->list().stateToOpen(selectedRow());
  if (!state) return;
  // A copy: the window and all it holds may go meanwhile.
  const Open open = open_;
  open(*state);
}

}  // namespace quillmor
