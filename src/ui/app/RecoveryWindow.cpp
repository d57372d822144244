#include "ui/app/RecoveryWindow.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "app/RecoveryController.h"
#include "ui/window/QtText.h"
#include "window/GroupedDecimal.h"

namespace quillmor {

namespace {

enum Column : int { kFile, kFolder, kTime, kSize, kKind, kColumnCount };

constexpr QSize kInitialSize(820, 380);
constexpr QMargins kMargins(16, 14, 16, 14);
constexpr int kSpacing = 10;
constexpr int kButtonPadding = 12;
/// As much of the screen's width and height as the window may take.
constexpr double kShareOfScreen = 0.94;
constexpr int kWidestName = 260;

QLabel* textLabel(QWidget* parent) {
  auto* label = new QLabel(parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  return label;
}

QString timeText(const RecordTime& time) {
  const QDateTime moment = QDateTime::fromSecsSinceEpoch(time.seconds);
  return QLocale().toString(moment, QLocale::ShortFormat);
}

QString sizeText(const RecoveryEntry& entry) {
  if (!entry.byteCount) return QWidget::tr("unknown");
  return QString::fromStdString(groupedDecimal(*entry.byteCount)) +
         (*entry.byteCount == 1 ? QWidget::tr(" byte") : QWidget::tr(" bytes"));
}

QString textOf(const RecoveryEntry& entry, int column) {
  switch (column) {
    case kFile:
      return toQString(entry.shownName());
    case kFolder:
      return entry.file ? toQString(entry.file->directory().shownPath()) : QString();
    case kTime:
      return timeText(entry.time);
    case kSize:
      return sizeText(entry);
    default:
      return toQString(std::string(entry.kind()));
  }
}

QTableWidgetItem* itemOf(const RecoveryEntry& entry, int column) {
  auto* item = new QTableWidgetItem(textOf(entry, column));
  item->setFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled);
  QString whole = item->text();
  if (column == kFile && entry.file) whole = toQString(entry.file->shownPath());
  if (entry.problem) {
    const QString problem = toQString(entry.problem->messageWithReason());
    item->setData(Qt::AccessibleDescriptionRole, problem);
    whole += "\n" + problem;
  }
  item->setToolTip(whole);
  if (column == kSize) item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
  return item;
}

}  // namespace

RecoveryWindow::RecoveryWindow(RecoveryController& recovery, Perform perform)
    : recovery_(recovery),
      table_(new QTableWidget(0, kColumnCount, this)),
      messages_(textLabel(this)),
      activity_(textLabel(this)) {
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowTitle(tr("Recovered Documents"));
  auto* explanation = textLabel(this);
  explanation->setText(
      tr("Quillmor ended before the changes of these documents were saved. Nothing is written to "
         "the files until you save."));
  makeTable();
  messages_->setAccessibleDescription(tr("Records that are not offered"));
  activity_->setAccessibleDescription(tr("Progress"));

  auto* buttons = new QHBoxLayout;
  buttons->setSpacing(kSpacing);
  for (QPushButton* task : {addTask(tr("Show Differences"), &RecoveryController::showDifferences),
                            addTask(tr("Discard"), &RecoveryController::discard)})
    buttons->addWidget(task);
  buttons->addWidget(activity_, 1);
  later_ = new QPushButton(tr("Later"), this);
  connect(later_, &QPushButton::clicked, this, &RecoveryWindow::reject);
  buttons->addWidget(later_);
  auto* recover = addTask(tr("Recover"), &RecoveryController::recover);
  recover->setDefault(true);
  buttons->addWidget(recover);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(kMargins);
  layout->setSpacing(kSpacing);
  layout->addWidget(explanation);
  layout->addWidget(table_, 1);
  layout->addWidget(messages_);
  layout->addLayout(buttons);
  addKeys(perform);
  resize(kInitialSize.boundedTo(screen()->availableSize() * kShareOfScreen));
  showContent();
  table_->setFocus();
}

void RecoveryWindow::makeTable() {
  table_->setAccessibleName(tr("Recovered documents"));
  table_->setHorizontalHeaderLabels({tr("File"), tr("Folder"), tr("Time"), tr("Size"), tr("Kind")});
  table_->verticalHeader()->hide();
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  table_->setTabKeyNavigation(false);
  table_->setTextElideMode(Qt::ElideMiddle);
  table_->setWordWrap(false);
  table_->horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
  table_->horizontalHeader()->setSectionResizeMode(kFolder, QHeaderView::Stretch);
  table_->horizontalHeader()->setHighlightSections(false);
  table_->installEventFilter(this);
  connect(table_, &QTableWidget::itemSelectionChanged, this, &RecoveryWindow::selectionDidChange);
  connect(table_, &QTableWidget::itemDoubleClicked, this,
          [this] { start(&RecoveryController::recover); });
}

QPushButton* RecoveryWindow::addTask(const QString& title, Task task) {
  auto* button = new QPushButton(title, this);
  button->setMinimumWidth(button->fontMetrics().horizontalAdvance(title) + 2 * kButtonPadding);
  connect(button, &QPushButton::clicked, this, [this, task] { start(task); });
  tasks_.push_back(button);
  return button;
}

void RecoveryWindow::addKeys(const Perform& perform) {
  connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_W), this), &QShortcut::activated, this,
          &RecoveryWindow::reject);
  connect(new QShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q), this), &QShortcut::activated, this,
          [perform] { perform("requestQuit:"); });
}

