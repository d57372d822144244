#include "ui/window/EditorWindow.h"

#include <QAccessible>
#include <QCloseEvent>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <QWindow>
#include <utility>

#include "ui/editor/HexEditorView.h"
#include "ui/editor/HexFileDropView.h"
#include "ui/window/EditorToolbar.h"
#include "ui/window/ElidedLabel.h"
#include "ui/window/OutsideChangeRow.h"

namespace quillmor {

namespace {

constexpr QPoint kInitialOrigin(100, 100);
constexpr QSize kMinimumSize(740, 460);
constexpr int kProgressSteps = 1000;
constexpr int kMinimumInspectorWidth = 120;

/// "[*]" in a title is the place of the mark of unsaved changes, so one in a file name is doubled.
QString titleFor(const std::string& displayName) {
  return QString::fromStdString(displayName).replace("[*]", "[*][*]") + "[*]";
}

}  // namespace

EditorWindow::EditorWindow(std::shared_ptr<HexWindowController> controller,
                           const FindReplacePanelServices& panelServices, Handlers handlers)
    : controller_(std::move(controller)),
      panelServices_(panelServices),
      handlers_(std::move(handlers)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setGeometry(QRect(kInitialOrigin, kInitialSize));
  setupUI();
  limitMinimumSize();
  controller_->attachWindow(*this);
  editorView_->setFocus();
}

EditorWindow::~EditorWindow() {
  controller_->windowWillClose();
}

void EditorWindow::setupUI() {
  content_ = new HexFileDropView;
  setCentralWidget(content_);
  content_->setAutoFillBackground(true);
  QPalette background = content_->palette();
  background.setColor(QPalette::Window, QColor::fromRgbF(0.045F, 0.045F, 0.045F));
  content_->setPalette(background);

  toolbar_ = new EditorToolbar(
      [this](std::string_view action) { handlers_.perform(*this, action); }, content_);
  editorView_ = new HexEditorView(controller_->editor(), content_);

  auto* lines = new QVBoxLayout;
  lines->setContentsMargins(12, 4, 12, 8);
  lines->setSpacing(4);
  outsideChange_ = makeOutsideChangeRow();
  lines->addWidget(outsideChange_);
  lines->addWidget(makeStatusRow());
  lines->addLayout(makeInspectorRow());

  auto* layout = new QVBoxLayout(content_);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(toolbar_);
  layout->addWidget(editorView_, 1);
  layout->addLayout(lines);
  acceptDrops();
}

OutsideChangeRow* EditorWindow::makeOutsideChangeRow() {
  OutsideChangeRow::Handlers handlers;
  handlers.show = [this] { controller_->outsideChanges().showReport(); };
  handlers.reload = [this] { handlers_.perform(*this, "forwardReloadFromDisk:"); };
  handlers.keepMine = [this] { controller_->outsideChanges().keepMine(); };
  handlers.giveFocusBack = [this] { editorView_->setFocus(); };
  return new OutsideChangeRow(std::move(handlers), content_);
}

QWidget* EditorWindow::makeStatusRow() {
  auto* row = new QWidget(content_);
  status_ = new ElidedLabel(tr("Status"), row);
  status_->setFullText(tr("Ready"));
  progress_ = new QProgressBar(row);
  progress_->setAccessibleName(tr("Progress"));
  progress_->setTextVisible(false);
  progress_->setFixedSize(180, 6);
  stop_ = new QPushButton(tr("Stop"), row);
  stop_->setAccessibleName(tr("Stop"));
  connect(stop_, &QPushButton::clicked, this, [this] { controller_->stopCurrentOperation(); });
  stopShortcut_ = new QShortcut(QKeySequence(Qt::Key_Escape), this);
  stopShortcut_->setEnabled(false);
  connect(stopShortcut_, &QShortcut::activated, this,
          [this] { controller_->stopCurrentOperation(); });

  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(8);
  layout->addWidget(status_, 1);
  layout->addWidget(progress_);
  layout->addWidget(stop_);
  hideProgress();
  return row;
}

/// A notice takes room from the data inspector alone: the status text, and a progress bar beside
/// it, stay where they are, and so does everything above.
QLayout* EditorWindow::makeInspectorRow() {
  inspector_ = new ElidedLabel(tr("Data inspector"), content_);
  inspector_->setMinimumWidth(kMinimumInspectorWidth);
  notice_ = new ElidedLabel(tr("Notice"), content_, ElidedLabel::Kind::notice);
  notice_->hide();
  auto* row = new QHBoxLayout;
  row->setSpacing(24);
  row->addWidget(inspector_, 1);
  row->addWidget(notice_);
  return row;
}

void EditorWindow::acceptDrops() {
  // The program the file comes from waits while the drop is handled, so opening starts afterwards.
  const auto open = [this](const FileLocation& location) {
    const auto openUnlessClosed = [this, location] {
      if (controller_->hasWindow()) controller_->commands().replacement().openDroppedFile(location);
    };
    QMetaObject::invokeMethod(this, openUnlessClosed, Qt::QueuedConnection);
  };
  content_->setFileDropHandler(open);
  editorView_->setFileDropHandler(open);
}

void EditorWindow::setIdentity(const std::string& displayName,
                               const std::optional<FileLocation>& represented, bool isEdited) {
  setWindowFilePath(represented ? QString::fromStdString(represented->path()) : QString());
  setWindowTitle(titleFor(displayName));
  setWindowModified(isEdited);
}

void EditorWindow::setStatusText(const std::string& text) {
  status_->setFullText(QString::fromStdString(text));
}

void EditorWindow::setInspectorText(const std::string& text) {
  inspector_->setFullText(QString::fromStdString(text));
}

void EditorWindow::setNotice(const std::string& text) {
  notice_->setFullText(QString::fromStdString(text));
  notice_->setVisible(!text.empty());
  if (text.empty()) return;
  QAccessibleEvent announcement(notice_, QAccessible::Alert);
  QAccessible::updateAccessibility(&announcement);
}

void EditorWindow::setToolbarEnabled(bool enabled) {
  toolbar_->setButtonsEnabled(enabled);
  stopShortcut_->setEnabled(!enabled);
}

void EditorWindow::showProgress(double fraction, bool canStop) {
  const bool isKnown = fraction >= 0;
  progress_->setRange(0, isKnown ? kProgressSteps : 0);
  if (isKnown) progress_->setValue(static_cast<int>(fraction * kProgressSteps));
  progress_->show();
  stop_->setVisible(canStop);
}

void EditorWindow::hideProgress() {
  progress_->hide();
  stop_->hide();
}

void EditorWindow::showOutsideChange(const std::string& text, OutsideChangeChoices choices) {
  outsideChange_->showText(QString::fromStdString(text), choices);
}

void EditorWindow::hideOutsideChange() {
  outsideChange_->hideLine();
}

void EditorWindow::revalidateMenus() {
  handlers_.menusNeedValidation(*this);
}

void EditorWindow::bringToFront() {
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
}

void EditorWindow::closeWindow() {
  closesWithoutAsking_ = true;
  close();
}

void EditorWindow::unregisterDrags() {
  content_->setAcceptDrops(false);
  editorView_->unregisterDrags();
}

void EditorWindow::showFindReplacePanel(PanelKind kind, const SearchRequest& initialRequest) {
  auto& panel = kind == PanelKind::find ? findPanelController_ : replacePanelController_;
  if (!panel) panel = makePanel(kind, initialRequest);
  panel->showWindow();
}

FindReplacePanelController* EditorWindow::makePanel(PanelKind kind,
                                                    const SearchRequest& initialRequest) {
  auto* panel = new FindReplacePanelController(
      kind, controller_, panelServices_, [this] { handlers_.didBecomeKey(*this); }, this);
  panel->apply(initialRequest);
  handlers_.didMakePanel(*panel);
  return panel;
}

void EditorWindow::closeFindReplacePanels() {
  for (FindReplacePanelController** panel : {&findPanelController_, &replacePanelController_}) {
    if (!*panel) continue;
    (*panel)->close();
    // One of its buttons may have led here.
    std::exchange(*panel, nullptr)->deleteLater();
  }
}

void EditorWindow::closeEvent(QCloseEvent* event) {
  const QPointer<EditorWindow> guard(this);
  bool mayClose = closesWithoutAsking_ || mayCloseNow();
  // A question runs the event loop. Meanwhile the window may have been closed and destroyed, or
  // asked to close without a question.
  if (guard) mayClose = mayClose || closesWithoutAsking_;
  if (!guard || !mayClose) return event->ignore();
  controller_->windowWillClose();
  event->accept();
}

/// Asks the controller. An answer that comes only after a save closes the window later, and asks
/// again about what may have changed since.
bool EditorWindow::mayCloseNow() {
  struct Question {
    bool isOpen = true;
    bool isAllowed = false;
  };
  const auto question = std::make_shared<Question>();
  controller_->requestClose([this, question, guard = QPointer<EditorWindow>(this)](bool isAllowed) {
    if (question->isOpen) {
      question->isAllowed = isAllowed;
    } else if (guard && isAllowed) {
      QMetaObject::invokeMethod(
          this, [this] { close(); }, Qt::QueuedConnection);
    }
  });
  question->isOpen = false;
  return question->isAllowed;
}

void EditorWindow::changeEvent(QEvent* event) {
  QMainWindow::changeEvent(event);
  if (event->type() != QEvent::ActivationChange || !isActiveWindow()) return;
  makeRoomForFrame();
  // Not every file system tells of every change.
  controller_->outsideChanges().lookSoon();
  handlers_.didBecomeKey(*this);
}

void EditorWindow::showEvent(QShowEvent* event) {
  QMainWindow::showEvent(event);
  if (hasPresentedInitialWindow_) return;
  hasPresentedInitialWindow_ = true;
  connect(windowHandle(), &QWindow::screenChanged, this, [this] { limitMinimumSize(); });
  limitMinimumSize();
  keepOnScreen();
}

/// The size that shows everything, but no more than the screen has.
void EditorWindow::limitMinimumSize() {
  const QSize needed(std::max(kMinimumSize.width(), toolbar_->fittingWidth() + 20),
                     kMinimumSize.height());
  setMinimumSize(needed.boundedTo(roomOnScreen().size()));
}

/// Where the window's content may lie, so that its frame is on the screen too.
QRect EditorWindow::roomOnScreen() const {
  const QRect content = geometry();
  const QRect frame = frameGeometry();
  return screen()->availableGeometry().adjusted(
      content.left() - frame.left(), content.top() - frame.top(), content.right() - frame.right(),
      content.bottom() - frame.bottom());
}

void EditorWindow::moveEvent(QMoveEvent* event) {
  QMainWindow::moveEvent(event);
  makeRoomForFrame();
}

/// The desktop puts its frame around a window some time after it is shown, without an event of its
/// own. That may move the window, and makes it active.
void EditorWindow::makeRoomForFrame() {
  if (hasSeenFrame_ || !isVisible() || frameGeometry() == geometry()) return;
  hasSeenFrame_ = true;
  limitMinimumSize();
  if (!isMaximized() && !isFullScreen()) keepOnScreen();
}

void EditorWindow::keepOnScreen() {
  const QRect room = roomOnScreen();
  QRect content = geometry();
  content.setSize(content.size().boundedTo(room.size()));
  content.moveLeft(std::clamp(content.left(), room.left(), room.right() + 1 - content.width()));
  content.moveTop(std::clamp(content.top(), room.top(), room.bottom() + 1 - content.height()));
  setGeometry(content);
}

}  // namespace quillmor
