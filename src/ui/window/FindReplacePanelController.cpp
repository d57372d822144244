// The behaviour of the panels; FindReplacePanelLayout.cpp builds them.

#include "ui/window/FindReplacePanelController.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QGroupBox>
#include <QGuiApplication>
#include <QRadioButton>
#include <QScreen>
#include <QTabBar>

#include "base/Unicode.h"
#include "search/SearchAnswers.h"
#include "ui/window/HistoryComboBox.h"
#include "ui/window/QtText.h"
#include "window/HexWindowController.h"
#include "window/PanelPlacement.h"
#include "window/SearchHistory.h"

namespace quillmor {

namespace {

PanelPlacement::Frame frameOf(const QRect& rect) {
  return {.origin = {rect.x(), rect.y()}, .size = {rect.width(), rect.height()}};
}

bool isNothingToSearchFor(SearchMode mode, std::string_view text) {
  return mode == SearchMode::textString ? text.empty() : Unicode::trimmedOfWhiteSpace(text).empty();
}

SearchTextEncoding encodingAt(int index) {
  const bool isListed = index >= 0 && index <= static_cast<int>(SearchTextEncoding::utf16BigEndian);
  return isListed ? static_cast<SearchTextEncoding>(index) : SearchTextEncoding::editor;
}

void findNext(HexWindowController& owner, const SearchRequest& request) {
  const bool hasSelection = owner.session().selectedRange().length > 0;
  owner.commands().searching().performFind(request, hasSelection);
}

void findEvery(HexWindowController& owner, const SearchRequest& request) {
  owner.commands().searching().performSearchAll(request);
}

void replaceNext(HexWindowController& owner, const SearchRequest& request) {
  owner.commands().replacing().performReplace(request);
}

void replaceEvery(HexWindowController& owner, const SearchRequest& request) {
  owner.commands().replacing().performReplaceAll(request);
}

}  // namespace

FindReplacePanelController::FindReplacePanelController(PanelKind kind,
                                                       std::weak_ptr<HexWindowController> owner,
                                                       const FindReplacePanelServices& services,
                                                       std::function<void()> didBecomeKey,
                                                       QWidget* ownerWindow)
    : QDialog(ownerWindow),
      kind_(kind),
      hexWindowController_(std::move(owner)),
      services_(services),
      didBecomeKey_(std::move(didBecomeKey)) {
  setAttribute(Qt::WA_QuitOnClose, false);
  setupUI();
}

void FindReplacePanelController::showWindow() {
  if (!isVisible()) positionRelativeToOwner();
  setWindowState(windowState() & ~Qt::WindowMinimized);
  show();
  raise();
  activateWindow();
  searchField_->setFocus();
  searchField_->selectAll();
}

void FindReplacePanelController::positionRelativeToOwner() {
  const QWidget& owner = *parentWidget();
  const QScreen* screen = owner.screen() ? owner.screen() : QGuiApplication::primaryScreen();
  // The desktop's frame is known only of a window that has been shown; both windows get the same
  // one.
  const QSize decoration = owner.frameGeometry().size() - owner.size();
  const PanelPlacement::Frame panel = frameOf({QPoint(), size() + decoration});
  const auto origin = PanelPlacement::originOver(frameOf(owner.frameGeometry()), panel.size,
                                                 frameOf(screen->availableGeometry()));
  move(static_cast<int>(origin.x), static_cast<int>(origin.y));
}

SearchMode FindReplacePanelController::selectedMode() const {
  return static_cast<SearchMode>(tabView_->currentIndex());
}

SearchDirection FindReplacePanelController::selectedDirection() const {
  if (allRadio_->isChecked()) return SearchDirection::all;
  return backwardRadio_->isChecked() ? SearchDirection::backward : SearchDirection::forward;
}

std::optional<SearchRequest> FindReplacePanelController::buildRequest() const {
  if (searchField_->isFull() || (replaceField_ && replaceField_->isFull())) return std::nullopt;
  SearchRequest request;
  request.mode = selectedMode();
  request.searchText = searchField_->currentText().toStdString();
  if (isNothingToSearchFor(request.mode, request.searchText)) return std::nullopt;
  if (replaceField_) request.replaceText = replaceField_->currentText().toStdString();
  request.textEncoding = encodingAt(encodingPopup_->currentIndex());
  request.direction = selectedDirection();
  request.caseSensitive = caseSensitiveCheckbox_->isChecked();
  request.promptOnReplace = promptCheckbox_ && promptCheckbox_->isChecked();
  return request;
}

std::string FindReplacePanelController::refusalOfRequest() const {
  if (searchField_->isFull() || (replaceField_ && replaceField_->isFull()))
    return "The text is too long to be entered whole.";
  return std::string(kNothingToSearchFor);
}

void FindReplacePanelController::apply(const SearchRequest& request) {
  tabView_->setCurrentIndex(static_cast<int>(request.mode));
  searchField_->setEditText(toQString(request.searchText));
  if (replaceField_) replaceField_->setEditText(toQString(request.replaceText));
  encodingPopup_->setCurrentIndex(static_cast<int>(request.textEncoding));
  switch (request.direction) {
    case SearchDirection::all:
      handleDirectionSelection(*allRadio_);
      break;
    case SearchDirection::forward:
      handleDirectionSelection(*forwardRadio_);
      break;
    case SearchDirection::backward:
      handleDirectionSelection(*backwardRadio_);
      break;
  }
  caseSensitiveCheckbox_->setChecked(request.caseSensitive);
  if (promptCheckbox_) promptCheckbox_->setChecked(request.promptOnReplace);
}

void FindReplacePanelController::handlePrimaryAction() {
  handOver(kind_ == PanelKind::find ? findNext : replaceNext);
}

void FindReplacePanelController::handleSecondaryAction() {
  handOver(kind_ == PanelKind::find ? findEvery : replaceEvery);
}

void FindReplacePanelController::handOver(Operation operation) {
  const auto owner = hexWindowController_.lock();
  if (!owner || !owner->hasWindow()) return;
  const auto request = buildRequest();
  if (!request) return owner->context().messages().refuse(refusalOfRequest());
  remember(*request);
  // An alert of the operation runs the event loop, in which the panel may go.
  operation(*owner, *request);
}

void FindReplacePanelController::remember(const SearchRequest& request) {
  services_.histories.searches.record(request.searchText);
  services_.histories.replacements.record(request.replaceText);
}

void FindReplacePanelController::handleCancel() {
  if (const auto owner = hexWindowController_.lock()) owner->stopCurrentOperation();
  hide();
}

void FindReplacePanelController::handleDirectionSelection(QRadioButton& chosen) {
  for (QRadioButton* radio : {allRadio_, forwardRadio_, backwardRadio_}) {
    radio->setChecked(radio == &chosen);
    radio->setFocusPolicy(radio == &chosen ? Qt::StrongFocus : Qt::ClickFocus);
  }
}

void FindReplacePanelController::tabViewDidSelect(int index) {
  const bool isText = static_cast<SearchMode>(index) == SearchMode::textString;
  encodingRow_->setVisible(isText);
  caseSensitiveCheckbox_->setVisible(isText);
  optionsBox_->setVisible(isText || kind_ == PanelKind::replace);
}

void FindReplacePanelController::changeEvent(QEvent* event) {
  QDialog::changeEvent(event);
  if (event->type() == QEvent::ActivationChange && isActiveWindow()) didBecomeKey_();
}

/// Closing the window hides the panel and leaves a running operation alone.
void FindReplacePanelController::closeEvent(QCloseEvent* event) {
  event->accept();
}

}  // namespace quillmor
