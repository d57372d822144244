// The controls of the panels and where they stand. Sizes are in logical points.

#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QScrollArea>
#include <QTabBar>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/window/FindReplacePanelController.h"
#include "ui/window/HistoryComboBox.h"
#include "window/SearchHistory.h"

namespace quillmor {

namespace {

constexpr QSize kFindSize(540, 330);
constexpr QSize kReplaceSize(540, 372);
constexpr QMargins kInsets(18, 14, 18, 14);
constexpr int kTabHeight = 36;
constexpr int kLabelWidth = 96;
constexpr int kPopupWidth = 180;
constexpr int kButtonWidth = 104;
constexpr int kControlHeight = 26;
constexpr int kGroupSpacing = 14;
constexpr int kRowSpacing = 8;

/// The access keys stand in the texts after "&", each once: Alt with T, X, I, N; S, W, E; C, P; L,
/// F, B; O, A.
constexpr const char* kTabTitles[] = {"&Text-string", "He&x-values", "&Integer number",
                                      "Floating point &number"};
constexpr const char* kEncodings[] = {"(Editor encoding)", "UTF-8", "ASCII", "UTF-16 LE",
                                      "UTF-16 BE"};

/// The application's own ground of text fields and indicators hardly differs from the window's.
const QColor kFieldGround(46, 46, 48);
const QColor kIndicatorGround(92, 92, 96);
const QColor kSelectedTab(94, 142, 196);
constexpr int kSelectedTabLine = 2;

/// Tabs without pages, as high as the bar, the selected one underlined.
class ModeTabs : public QTabBar {
 public:
  explicit ModeTabs(QWidget* parent) : QTabBar(parent) {
    setDrawBase(true);
    setExpanding(true);
    setUsesScrollButtons(false);
    setFixedHeight(kTabHeight);
  }

 protected:
  QSize tabSizeHint(int index) const override {
    return {QTabBar::tabSizeHint(index).width(), kTabHeight};
  }

