#include "platform_qt/QtAlertPresenter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>

#include "gui/ModalScript.h"
#include "platform_qt/AlertFormDialog.h"

namespace quillmor {
namespace {

using testing::ElementsAre;
using testing_support::onNextModal;

QPushButton* buttonTitled(const QDialog& dialog, const QString& title) {
  for (QPushButton* button : dialog.findChildren<QPushButton*>()) {
    if (button->text() == title) return button;
  }
  ADD_FAILURE() << "no button " << title.toStdString();
  return nullptr;
}

QString defaultTitle(const QDialog& dialog) {
  for (const QPushButton* button : dialog.findChildren<QPushButton*>()) {
    if (button->isDefault()) return button->text();
  }
  return {};
}

QStringList labelTexts(const QDialog& dialog) {
  QStringList texts;
  for (const QLabel* label : dialog.findChildren<QLabel*>()) texts << label->text();
  return texts;
}

template <typename Dialog>
AlertResponse answer(const Alert& alert, std::function<void(Dialog&)> script) {
  onNextModal<Dialog>(std::move(script));
  return QtAlertPresenter().runModal(alert);
}

const Alert kThreeButtons = {.messageText = "Save?",
                             .informativeText = "Changes are lost otherwise.",
                             .style = AlertStyle::warning,
                             .buttons = {"Save", "Don't Save", "Cancel"}};

Alert formAlert() {
  Alert alert{.messageText = "Fill Selection",
              .informativeText = "Bytes & mode.",
              .buttons = {"Fill", "Cancel"}};
  alert.fields = {{.label = "Bytes", .placeholder = "AA BB", .text = "00"},
                  {.label = "Mode", .choices = {"Auto", "Hex", "Text"}, .selectedChoice = 1}};
  return alert;
}

TEST(QtAlertPresenter, showsAnAlertWithOneButton) {
  const Alert alert{.messageText = "Data Inspector", .informativeText = "Caret is at EOF."};
  const auto response = answer<QMessageBox>(alert, [](QMessageBox& box) {
    EXPECT_EQ(box.text(), "Data Inspector");
    EXPECT_EQ(box.informativeText(), "Caret is at EOF.");
    EXPECT_EQ(box.icon(), QMessageBox::Information);
    EXPECT_EQ(box.buttons().size(), 1);
    EXPECT_EQ(defaultTitle(box), "OK");
    QTest::keyClick(&box, Qt::Key_Return);
  });
  EXPECT_EQ(response.button, 0U);
  EXPECT_TRUE(response.texts.empty());
}

TEST(QtAlertPresenter, closesAnAlertWithOneButtonOnEscape) {
  const auto response = answer<QMessageBox>(
      {.messageText = "Done"}, [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); });
  EXPECT_EQ(response.button, 0U);
}

TEST(QtAlertPresenter, showsTheStyleOfTheAlert) {
  for (const auto& [style, icon] : {std::pair(AlertStyle::warning, QMessageBox::Warning),
                                    std::pair(AlertStyle::critical, QMessageBox::Critical)}) {
    answer<QMessageBox>({.messageText = "x", .style = style}, [icon = icon](QMessageBox& box) {
      EXPECT_EQ(box.icon(), icon);
      QTest::keyClick(&box, Qt::Key_Return);
    });
  }
}

TEST(QtAlertPresenter, cutsNoTextHoweverLong) {
  const std::string sentence = "Do you want to save the changes you made to \"data.bin\"? ";
  for (const std::string& text : {std::string("Done"), sentence, sentence + sentence + sentence}) {
    answer<QMessageBox>({.messageText = text, .informativeText = text}, [](QMessageBox& box) {
      for (const QLabel* label : box.findChildren<QLabel*>()) {
        if (label->text().isEmpty()) continue;
        const int wrapping = label->wordWrap() ? int(Qt::TextWordWrap) : 0;
        const QRect needed =
            label->fontMetrics().boundingRect(label->contentsRect(), wrapping, label->text());
        EXPECT_LE(needed.width(), label->width()) << label->text().toStdString();
        EXPECT_LE(needed.height(), label->height()) << label->text().toStdString();
      }
      QTest::keyClick(&box, Qt::Key_Return);
    });
  }
}

TEST(QtAlertPresenter, reportsWhichOfThreeButtonsWasPressed) {
  for (std::size_t i = 0; i < kThreeButtons.buttons.size(); ++i) {
    const auto response = answer<QMessageBox>(kThreeButtons, [i](QMessageBox& box) {
      EXPECT_EQ(box.buttons().size(), 3);
      QPushButton* button = buttonTitled(box, QString::fromStdString(kThreeButtons.buttons[i]));
      if (button) QTest::mouseClick(button, Qt::LeftButton);
    });
    EXPECT_EQ(response.button, i);
  }
}

TEST(QtAlertPresenter, pressesTheDefaultButtonOnReturnAndCancelOnEscape) {
  const auto accepted = answer<QMessageBox>(kThreeButtons, [](QMessageBox& box) {
    EXPECT_EQ(defaultTitle(box), "Save");
    QTest::keyClick(&box, Qt::Key_Return);
  });
  EXPECT_EQ(accepted.button, 0U);
  const auto cancelled = answer<QMessageBox>(
      kThreeButtons, [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); });
  EXPECT_EQ(cancelled.button, 2U);
}

