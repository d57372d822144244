#include "platform_qt/AlertFormDialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>
#include <limits>

#include "platform_qt/AlertButtons.h"

namespace quillmor {

namespace {

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
  // The toolkit would cut at 32,767 characters without a word; the commands have limits of their
  // own and say so.
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
  if (!fieldWidgets_.empty()) fieldWidgets_.front()->setFocus();
}

QWidget* AlertFormDialog::makeForm() {
  auto* form = new QWidget;
  form->setMinimumWidth(alert_.formWidth);
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
  }
  return form;
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