  void paintEvent(QPaintEvent* event) override {
    QTabBar::paintEvent(event);
    QRect line = tabRect(currentIndex()).adjusted(1, 0, -1, 0);
    line.setTop(line.bottom() + 1 - kSelectedTabLine);
    QPainter(this).fillRect(line, kSelectedTab);
  }
};

void setGround(QWidget& control, const QColor& ground) {
  QPalette palette;
  palette.setColor(QPalette::Base, ground);
  palette.setColor(QPalette::Text, Qt::white);
  control.setPalette(palette);
}

template <class Layout>
Layout* withoutMargins(int spacing) {
  auto* layout = new Layout;
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(spacing);
  return layout;
}

QGroupBox* boxOf(const QString& title, std::initializer_list<QWidget*> controls, QWidget* parent) {
  auto* box = new QGroupBox(title, parent);
  auto* row = new QHBoxLayout(box);
  row->setContentsMargins(10, 7, 10, 7);
  row->setSpacing(18);
  for (QWidget* control : controls) {
    if (!control) continue;
    setGround(*control, kIndicatorGround);
    // The box keeps its height without controls.
    row->addStrut(control->sizeHint().height());
    row->addWidget(control);
  }
  row->addStretch(1);
  return box;
}

/// Makes the control at least `width` wide and as high as all controls of a row, and no smaller
/// than its font needs.
void makeLarge(QWidget& control, int width) {
  control.setMinimumSize(QSize(width, kControlHeight).expandedTo(control.minimumSizeHint()));
}

/// Gives the labels one width; a font larger than usual may need more than the usual one.
void alignFields(std::initializer_list<QLabel*> labels) {
  int width = kLabelWidth;
  for (const QLabel* label : labels) {
    if (label) width = std::max(width, label->sizeHint().width());
  }
  for (QLabel* label : labels) {
    if (label) label->setFixedWidth(width);
  }
}

/// The text as it is shown: without the marks of access keys.
QString shownText(QString text) {
  return text.remove('&');
}

/// The widgets below stay where they are while this one is hidden.
void keepPlaceWhenHidden(QWidget& widget) {
  QSizePolicy policy = widget.sizePolicy();
  policy.setRetainSizeWhenHidden(true);
  widget.setSizePolicy(policy);
}

}  // namespace

void FindReplacePanelController::setupUI() {
  const bool isFind = kind_ == PanelKind::find;
  setWindowTitle(isFind ? tr("Find") : tr("Replace"));
  auto* content = new QVBoxLayout(this);
  content->setContentsMargins(kInsets);
  content->setSpacing(kGroupSpacing);
  // Made in the order in which the Tab key goes through them.
  content->addWidget(makeTabView());
  content->addLayout(makeForm());
  content->addWidget(makeOptionsBox());
  content->addWidget(makeDirectionBox());
  content->addStretch(1);
  content->addLayout(makeButtonRow());
  nameControls();
  tabViewDidSelect(tabView_->currentIndex());
  // A font larger than usual may need more.
  setSize((isFind ? kFindSize : kReplaceSize).expandedTo(content->minimumSize()));
}

/// Gives the panel this size; on a screen that has not so much room, what there is, to scroll in.
void FindReplacePanelController::setSize(QSize size) {
  const QWidget& owner = parentWidget() ? *parentWidget() : *this;
  // The desktop puts the same around the panel as around its owner.
  const QSize decoration = owner.frameGeometry().size() - owner.size();
  const QSize room = owner.screen()->availableSize() - decoration;
  setFixedSize(size.boundedTo(room));
  if (size.boundedTo(room) == size) return;
  auto* scroll = new QScrollArea(this);
  scroll->setFrameShape(QFrame::NoFrame);
  scroll->setFocusPolicy(Qt::NoFocus);
  auto* page = new QWidget(scroll);
  page->setLayout(layout());
  page->setFixedSize(size);
  scroll->setWidget(page);
  auto* whole = new QVBoxLayout(this);
  whole->setContentsMargins(0, 0, 0, 0);
  whole->addWidget(scroll);
}

QTabBar* FindReplacePanelController::makeTabView() {
  tabView_ = new ModeTabs(this);
  for (const char* title : kTabTitles) tabView_->addTab(tr(title));
  connect(tabView_, &QTabBar::currentChanged, this, &FindReplacePanelController::tabViewDidSelect);
  return tabView_;
}

QLabel* FindReplacePanelController::makeLabel(const QString& text, QWidget* buddy) {
  auto* label = new QLabel(text, this);
  label->setBuddy(buddy);
  return label;
}

QBoxLayout* FindReplacePanelController::makeRow(QLabel* label, QWidget* field) {
  auto* row = withoutMargins<QHBoxLayout>(kRowSpacing);
  setGround(*field, kFieldGround);
  makeLarge(*field, field->minimumWidth());
  row->addWidget(label);
  row->addWidget(field, 1);
  return row;
}

QBoxLayout* FindReplacePanelController::makeForm() {
  auto* form = withoutMargins<QVBoxLayout>(kRowSpacing);
  searchField_ = new HistoryComboBox(services_.histories.searches, this);
  searchLabel_ = makeLabel(tr("&Search for:"), searchField_);
  form->addLayout(makeRow(searchLabel_, searchField_));
  if (kind_ == PanelKind::replace) {
    replaceField_ = new HistoryComboBox(services_.histories.replacements, this);
    replaceLabel_ = makeLabel(tr("Replace &with:"), replaceField_);
    form->addLayout(makeRow(replaceLabel_, replaceField_));
  }
  form->addWidget(makeEncodingRow());
  alignFields({searchLabel_, replaceLabel_, encodingLabel_});
  return form;
}

QWidget* FindReplacePanelController::makeEncodingRow() {
  encodingRow_ = new QWidget(this);
  encodingPopup_ = new QComboBox(encodingRow_);
  for (const char* encoding : kEncodings) encodingPopup_->addItem(encoding);
  encodingPopup_->setMinimumWidth(kPopupWidth);
  encodingLabel_ = makeLabel(tr("Text &encoding:"), encodingPopup_);
  QBoxLayout* row = makeRow(encodingLabel_, encodingPopup_);
  row->setStretch(1, 0);
  row->addStretch(1);
  encodingRow_->setLayout(row);
  keepPlaceWhenHidden(*encodingRow_);
  return encodingRow_;
}

QGroupBox* FindReplacePanelController::makeOptionsBox() {
  caseSensitiveCheckbox_ = new QCheckBox(tr("&Case sensitive"));
  if (kind_ == PanelKind::replace) promptCheckbox_ = new QCheckBox(tr("&Prompt on replace"));
  optionsBox_ = boxOf(tr("Options"), {caseSensitiveCheckbox_, promptCheckbox_}, this);
  keepPlaceWhenHidden(*optionsBox_);
  return optionsBox_;
}

QGroupBox* FindReplacePanelController::makeDirectionBox() {
  allRadio_ = new QRadioButton(tr("A&ll"));
  forwardRadio_ = new QRadioButton(tr("&Forward"));
  backwardRadio_ = new QRadioButton(tr("&Backward"));
  directionBox_ = boxOf(tr("Search direction"), {allRadio_, forwardRadio_, backwardRadio_}, this);
  for (QRadioButton* radio : {allRadio_, forwardRadio_, backwardRadio_}) {
    connect(radio, &QRadioButton::toggled, this, [this, radio](bool isOn) {
      if (isOn) handleDirectionSelection(*radio);
    });
  }
  forwardRadio_->setChecked(true);
  return directionBox_;
}

QBoxLayout* FindReplacePanelController::makeButtonRow() {
  const bool isFind = kind_ == PanelKind::find;
  primaryButton_ = new QPushButton(tr("&OK"), this);
  secondaryButton_ = new QPushButton(isFind ? tr("Search &all") : tr("Replace &all"), this);
  cancelButton_ = new QPushButton(tr("Cancel"), this);
  auto* row = withoutMargins<QHBoxLayout>(10);
  row->addStretch(1);
  for (QPushButton* button : {primaryButton_, secondaryButton_, cancelButton_}) {
    makeLarge(*button, kButtonWidth);
    // Return is the primary button's wherever the focus is; Space presses a focused button.
    button->setAutoDefault(false);
    row->addWidget(button);
  }
  primaryButton_->setDefault(true);
  connect(primaryButton_, &QPushButton::clicked, this,
          &FindReplacePanelController::handlePrimaryAction);
  connect(secondaryButton_, &QPushButton::clicked, this,
          &FindReplacePanelController::handleSecondaryAction);
  connect(cancelButton_, &QPushButton::clicked, this, &FindReplacePanelController::handleCancel);
  return row;
}

/// The controls' names for assistive technology, and the names by which tests and tools find them.
void FindReplacePanelController::nameControls() {
  const auto name = [](QWidget* control, const char* objectName, const QString& text) {
    if (!control) return;
    control->setObjectName(objectName);
    control->setAccessibleName(shownText(text));
  };
  name(tabView_, "tabView", tr("Search mode"));
  name(searchLabel_, "searchLabel", searchLabel_->text());
  name(searchField_, "searchField", searchLabel_->text());
  if (replaceField_) {
    name(replaceLabel_, "replaceLabel", replaceLabel_->text());
    name(replaceField_, "replaceField", replaceLabel_->text());
    replaceField_->lineEdit()->setAccessibleName(replaceField_->accessibleName());
    name(promptCheckbox_, "promptCheckbox", promptCheckbox_->text());
  }
  searchField_->lineEdit()->setAccessibleName(searchField_->accessibleName());
  name(encodingRow_, "encodingRow", encodingLabel_->text());
  name(encodingLabel_, "encodingLabel", encodingLabel_->text());
  name(encodingPopup_, "encodingPopup", encodingLabel_->text());
  name(optionsBox_, "optionsBox", optionsBox_->title());
  name(caseSensitiveCheckbox_, "caseSensitiveCheckbox", caseSensitiveCheckbox_->text());
  name(directionBox_, "directionBox", directionBox_->title());
  name(allRadio_, "allRadio", allRadio_->text());
  name(forwardRadio_, "forwardRadio", forwardRadio_->text());
  name(backwardRadio_, "backwardRadio", backwardRadio_->text());
  name(primaryButton_, "primaryButton", primaryButton_->text());
  name(secondaryButton_, "secondaryButton", secondaryButton_->text());
  name(cancelButton_, "cancelButton", cancelButton_->text());
}

}  // namespace quillmor
