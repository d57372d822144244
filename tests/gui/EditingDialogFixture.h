#pragma once

#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <functional>

#include "gui/ModalScript.h"
#include "gui/RealApplication.h"
#include "platform_qt/QtAlertPresenter.h"

namespace quillmor::test {

/// The real application with the real dialogs, which scripts fill in with keys.
class EditingDialogFixture : public RealApplication {
 protected:
  EditingDialogFixture() : RealApplication(&realAlerts()) {}

  static QtAlertPresenter& realAlerts() {
    static QtAlertPresenter presenter;
    return presenter;
  }

  static QLineEdit& field(QDialog& form, const QString& name) {
    for (auto* edit : form.findChildren<QLineEdit*>()) {
      if (edit->accessibleName() == name) return *edit;
    }
    throw std::logic_error("no field " + name.toStdString());
  }

  static QComboBox& popUp(QDialog& form, const QString& name) {
    for (auto* box : form.findChildren<QComboBox*>()) {
      if (box->accessibleName() == name) return *box;
    }
    throw std::logic_error("no pop-up " + name.toStdString());
  }

  static void fill(QDialog& form, const QString& name, const QString& text) {
    field(form, name).setFocus();
    field(form, name).selectAll();
    QTest::keyClicks(&field(form, name), text);
  }

  /// Fills in the next form and presses Return.
  static void answerNext(const std::function<void(QDialog&)>& answer) {
    testing_support::onNextModal<QDialog>([answer](QDialog& form) {
      answer(form);
      QTest::keyClick(&form, Qt::Key_Return);
    });
  }

  /// Whether a label of the form shows `text`.
  static bool isShown(const QDialog& form, const QString& text) {
    for (const auto* label : form.findChildren<QLabel*>()) {
      if (label->isVisible() && label->text() == text) return true;
    }
    return false;
  }

  /// Takes the next message, which says `text`, with Return.
  static void expectNextMessage(
      const QString& text, const std::function<void()>& beforeClosing = [] {}) {
    testing_support::onNextModal<QMessageBox>([text, beforeClosing](QMessageBox& box) {
      EXPECT_EQ(box.informativeText(), text);
      beforeClosing();
      QTest::keyClick(&box, Qt::Key_Return);
    });
  }
};

}  // namespace quillmor::test