TEST(QtAlertPresenter, letsTheCancelButtonBeTheDefault) {
  const Alert alert{.messageText = "The file has been changed by another program.",
                    .style = AlertStyle::warning,
                    .buttons = {"Cancel", "Overwrite"}};
  const auto response = answer<QMessageBox>(alert, [](QMessageBox& box) {
    EXPECT_EQ(defaultTitle(box), "Cancel");
    QPushButton* overwrite = buttonTitled(box, "Overwrite");
    EXPECT_EQ(box.buttonRole(overwrite), QMessageBox::DestructiveRole);
    QTest::keyClick(&box, Qt::Key_Return);
  });
  EXPECT_EQ(response.button, 0U);
}

TEST(QtAlertPresenter, givesTheButtonsTheirRoles) {
  answer<QMessageBox>(kThreeButtons, [](QMessageBox& box) {
    EXPECT_EQ(box.buttonRole(buttonTitled(box, "Save")), QMessageBox::AcceptRole);
    EXPECT_EQ(box.buttonRole(buttonTitled(box, "Don't Save")), QMessageBox::DestructiveRole);
    EXPECT_EQ(box.buttonRole(buttonTitled(box, "Cancel")), QMessageBox::RejectRole);
    QTest::keyClick(&box, Qt::Key_Escape);
  });
}

TEST(QtAlertPresenter, ignoresEscapeWithoutAButtonForIt) {
  const auto response = answer<QMessageBox>({.messageText = "Choose", .buttons = {"Left", "Right"}},
                                            [](QMessageBox& box) {
                                              QTest::keyClick(&box, Qt::Key_Escape);
                                              EXPECT_TRUE(box.isVisible());
                                              if (auto* right = buttonTitled(box, "Right"))
                                                QTest::mouseClick(right, Qt::LeftButton);
                                            });
  EXPECT_EQ(response.button, 1U);
}

TEST(QtAlertPresenter, takesTheNamedButtonForEscape) {
  const auto response =
      answer<QMessageBox>({.messageText = "Stop?", .buttons = {"Stop", "Go On"}, .cancelButton = 1},
                          [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); });
  EXPECT_EQ(response.button, 1U);
}

TEST(QtAlertPresenter, showsTextsThatLookLikeMarkupOrShortcuts) {
  const Alert alert{.messageText = "<b>a</b> & b",
                    .informativeText = "<img src=x> \"x\"",
                    .buttons = {"Save & Close"}};
  answer<QMessageBox>(alert, [](QMessageBox& box) {
    for (const QLabel* label : box.findChildren<QLabel*>()) {
      EXPECT_EQ(label->textFormat(), Qt::PlainText) << label->text().toStdString();
    }
    EXPECT_EQ(box.text(), "<b>a</b> & b");
    EXPECT_NE(buttonTitled(box, "Save && Close"), nullptr);
    QTest::keyClick(&box, Qt::Key_Return);
  });
}

TEST(QtAlertPresenter, repairsAnAlertWithoutButtons) {
  const auto response = answer<QMessageBox>({.messageText = "x", .buttons = {}, .defaultButton = 7},
                                            [](QMessageBox& box) {
                                              EXPECT_EQ(defaultTitle(box), "OK");
                                              QTest::keyClick(&box, Qt::Key_Return);
                                            });
  EXPECT_EQ(response.button, 0U);
}

