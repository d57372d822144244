#include "platform_qt/QtAlertPresenter.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <algorithm>
#include <memory>

#include "platform_qt/AlertButtons.h"
#include "platform_qt/AlertFormDialog.h"

namespace quillmor {

namespace {

constexpr int kMinimumTextWidth = 300;
// The toolkit's own name for it.
constexpr const char* kMessageLabelName = "qt_msgbox_label";

QMessageBox::Icon iconFor(AlertStyle style) {
  switch (style) {
    case AlertStyle::warning:
      return QMessageBox::Warning;
    case AlertStyle::critical:
      return QMessageBox::Critical;
    case AlertStyle::informational:
      break;
  }
  return QMessageBox::Information;
}

/// The buttons made, in the alert's order.
std::vector<QAbstractButton*> addButtons(QMessageBox& box, const Alert& alert) {
  const auto cancel = AlertButtons::cancelButton(alert);
  std::vector<QAbstractButton*> buttons;
  for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
    const auto role = static_cast<QMessageBox::ButtonRole>(AlertButtons::role(alert, i));
    QPushButton* button = box.addButton(AlertButtons::title(alert.buttons[i]), role);
    if (i == alert.defaultButton) box.setDefaultButton(button);
    if (i == cancel) box.setEscapeButton(button);
    buttons.push_back(button);
  }
  return buttons;
}

/// Sets the message off from the text below it, and keeps short texts from wrapping word by word.
void layOutMessage(QMessageBox& box) {
  auto* message = box.findChild<QLabel*>(kMessageLabelName);
  if (message == nullptr) return;
  QFont font = message->font();
  font.setBold(true);
  message->setFont(font);
  // Only where the text leaves room: a smaller minimum than its own would have it cut.
  if (message->sizeHint().width() < kMinimumTextWidth) message->setMinimumWidth(kMinimumTextWidth);
}

QPointer<QMessageBox> makeBox(const Alert& alert) {
  QPointer<QMessageBox> box = new QMessageBox(QApplication::activeWindow());
  box->setIcon(iconFor(alert.style));
  box->setWindowTitle(QApplication::applicationDisplayName());
  box->setText(QString::fromStdString(alert.messageText));
  box->setInformativeText(QString::fromStdString(alert.informativeText));
  // The box itself offers this for the message only, and file names may look like markup.
  for (QLabel* label : box->findChildren<QLabel*>()) label->setTextFormat(Qt::PlainText);
  layOutMessage(*box);
  return box;
}

/// The form's contents when nobody could answer it.
AlertResponse unansweredResponse(const Alert& alert) {
  AlertResponse response;
  response.button = AlertButtons::buttonOfLostDialog(alert);
  for (const FormField& field : alert.fields) {
    const bool isPopUp = field.selectedChoice < field.choices.size();
    response.texts.push_back(isPopUp ? field.choices[field.selectedChoice] : field.text);
    response.selectedChoices.push_back(isPopUp ? field.selectedChoice : 0);
  }
  return response;
}

AlertResponse runBox(const Alert& alert) {
  const QPointer<QMessageBox> box = makeBox(alert);
  const auto buttons = addButtons(*box, alert);
  box->exec();
  const std::unique_ptr<QMessageBox> owned(box);
  if (!owned) return unansweredResponse(alert);
  const auto pressed = std::find(buttons.begin(), buttons.end(), owned->clickedButton());
  if (pressed == buttons.end()) return unansweredResponse(alert);
  return {static_cast<std::size_t>(pressed - buttons.begin()), {}, {}};
}

AlertResponse runForm(const Alert& alert) {
  const QPointer<AlertFormDialog> dialog = new AlertFormDialog(alert, QApplication::activeWindow());
  dialog->exec();
  const std::unique_ptr<AlertFormDialog> owned(dialog);
  return owned ? owned->response() : unansweredResponse(alert);
}

}  // namespace

AlertResponse QtAlertPresenter::runModal(const Alert& alert) {
  const Alert shown = AlertButtons::normalized(alert);
  return shown.fields.empty() ? runBox(shown) : runForm(shown);
}

}  // namespace quillmor
