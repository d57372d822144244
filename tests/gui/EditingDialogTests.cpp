// The forms of the editing commands as the user fills them in: real dialogs, real keys.

#include "gui/EditingDialogFixture.h"

namespace quillmor::test {
namespace {

using testing_support::onNextModal;

using EditingDialogs = EditingDialogFixture;

TEST_F(EditingDialogs, insertTypedBytesAsOftenAsTyped) {
  EditorWindow& window = open("abc");
  answerNext([](QDialog& form) {
    EXPECT_EQ(popUp(form, "Mode:").currentText(), "Auto");
    EXPECT_EQ(field(form, "Repeat count:").text(), "1");
    fill(form, "Bytes:", "2E 2D");
    fill(form, "Repeat count:", "2");
  });
  QTest::mouseClick(button(window, "Insert"), Qt::LeftButton);
  EXPECT_EQ(text(window), ".-.-abc");
}

TEST_F(EditingDialogs, fillTheSelectionFromTheToolbar) {
  EditorWindow& window = open("abcdef");
  window.controller().editor().setSelection({1, 4});
  answerNext([](QDialog& form) {
    popUp(form, "Mode:").setCurrentText("Text");
    fill(form, "Bytes:", "00");
  });
  QTest::mouseClick(button(window, "Fill"), Qt::LeftButton);
  EXPECT_EQ(text(window), "a0000f");
}

TEST_F(EditingDialogs, combineTheSelectionWithATypedPattern) {
  EditorWindow& window = open("abcd");
  window.controller().editor().setSelection({0, 4});
  answerNext([](QDialog& form) {
    EXPECT_EQ(popUp(form, "Mode:").currentText(), "Hex");
    fill(form, "Bytes:", "20");
  });
  delegate.perform("forwardXorSelection:");
  EXPECT_EQ(text(window), "ABCD");
}

TEST_F(EditingDialogs, beginWithTheFocusInTheTextField) {
  open("abcd").controller().editor().setSelection({0, 4});
  answerNext([](QDialog& form) {
    ASSERT_TRUE(form.focusWidget());
    EXPECT_EQ(form.focusWidget()->accessibleName(), "Bytes:");
    QTest::keyClicks(form.focusWidget(), "0x2E");
  });
  delegate.perform("forwardFillSelection:");
  answerNext([](QDialog& form) {
    // The text that is offered is selected, so typing replaces it.
    QTest::keyClicks(form.focusWidget(), "01111010");
  });
  delegate.perform("forwardBitEditor:");
  EXPECT_EQ(text(*windows.editorWindows().back()), "z...");
}

TEST_F(EditingDialogs, showHowThePatternWillBeReadWhileItIsTyped) {
  open("abcd").controller().editor().setSelection({0, 4});
  onNextModal<QDialog>([](QDialog& form) {
    const auto expectNote = [&form](const QString& note) {
      EXPECT_EQ(field(form, "Bytes:").accessibleDescription(), note);
      EXPECT_TRUE(note.isEmpty() || isShown(form, note)) << note.toStdString();
    };
    expectNote("");
    fill(form, "Bytes:", "F");
    expectNote("text, 1 byte: 46");
    QTest::keyClicks(&field(form, "Bytes:"), "F");
    expectNote("text, 2 bytes: 46 46");
    popUp(form, "Mode:").setCurrentText("Hex");
    expectNote("1 byte: FF");
    QTest::keyClicks(&field(form, "Bytes:"), " 0G");
    expectNote("not hexadecimal bytes");
    popUp(form, "Mode:").setCurrentText("Text");
    expectNote("text, 5 bytes: 46 46 20 30 47");
    field(form, "Bytes:").setText(QString("0").repeated(32));
    popUp(form, "Mode:").setCurrentText("Hex");
    expectNote("16 bytes: 00 00 00 00 00 00 00 00 …");
    QTest::keyClick(&form, Qt::Key_Escape);
  });
  delegate.perform("forwardFillSelection:");
}

TEST_F(EditingDialogs, showHowAnOffsetWillBeRead) {
  open("abcd");
  onNextModal<QDialog>([](QDialog& form) {
    QTest::keyClicks(form.focusWidget(), "1000h");
    EXPECT_TRUE(isShown(form, "0x00001000 (4096)"));
    QTest::keyClicks(form.focusWidget(), "x");
    EXPECT_TRUE(isShown(form, "not an offset"));
    QTest::keyClick(&form, Qt::Key_Escape);
  });
  delegate.perform("forwardGoToOffset:");
}

TEST_F(EditingDialogs, letARefusedAnswerBeMended) {
  EditorWindow& window = open(std::string(64, 'x'));
  onNextModal<QDialog>([](QDialog& form) {
    QTest::keyClicks(form.focusWidget(), "2G");
    onNextModal<QMessageBox>([](QMessageBox& box) {
      onNextModal<QDialog>([](QDialog& again) {
        EXPECT_EQ(field(again, "Offset:").text(), "2G");
        QTest::keyClick(again.focusWidget(), Qt::Key_End);
        QTest::keyClick(again.focusWidget(), Qt::Key_Backspace);
        QTest::keyClicks(again.focusWidget(), "A");
        QTest::keyClick(&again, Qt::Key_Return);
      });
      QTest::keyClick(&box, Qt::Key_Return);
    });
    QTest::keyClick(&form, Qt::Key_Return);
  });
  delegate.perform("forwardGoToOffset:");
  EXPECT_EQ(window.controller().editor().caretOffset(), 0x2A);
}

TEST_F(EditingDialogs, sayInWordsThatAPatternIsNone) {
  EditorWindow& window = open("abcd");
  window.controller().editor().setSelection({0, 4});
  onNextModal<QDialog>([](QDialog& form) {
    popUp(form, "Mode:").setCurrentText("Hex");
    fill(form, "Bytes:", "xyz");
    expectNextMessage("Enter a valid byte pattern.", [] {
      onNextModal<QDialog>([](QDialog& again) { QTest::keyClick(&again, Qt::Key_Escape); });
    });
    QTest::keyClick(&form, Qt::Key_Return);
  });
  delegate.perform("forwardAndSelection:");
  EXPECT_EQ(text(window), "abcd");
}

TEST_F(EditingDialogs, writeTheCurrentValueInTheChosenType) {
  EditorWindow& window = open("abcdef");
  answerNext([](QDialog& form) {
    QComboBox& type = popUp(form, "Type:");
    EXPECT_EQ(type.count(), 6);
    type.setCurrentText("UInt32 BE");
    EXPECT_EQ(field(form, "Value:").placeholderText(), "Value");
    fill(form, "Value:", "0x11223344");
  });
  delegate.perform("forwardEditCurrentValue:");
  EXPECT_EQ(text(window),
            "\x11\x22\x33\x44"
            "ef");
}

TEST_F(EditingDialogs, editTheBitsOfTheCurrentByte) {
  EditorWindow& window = open("abc");
  answerNext([](QDialog& form) {
    EXPECT_EQ(field(form, "Bits:").text(), "01100001");
    fill(form, "Bits:", "01111010");
  });
  delegate.perform("forwardBitEditor:");
  EXPECT_EQ(text(window), "zbc");
}

TEST_F(EditingDialogs, cropOnlyAfterAYes) {
  EditorWindow& window = open("0123456789");
  window.controller().editor().setSelection({2, 4});
  onNextModal<QMessageBox>([](QMessageBox& box) {
    EXPECT_EQ(box.informativeText(),
              "Keep only the selected 4 byte(s) and remove everything else?");
    QTest::keyClick(&box, Qt::Key_Escape);
  });
  delegate.perform("forwardCropToSelection:");
  platform.executor.runAll();
  EXPECT_EQ(text(window), "0123456789");
  onNextModal<QMessageBox>([](QMessageBox& box) {
    for (QAbstractButton* choice : box.buttons()) {
      if (choice->text().remove('&') == "Crop") return QTest::mouseClick(choice, Qt::LeftButton);
    }
    ADD_FAILURE() << "no button Crop";
  });
  delegate.perform("forwardCropToSelection:");
  platform.executor.runAll();
  EXPECT_EQ(text(window), "2345");
}

TEST_F(EditingDialogs, reportTheValuesAtTheCaret) {
  open("abcdef");
  delegate.perform("forwardShowDataInspectorDetail:");
  auto* report = topLevel<ReportWindow>();
  ASSERT_NE(report, nullptr);
  EXPECT_EQ(report->windowTitle(), "Data Inspector");
}

}  // namespace
}  // namespace quillmor::test
