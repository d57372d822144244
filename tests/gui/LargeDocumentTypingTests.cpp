// Keys typed in the middle of a large document in a real window: painting, the status lines, menus
// and assistive technology leave the bytes in the two pieces that typing leaves them in.

#include <QAccessible>
#include <QPixmap>

#include "gui/RealApplication.h"

namespace quillmor::test {
namespace {

constexpr std::int64_t kSize = 4 * ByteBuffer::kMinGapDistance;

class LargeDocumentTyping : public RealApplication {
 protected:
  ~LargeDocumentTyping() override { QAccessible::setActive(wasAccessible_); }

  EditorWindow& openLarge() {
    std::string content(static_cast<std::size_t>(kSize), '\0');
    for (std::size_t i = 0; i < content.size(); ++i) content[i] = static_cast<char>(i % 251);
    EditorWindow& window = open(content);
    editor(window).setInsertMode(true);
    editor(window).goTo(kSize / 2);
    return window;
  }

  static HexEditorState& editor(EditorWindow& window) { return *window.editorView().editor(); }
  static const ByteBuffer& bytes(EditorWindow& window) { return editor(window).storage()->bytes; }

 private:
  const bool wasAccessible_ = QAccessible::isActive();
};

TEST_F(LargeDocumentTyping, leavesTheBytesInTwoPieces) {
  EditorWindow& window = openLarge();
  for (const bool accessible : {false, true}) {
    QAccessible::setActive(accessible);
    QTest::keyClicks(&window.editorView(), "4a4b4c");
    QCoreApplication::processEvents();
    for (int i = 0; i < 4; ++i) QTest::keyClick(&window.editorView(), Qt::Key_Backspace);
    QTest::keyClick(&window.editorView(), Qt::Key_Up);
    window.editorView().grab();
    QCoreApplication::processEvents();
    EXPECT_FALSE(bytes(window).isContiguous()) << "assistive technology: " << accessible;
  }
}

TEST_F(LargeDocumentTyping, paintsTheSameInTwoPiecesAsInOne) {
  EditorWindow& window = openLarge();
  QTest::keyClicks(&window.editorView(), "4a4b4c");
  const QImage inTwo = window.editorView().grab().toImage();
  ASSERT_FALSE(bytes(window).isContiguous());
  EXPECT_EQ(std::ssize(bytes(window).span()), kSize + 3);
  ASSERT_TRUE(bytes(window).isContiguous());
  EXPECT_EQ(window.editorView().grab().toImage(), inTwo);
}

}  // namespace
}  // namespace quillmor::test