TEST(QtAlertPresenter, survivesTheLossOfItsWindow) {
  auto* window = new QWidget;
  window->show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  const auto response = answer<QMessageBox>(kThreeButtons, [window](QMessageBox& box) {
    EXPECT_EQ(box.parentWidget(), window);
    delete window;
  });
  EXPECT_EQ(response.button, 2U);
}

TEST(QtAlertPresenter, showsAFormBetweenTextsAndButtons) {
  answer<AlertFormDialog>(formAlert(), [](AlertFormDialog& dialog) {
    EXPECT_THAT(labelTexts(dialog),
                ElementsAre("Fill Selection", "Bytes & mode.", "Bytes", "Mode"));
    const auto* edit = dialog.findChild<QLineEdit*>();
    const auto* popUp = dialog.findChild<QComboBox*>();
    ASSERT_TRUE(edit && popUp);
    EXPECT_EQ(edit->text(), "00");
    EXPECT_EQ(edit->placeholderText(), "AA BB");
    EXPECT_EQ(edit->accessibleName(), "Bytes");
    EXPECT_GE(edit->maxLength(), 4'194'305);
    EXPECT_EQ(popUp->count(), 3);
    EXPECT_EQ(popUp->currentText(), "Hex");
    EXPECT_EQ(popUp->accessibleName(), "Mode");
    EXPECT_EQ(dialog.focusWidget(), edit);
    EXPECT_EQ(defaultTitle(dialog), "Fill");
    EXPECT_GE(dialog.width(), 420);
    dialog.reject();
  });
}

TEST(QtAlertPresenter, returnsWhatWasTypedAndChosen) {
  const auto response = answer<AlertFormDialog>(formAlert(), [](AlertFormDialog& dialog) {
    auto* edit = dialog.findChild<QLineEdit*>();
    auto* popUp = dialog.findChild<QComboBox*>();
    ASSERT_TRUE(edit && popUp);
    // The text given is selected, so typing replaces it.
    QTest::keyClicks(edit, "DE AD");
    QTest::keyClick(popUp, Qt::Key_Down);
    QTest::keyClick(edit, Qt::Key_Return);
  });
  EXPECT_EQ(response.button, 0U);
  EXPECT_THAT(response.texts, ElementsAre("DE AD", "Text"));
  EXPECT_THAT(response.selectedChoices, ElementsAre(0U, 2U));
}

TEST(QtAlertPresenter, cancelsAFormOnEscapeAndOnClosing) {
  for (const bool closes : {false, true}) {
    const auto response = answer<AlertFormDialog>(formAlert(), [closes](AlertFormDialog& dialog) {
      if (closes) {
        dialog.close();
      } else {
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Escape);
      }
    });
    EXPECT_EQ(response.button, 1U);
    EXPECT_THAT(response.texts, ElementsAre("00", "Hex"));
  }
}

TEST(QtAlertPresenter, ignoresEscapeInAFormWithoutAButtonForIt) {
  Alert alert = formAlert();
  alert.buttons = {"Left", "Right"};
  const auto response = answer<AlertFormDialog>(alert, [](AlertFormDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_TRUE(dialog.isVisible());
    dialog.close();
    EXPECT_TRUE(dialog.isVisible());
    if (auto* right = buttonTitled(dialog, "Right")) QTest::mouseClick(right, Qt::LeftButton);
  });
  EXPECT_EQ(response.button, 1U);
}

TEST(QtAlertPresenter, givesTheFormAsItWasWhenItsWindowIsLost) {
  auto* window = new QWidget;
  window->show();
  ASSERT_TRUE(QTest::qWaitForWindowActive(window));
  const auto response = answer<AlertFormDialog>(formAlert(), [window](AlertFormDialog& dialog) {
    dialog.findChild<QLineEdit*>()->setText("gone");
    delete window;
  });
  EXPECT_EQ(response.button, 1U);
  EXPECT_THAT(response.texts, ElementsAre("00", "Hex"));
  EXPECT_THAT(response.selectedChoices, ElementsAre(0U, 1U));
}

}  // namespace
}  // namespace quillmor
