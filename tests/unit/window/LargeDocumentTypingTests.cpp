// Keys typed in the middle of a large document: everything that a window does about one leaves the
// bytes in two pieces, because bringing them together takes as long as moving half of them.

#include "base/HexText.h"
#include "editor/HexRowsText.h"
#include "support/WindowFixture.h"

namespace quillmor::test {
namespace {

constexpr std::int64_t kSize = 4 * ByteBuffer::kMinGapDistance;

class LargeDocumentTyping : public WindowFixture {
 protected:
  LargeDocumentTyping() {
    std::string content(static_cast<std::size_t>(kSize), '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i % 251);
    model = content;
    edited = makeEditor(content);
    edited.editor().setInsertMode(true);
    edited.editor().setCaretOffset(kSize / 2);
  }

  const ByteBuffer& bytes() const { return edited.document->storage()->bytes; }

  void press(KeyPress::Key key, bool shift = false) const {
    KeyPress pressed;
    pressed.key = key;
    pressed.shift = shift;
    edited.editor().keyDown(pressed);
  }

  void replaceInModel(std::int64_t offset, std::int64_t removed, std::string_view inserted) {
    model.replace(static_cast<std::size_t>(offset), static_cast<std::size_t>(removed), inserted);
  }

  bool agrees() const {
    return std::ssize(model) == bytes().size() &&
           bytes().hasAt(0, {reinterpret_cast<const std::uint8_t*>(model.data()), model.size()});
  }

  std::string model;
  EditorUnderTest edited;
};

TEST_F(LargeDocumentTyping, leavesTheBytesInTwoPieces) {
  const std::int64_t caret = kSize / 2;
  typeHex(edited, "4A4B4C");
  EXPECT_FALSE(bytes().isContiguous());
  replaceInModel(caret, 0, "JKL");
  for (int i = 0; i < 5; ++i) press(KeyPress::Key::deleteBackward);
  replaceInModel(caret - 2, 5, "");
  press(KeyPress::Key::deleteForward);
  replaceInModel(caret - 2, 1, "");
  press(KeyPress::Key::left);
  press(KeyPress::Key::down, true);
  press(KeyPress::Key::deleteBackward);
  replaceInModel(caret - 3, 17, "");
  EXPECT_FALSE(bytes().isContiguous());
  EXPECT_TRUE(agrees());
}

TEST_F(LargeDocumentTyping, leavesThemWhenItIsUndoneAndDoneAgain) {
  const std::int64_t caret = kSize / 2;
  typeHex(edited, "4A4B");
  edited->perform("forwardUndo:");
  edited->perform("forwardUndo:");
  EXPECT_TRUE(agrees());
  edited->perform("forwardRedo:");
  EXPECT_FALSE(bytes().isContiguous());
  replaceInModel(caret, 0, "J");
  EXPECT_TRUE(agrees());
}

TEST_F(LargeDocumentTyping, leavesThemWhenItOverwrites) {
  typeHex(edited, "4A");
  edited.editor().setInsertMode(false);
  press(KeyPress::Key::left);
  press(KeyPress::Key::left);
  typeHex(edited, "414243");
  replaceInModel(kSize / 2 - 1, 2, "ABC");
  EXPECT_FALSE(bytes().isContiguous());
  EXPECT_TRUE(agrees());
}

TEST_F(LargeDocumentTyping, leavesThemWhenTheSameBytesArePasted) {
  typeHex(edited, "4A");
  edited.editor().setInsertMode(false);
  edited.editor().setCaretOffset(kSize / 2 - 1);
  const ByteBuffer same = bytes().slice(kSize / 2 - 1, 3);
  edited.editor().paste(same.span());
  EXPECT_EQ(edited.editor().caretOffset(), kSize / 2 + 2);
  edited.editor().paste(ByteBuffer{1, 2, 3}.span());
  EXPECT_FALSE(bytes().isContiguous());
}

TEST_F(LargeDocumentTyping, showsTheBytesAroundTheCaret) {
  typeHex(edited, "4A");
  press(KeyPress::Key::left);
  const auto after = static_cast<std::uint8_t>(kSize / 2 % 251);
  EXPECT_NE(edited.window->inspectorText.find("UInt8: 74  |"), std::string::npos);
  EXPECT_NE(edited.window->inspectorText.find("U16BE: 0x4A" + uppercaseHex(after, 2)),
            std::string::npos);
  const std::int64_t row = kSize / 2 / 16;
  const HexRowsText rows(*edited.document->storage(), edited.editor().shape(), {row, row});
  EXPECT_NE(rows.text().find("  4A " + uppercaseHex(after, 2) + " "), std::string::npos);
  EXPECT_FALSE(bytes().isContiguous());
}

}  // namespace
}  // namespace quillmor::test