bool RecoveryWindow::eventFilter(QObject* watched, QEvent* event) {
  if (watched != table_ || event->type() != QEvent::KeyPress) return false;
  switch (static_cast<const QKeyEvent&>(*event).key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      start(&RecoveryController::recover);
      return true;
    case Qt::Key_Delete:
      start(&RecoveryController::discard);
      return true;
    default:
      return false;
  }
}

void RecoveryWindow::showContent() {
  showRows();
  activity_->setText(recovery_.activity().empty() ? QString()
                                                  : toQString(recovery_.activity()) + "…");
  selectionDidChange();
}

void RecoveryWindow::showRows() {
  const std::vector<std::string> selected = selectedIDs();
  const int scrolledTo = std::max(table_->currentRow(), 0);
  const QSignalBlocker blocker(table_);
  table_->setRowCount(static_cast<int>(recovery_.entries().size()));
  int row = 0;
  for (const RecoveryEntry& entry : recovery_.entries()) {
    for (int column = 0; column < kColumnCount; ++column)
      table_->setItem(row, column, itemOf(entry, column));
    table_->item(row, kFile)->setData(Qt::UserRole, toQString(entry.id()));
    ++row;
  }
  for (const int column : {kFile, kTime, kSize, kKind}) table_->resizeColumnToContents(column);
  table_->setColumnWidth(kFile, std::min(table_->columnWidth(kFile), kWidestName));
  select(selected);
  if (row > 0 && table_->selectedItems().isEmpty())
    table_->selectRow(std::min(scrolledTo, row - 1));
}

void RecoveryWindow::selectionDidChange() {
  const std::vector<std::string> selected = selectedIDs();
  const bool isReady = recovery_.activity().empty() && !selected.empty();
  for (QPushButton* task : tasks_) task->setEnabled(isReady);
  QStringList sentences;
  const auto& entries = recovery_.entries();
  const auto first = std::ranges::find_if(entries, [&](const RecoveryEntry& entry) {
    return entry.problem && std::ranges::find(selected, entry.id()) != selected.end();
  });
  if (first != entries.end())
    sentences << toQString(first->shownName() + ": " + first->problem->messageWithReason());
  for (const std::string& sentence : recovery_.messages()) sentences << toQString(sentence);
  messages_->setText(sentences.join('\n'));
  messages_->setVisible(!sentences.isEmpty());
}

std::vector<std::string> RecoveryWindow::selectedIDs() const {
  std::vector<std::string> ids;
  for (int row = 0; row < table_->rowCount(); ++row) {
    const QTableWidgetItem* const item = table_->item(row, kFile);
    if (item != nullptr && item->isSelected())
      ids.push_back(item->data(Qt::UserRole).toString().toStdString());
  }
  return ids;
}

void RecoveryWindow::select(const std::vector<std::string>& ids) {
  table_->clearSelection();
  for (int row = 0; row < table_->rowCount(); ++row) {
    const auto id = table_->item(row, kFile)->data(Qt::UserRole).toString().toStdString();
    if (std::ranges::find(ids, id) == ids.end()) continue;
    for (int column = 0; column < kColumnCount; ++column)
      table_->item(row, column)->setSelected(true);
  }
}

void RecoveryWindow::start(Task task) {
  (recovery_.*task)(selectedIDs());
}

void RecoveryWindow::reject() {
  // Without entries the window goes.
  recovery_.later();
}

}  // namespace quillmor
