#include "platform_qt/AlertFormDialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <limits>

#include "platform_qt/AlertButtons.h"

namespace quillmor {

namespace {

/// The width of a dialog's two margins beside its form.
constexpr int kRoomAroundForm = 40;

/// A label for text of any origin: never read as markup, free to be selected and copied.
QLabel* makeTextLabel(const std::string& text) {
  auto* label = new QLabel;
  label->setTextFormat(Qt::PlainText);
  label->setText(QString::fromStdString(text));
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

QLabel* makeMessageLabel(const std::string& text) {
  QLabel* label = makeTextLabel(text);
  QFont font = label->font();
  font.setBold(true);
  label->setFont(font);
  return label;
}

QComboBox* makePopUp(const FormField& field) {
  auto* popUp = new QComboBox;
  for (const std::string& choice : field.choices) popUp->addItem(QString::fromStdString(choice));
  popUp->setCurrentIndex(static_cast<int>(field.selectedChoice));
  return popUp;
}

QLineEdit* makeTextField(const FormField& field) {
  auto* edit = new QLineEdit;
  // The toolkit would silently cut at 32,767 characters; the commands have limits of their own and
  // say so.
  edit->setMaxLength(std::numeric_limits<int>::max());
  edit->setPlaceholderText(QString::fromStdString(field.placeholder));
  edit->setText(QString::fromStdString(field.text));
  edit->selectAll();
  return edit;
}

}  // namespace

AlertFormDialog::AlertFormDialog(const Alert& alert, QWidget* parent)
    : QDialog(parent), alert_(alert) {
  setWindowTitle(QString::fromStdString(alert_.messageText));
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(makeMessageLabel(alert_.messageText));
  if (!alert_.informativeText.empty()) layout->addWidget(makeTextLabel(alert_.informativeText));
  layout->addWidget(makeForm());
  layout->addWidget(makeButtons());
  updateNotes();
  focusField();
}

QWidget* AlertFormDialog::makeForm() {
  auto* form = new QWidget;
  const QScreen* screen = (parentWidget() ? parentWidget() : this)->screen();
  const int room = screen->availableSize().width() - kRoomAroundForm;
  form->setMinimumWidth(std::min(alert_.formWidth, room));
  auto* layout = new QFormLayout(form);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
  for (const FormField& field : alert_.fields) {
    QWidget* widget = makeField(field);
    fieldWidgets_.push_back(widget);
    if (field.label.empty()) {
      layout->addRow(widget);
    } else {
      layout->addRow(AlertButtons::title(field.label), widget);
    }
    addNote(field, *widget, *layout);
  }
  return form;
}

void AlertFormDialog::addNote(const FormField& field, QWidget& widget, QFormLayout& layout) {
  QLabel* label = nullptr;
  if (field.note) {
    label = makeTextLabel({});
    // The dialog keeps its size while the note comes and goes.
    label->setMinimumHeight(label->fontMetrics().height());
    layout.addRow(QString(), label);
  }
  noteLabels_.push_back(label);
  if (auto* edit = qobject_cast<QLineEdit*>(&widget))
    connect(edit, &QLineEdit::textChanged, this, &AlertFormDialog::updateNotes);
  if (auto* popUp = qobject_cast<QComboBox*>(&widget))
    connect(popUp, &QComboBox::currentIndexChanged, this, &AlertFormDialog::updateNotes);
}

void AlertFormDialog::updateNotes() {
  std::optional<AlertResponse> form;
  for (std::size_t i = 0; i < noteLabels_.size(); ++i) {
    if (noteLabels_[i] == nullptr) continue;
    if (!form) form = response();
    const QString note = QString::fromStdString(alert_.fields[i].note(*form));
    noteLabels_[i]->setText(note);
    fieldWidgets_[i]->setAccessibleDescription(note);
  }
}

void AlertFormDialog::focusField() {
  if (fieldWidgets_.empty()) return;
  QWidget* field = fieldWidgets_.front();
  const auto isTextField = [](QWidget* widget) { return qobject_cast<QLineEdit*>(widget); };
  const auto firstText = std::ranges::find_if(fieldWidgets_, isTextField);
  if (firstText != fieldWidgets_.end()) field = *firstText;
  const std::size_t named = alert_.focusedField.value_or(fieldWidgets_.size());
  if (named < fieldWidgets_.size()) field = fieldWidgets_[named];
  field->setFocus();
}

QWidget* AlertFormDialog::makeField(const FormField& field) {
  QWidget* widget = nullptr;
  if (field.choices.empty()) {
    widget = makeTextField(field);
  } else {
    widget = makePopUp(field);
  }
  const std::string& name = field.label.empty() ? field.placeholder : field.label;
  widget->setAccessibleName(QString::fromStdString(name.empty() ? alert_.messageText : name));
  return widget;
}

QDialogButtonBox* AlertFormDialog::makeButtons() {
  auto* box = new QDialogButtonBox;
  for (std::size_t i = 0; i < alert_.buttons.size(); ++i) {
    const QString title = AlertButtons::title(alert_.buttons[i]);
    QPushButton* button = box->addButton(title, AlertButtons::role(alert_, i));
    button->setDefault(i == alert_.defaultButton);
    connect(button, &QPushButton::clicked, this, [this, i] { finish(i); });
  }
  return box;
}

void AlertFormDialog::finish(std::size_t button) {
  pressedButton_ = button;
  done(QDialog::Accepted);
}

void AlertFormDialog::reject() {
  if (const auto cancel = AlertButtons::cancelButton(alert_)) finish(*cancel);
}

AlertResponse AlertFormDialog::response() const {
  AlertResponse response;
  response.button = pressedButton_.value_or(AlertButtons::buttonOfLostDialog(alert_));
  for (QWidget* widget : fieldWidgets_) {
    std::size_t choice = 0;
    QString text;
    if (const auto* popUp = qobject_cast<QComboBox*>(widget)) {
      choice = static_cast<std::size_t>(std::max(0, popUp->currentIndex()));
      text = popUp->currentText();
    } else if (const auto* edit = qobject_cast<QLineEdit*>(widget)) {
      text = edit->text();
    }
    response.texts.push_back(text.toStdString());
    response.selectedChoices.push_back(choice);
  }
  return response;
}

}  // namespace quillmor
