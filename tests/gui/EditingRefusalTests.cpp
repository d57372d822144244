// What the editing commands refuse, as the user reads it: real dialogs, real keys.

#include <QPushButton>
#include <utility>

#include "gui/EditingDialogFixture.h"
#include "search/typed/TypedInput.h"
#include "window/commands/WindowLimits.h"

namespace quillmor::test {
namespace {

class EditingRefusals : public EditingDialogFixture {
 protected:
  /// Takes the next message, of a command called `title`, by its one button.
  void expectMessage(
      const QString& title, const QString& text,
      const std::function<void()>& beforeClosing = [] {}) {
    ++messagesExpected_;
    testing_support::onNextModal<QMessageBox>([this, title, text, beforeClosing](QMessageBox& box) {
      ++messagesSeen_;
      EXPECT_EQ(box.text(), title);
      EXPECT_EQ(box.informativeText(), text);
      ASSERT_EQ(box.buttons().size(), 1);
      QAbstractButton* const button = box.buttons().front();
      EXPECT_EQ(button->text().remove('&'), "OK");
      beforeClosing();
      QTest::mouseClick(button, Qt::LeftButton);
    });
  }

  /// Fills in the next form, after which the command says `text` and shows the form again as it was
  /// filled in, with the focus in the refused field; cancels it.
  void answerNextAndExpectMessage(const QString& title, const QString& text,
                                  const std::function<void(QDialog&)>& answer) {
    testing_support::onNextModal<QDialog>([this, title, text, answer](QDialog& form) {
      answer(form);
      const QStringList typed = contents(form);
      const QString refusedField = form.focusWidget()->accessibleName();
      const auto expectFormAgain = [typed, refusedField] {
        testing_support::onNextModal<QDialog>([typed, refusedField](QDialog& again) {
          EXPECT_EQ(contents(again), typed);
          EXPECT_EQ(again.focusWidget()->accessibleName(), refusedField);
          EXPECT_EQ(field(again, refusedField).selectedText(), field(again, refusedField).text());
          QTest::keyClick(&again, Qt::Key_Escape);
        });
      };
      expectMessage(title, text, expectFormAgain);
      QTest::keyClick(&form, Qt::Key_Return);
    });
  }

  /// What the fields and pop-ups of the form hold.
  static QStringList contents(const QDialog& form) {
    QStringList texts;
    for (const auto* edit : form.findChildren<QLineEdit*>()) texts << edit->text();
    for (const auto* box : form.findChildren<QComboBox*>()) texts << box->currentText();
    return texts;
  }

  /// Performs `action` and all it starts, and expects that every message came and nothing changed.
  void performAndExpectNoChange(EditorWindow& window, const char* action) {
    const ByteBuffer before = bytes(window);
    delegate.perform(action);
    platform.executor.runAll();
    EXPECT_EQ(messagesSeen_, messagesExpected_) << action;
    EXPECT_GT(messagesSeen_, 0) << action;
    EXPECT_TRUE(bytes(window) == before) << action;
    EXPECT_FALSE(window.controller().document().isDocumentEdited()) << action;
  }

  static const ByteBuffer& bytes(EditorWindow& window) {
    return window.controller().document().storage()->bytes;
  }

  static void select(EditorWindow& window, HexSelection selection) {
    window.controller().editor().setSelection(selection);
  }

