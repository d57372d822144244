#pragma once

#include <QAccessibleWidget>
#include <memory>

#include "editor/HexRowsText.h"

namespace quillmor {

class HexEditorState;
class HexEditorView;

/// Presents the visible rows of a hex view to assistive technology as an editable text. The cost
/// does not depend on the document's size. See `HexRowsText` for the text. GUI thread only.
class HexEditorAccessible : public QAccessibleWidget, public QAccessibleTextInterface {
 public:
  explicit HexEditorAccessible(HexEditorView& view);

  /// Makes the toolkit present every hex view through this class. May be called repeatedly.
  static void install();

  /// Returns the event about the caret and the selection as they are.
  static std::unique_ptr<QAccessibleEvent> caretEvent(HexEditorView& view);

  /// Returns the event about the text as it is, for assistive technology that knows `announced`. It
  /// covers the part from the first to the last difference; a whole new text if `announced` is
  /// empty. Null when nothing differs. `announced` becomes the new text.
  static std::unique_ptr<QAccessibleEvent> textEvent(HexEditorView& view, QString& announced);

  /// Announces to assistive technology, if there is any, that the caret or the selection was set.
  static void announceCaret(HexEditorView& view);
  /// Announces the changes of the text since `announced`, and makes `announced` the new text.
  static void announceText(HexEditorView& view, QString& announced);
  /// Announces that other rows are visible; nothing was edited.
  static void announceScrolling(HexEditorView& view, QString& announced);

  void* interface_cast(QAccessible::InterfaceType type) override;
  QAccessible::State state() const override;
  QString text(QAccessible::Text type) const override;

  void selection(int selectionIndex, int* startOffset, int* endOffset) const override;
  int selectionCount() const override;
  void addSelection(int startOffset, int endOffset) override;
  void removeSelection(int selectionIndex) override;
  void setSelection(int selectionIndex, int startOffset, int endOffset) override;
  int cursorPosition() const override;
  void setCursorPosition(int position) override;
  QString text(int startOffset, int endOffset) const override;
  int characterCount() const override;
  QRect characterRect(int offset) const override;
  int offsetAtPoint(const QPoint& point) const override;
  void scrollToSubstring(int startIndex, int endIndex) override;
  QString attributes(int offset, int* startOffset, int* endOffset) const override;

 private:
  HexEditorView& view() const;
  /// Null once the editor has been detached.
  HexEditorState* editor() const;
  /// True if caret and selection may be set: there is an editor, and it accepts editing.
  bool mayChange() const;
  /// Requires an editor.
  HexRowsText rowsText() const;
};

}  // namespace quillmor