 private:
  int messagesExpected_ = 0;
  int messagesSeen_ = 0;
};

constexpr std::pair<const char*, const char*> kSelectionCommands[] = {
    {"forwardInvertSelection:", "Invert Selection"},
    {"forwardReverseSelection:", "Reverse Selection"},
    {"forwardSwapSelection16:", "Swap Selection 16-bit Endian"},
    {"forwardSwapSelection32:", "Swap Selection 32-bit Endian"},
    {"forwardXorSelection:", "XOR Selection"},
    {"forwardAndSelection:", "AND Selection"},
    {"forwardOrSelection:", "OR Selection"},
    {"forwardFillSelectionWithZero:", "Fill Selection with 00"},
    {"forwardFillSelectionWithFF:", "Fill Selection with FF"},
    {"forwardCropToSelection:", "Crop to Selection"},
};

TEST_F(EditingRefusals, askForASelectionFirst) {
  EditorWindow& window = open("abcdef");
  for (const auto& [action, title] : kSelectionCommands) {
    expectMessage(title, "Select one or more bytes first.");
    performAndExpectNoChange(window, action);
  }
}

TEST_F(EditingRefusals, comeFirstWhileTheWindowIsBusy) {
  EditorWindow& window = open("abcdef");
  select(window, {0, 4});
  BusyScope busy = window.controller().context().frame().beginBusyStatus("Working…");
  const char* busyText =
      "Another operation is already running. Wait for it to finish before editing.";
  for (const auto& [action, title] : kSelectionCommands) {
    expectMessage(title, busyText);
    performAndExpectNoChange(window, action);
  }
  const std::pair<const char*, const char*> others[] = {
      {"forwardFillSelection:", "Fill Selection"},
      {"forwardInsertBytes:", "Insert Bytes"},
      {"forwardInsertFileAtOffset:", "Insert File at Offset"},
      {"forwardAppendFileToEnd:", "Append File to End"},
      {"forwardEditCurrentValue:", "Edit Current Value"},
      {"forwardBitEditor:", "Bit Editor"},
      {"forwardCopy:", "Copy"},
      {"forwardCut:", "Cut"},
      {"forwardCopyAsHex:", "Copy as Hex"},
  };
  for (const auto& [action, title] : others) {
    expectMessage(title, busyText);
    performAndExpectNoChange(window, action);
  }
  busy.end();
}

TEST_F(EditingRefusals, wantAWholeGroupToSwap) {
  EditorWindow& window = open("abcdef");
  select(window, {0, 3});
  expectMessage("Swap Selection 32-bit Endian", "Selection must contain at least 4 bytes.");
  performAndExpectNoChange(window, "forwardSwapSelection32:");
  select(window, {0, 1});
  expectMessage("Swap Selection 16-bit Endian", "Selection must contain at least 2 bytes.");
  performAndExpectNoChange(window, "forwardSwapSelection16:");
}

TEST_F(EditingRefusals, areNotMadeOfTrailingBytesWhichAreCounted) {
  EditorWindow& window = open("abcdefg");
  select(window, {0, 7});
  expectMessage("Swap Selection 16-bit Endian",
                "Completed. 1 trailing byte(s) were left unchanged because the selection length is "
                "not divisible by 2.");
  delegate.perform("forwardSwapSelection16:");
  EXPECT_EQ(text(window), "badcfeg");
  expectMessage("Swap Selection 32-bit Endian",
                "Completed. 3 trailing byte(s) were left unchanged because the selection length is "
                "not divisible by 4.");
  delegate.perform("forwardSwapSelection32:");
  EXPECT_EQ(text(window), "cdabfeg");
}

TEST_F(EditingRefusals, wantALengthToFill) {
  EditorWindow& window = open("abcdef");
  for (const char* length : {"0", "-1"}) {
    answerNextAndExpectMessage("Fill Selection", "Length must be greater than zero.",
                               [length](QDialog& form) {
                                 fill(form, "Bytes:", "00");
                                 fill(form, "Length:", length);
                               });
    performAndExpectNoChange(window, "forwardFillSelection:");
  }
}

TEST_F(EditingRefusals, nameTheSafetyLimitOfGeneratedBytes) {
  EditorWindow& window = open("abcdef");
  answerNextAndExpectMessage(
      "Insert Bytes",
      "Requested operation would generate 9223372036854775807 byte(s). The safety limit is "
      "268435456 bytes to avoid memory pressure.",
      [](QDialog& form) {
        fill(form, "Bytes:", "00 01");
        fill(form, "Repeat count:", "0x7FFFFFFFFFFFFFFF");
      });
  performAndExpectNoChange(window, "forwardInsertBytes:");
}

TEST_F(EditingRefusals, sayThatNothingWouldBeInserted) {
  EditorWindow& window = open("abcdef");
  answerNextAndExpectMessage("Insert Bytes", "No bytes were generated.", [](QDialog& form) {
    fill(form, "Bytes:", "00");
    fill(form, "Repeat count:", "0");
  });
  performAndExpectNoChange(window, "forwardInsertBytes:");
}

TEST_F(EditingRefusals, haveNoValueAtTheEnd) {
  EditorWindow& window = open("abcdef");
  window.controller().editor().setCaretOffset(6);
  const std::pair<const char*, const char*> commands[] = {
      {"forwardEditCurrentValue:", "Edit Current Value"},
      {"forwardBitEditor:", "Bit Editor"},
      {"forwardShowDataInspectorDetail:", "Data Inspector"},
  };
  for (const auto& [action, title] : commands) {
    expectMessage(title, "Caret is at EOF.");
    performAndExpectNoChange(window, action);
  }
}

TEST_F(EditingRefusals, wantAValueThatFitsBeforeTheEnd) {
  EditorWindow& window = open("abcdef");
  window.controller().editor().setCaretOffset(5);
  answerNextAndExpectMessage("Edit Current Value", "Selected type does not fit before EOF.",
                             [](QDialog& form) {
                               popUp(form, "Type:").setCurrentText("UInt16 LE");
                               fill(form, "Value:", "1");
                             });
  performAndExpectNoChange(window, "forwardEditCurrentValue:");
}

TEST_F(EditingRefusals, wantAValueOfTheChosenType) {
  EditorWindow& window = open("abcdef");
  const std::pair<const char*, const char*> wrong[] = {
      {"UInt8", "0x1FF"}, {"UInt8", "-1"}, {"ASCII Character", "AB"}, {"UInt32 BE", ""}};
  for (const auto& [type, value] : wrong) {
    answerNextAndExpectMessage("Edit Current Value", "Invalid value for selected type.",
                               [type, value](QDialog& form) {
                                 popUp(form, "Type:").setCurrentText(type);
                                 fill(form, "Value:", value);
                               });
    performAndExpectNoChange(window, "forwardEditCurrentValue:");
  }
}

TEST_F(EditingRefusals, wantEightBits) {
  EditorWindow& window = open("abcdef");
  const std::pair<const char*, const char*> wrong[] = {
      {"0110000", "Invalid bit string. Enter exactly 8 bits."},
      {"0110000x", "Invalid bit string. Enter exactly 8 bits."},
      {"011000011", "Input is too large."},
  };
  for (const auto& [bits, message] : wrong) {
    answerNextAndExpectMessage("Bit Editor", message,
                               [bits](QDialog& form) { fill(form, "Bits:", bits); });
    performAndExpectNoChange(window, "forwardBitEditor:");
  }
}

TEST_F(EditingRefusals, copyNoMoreThanThePasteboardHoldsSafely) {
  EditorWindow& window = open("a");
  window.controller().document().readData(ByteBuffer::filled(maxClipboardTextSourceBytes + 1, 'a'));
  select(window, {0, maxClipboardTextSourceBytes + 1});
  for (const auto& [action, title] :
       {std::pair{"forwardCopy:", "Copy"}, std::pair{"forwardCut:", "Cut"}}) {
    expectMessage(title,
                  "The selected range is too large to place on the pasteboard safely. Export the "
                  "selection to a file instead.");
    performAndExpectNoChange(window, action);
  }
  expectMessage("Copy as Hex",
                "The selected range is too large to convert into clipboard text safely. Export "
                "the range to a file instead.");
  performAndExpectNoChange(window, "forwardCopyAsHex:");
  EXPECT_FALSE(platform.pasteboard.heldText.has_value());
}

TEST_F(EditingRefusals, pasteNoTextAboveTheLimit) {
  EditorWindow& window = open("abcdef");
  platform.pasteboard.setText(std::string(maxClipboardTextSourceBytes + 1, 'x'));
  expectMessage("Paste",
                "Clipboard text is too large to paste safely. The text source limit is 16777216 "
                "bytes.");
  performAndExpectNoChange(window, "forwardPaste:");
}

TEST_F(EditingRefusals, ofThePasteboardRemoveNothing) {
  EditorWindow& window = open("abcdef");
  select(window, {1, 3});
  platform.pasteboard.refuses = true;
  for (const char* action : {"forwardCopy:", "forwardCut:"}) {
    expectMessage("Copy", "The pasteboard rejected the selected data. Nothing was removed.");
    performAndExpectNoChange(window, action);
  }
  expectMessage("Copy as Base64", "The pasteboard rejected the converted text.");
  performAndExpectNoChange(window, "forwardCopyAsBase64:");
}

TEST_F(EditingRefusals, pasteNothingWhileTheWindowIsBusy) {
  EditorWindow& window = open("abcdef");
  platform.pasteboard.setText("xyz");
  BusyScope busy = window.controller().context().frame().beginBusyStatus("Working…");
  expectMessage("Paste Failed", "Another operation is already running.");
  performAndExpectNoChange(window, "forwardPaste:");
  busy.end();
}

class FileInsertionRefusals : public EditingRefusals {
 protected:
  void choose(const FileLocation& file) { platform.filePanels.openAnswers.push_back({file}); }
};

TEST_F(FileInsertionRefusals, sayThatAFileIsEmpty) {
  EditorWindow& window = open("abcdef");
  choose(folder.write("empty.bin", ""));
  expectMessage("Insert File at Offset", "The selected file is empty. No bytes were inserted.");
  performAndExpectNoChange(window, "forwardInsertFileAtOffset:");
  choose(folder.location("empty.bin"));
  expectMessage("Append File to End", "The selected file is empty. No bytes were appended.");
  performAndExpectNoChange(window, "forwardAppendFileToEnd:");
}

TEST_F(FileInsertionRefusals, sayThatAFileIsTooLarge) {
  EditorWindow& window = open("abcdef");
  window.controller().editor().setMaximumByteCount(8);
  choose(folder.write("part.bin", "123"));
  expectMessage("Insert File Failed",
                "The selected file is too large to insert safely in one operation.");
  performAndExpectNoChange(window, "forwardInsertFileAtOffset:");
  choose(folder.location("part.bin"));
  expectMessage("Append File Failed",
                "The selected file is too large to append safely in one operation.");
  performAndExpectNoChange(window, "forwardAppendFileToEnd:");
}

TEST_F(FileInsertionRefusals, sayThatTheDocumentIsFullBeforeAnyPanel) {
  EditorWindow& window = open("abcdef");
  window.controller().editor().setMaximumByteCount(6);
  const char* full = "The document has reached Quillmor's safe in-memory document limit.";
  expectMessage("Insert File at Offset", full);
  performAndExpectNoChange(window, "forwardInsertFileAtOffset:");
  expectMessage("Append File to End", full);
  performAndExpectNoChange(window, "forwardAppendFileToEnd:");
}

TEST_F(FileInsertionRefusals, sayWhyAFileCannotBeRead) {
  EditorWindow& window = open("abcdef");
  choose(folder.location("missing.bin"));
  expectMessage("Insert File Failed", "No such file or directory");
  performAndExpectNoChange(window, "forwardInsertFileAtOffset:");
}

}  // namespace
}  // namespace quillmor::test
