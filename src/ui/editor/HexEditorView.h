#pragma once

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <optional>

#include "editor/HexEditorState.h"
#include "editor/ScrollAxis.h"
#include "ui/editor/DraggedFiles.h"
#include "ui/editor/HeldMotions.h"
#include "ui/editor/HexEditorPainter.h"

namespace quillmor {

/// The widget of a hex view: shows a `HexEditorState`, scrolls it, and hands on keys, mouse events
/// and dropped files. All decisions that need no widget are made in the state. GUI thread only.
///
/// The document may be far longer than any widget or scroll bar can count, so the view keeps its
/// own exact scroll position and draws in viewport coordinates.
class HexEditorView : public QAbstractScrollArea, public HexEditorSurface {
  Q_OBJECT

 public:
  /// Becomes the surface of `editor`. Either may be destroyed first; a view without its editor
  /// shows nothing and answers nothing.
  explicit HexEditorView(HexEditorState& editor, QWidget* parent = nullptr);
  ~HexEditorView() override;

  /// Null once the editor has been detached.
  HexEditorState* editor() const { return editor_; }
  HexEditorPainter& hexPainter() { return painter_; }
  void setFileDropHandler(FileDropHandler handler) { drops_.setHandler(std::move(handler)); }

  /// Accepts no more drops, as when the window closes.
  void unregisterDrags() { viewport()->setAcceptDrops(false); }

  /// Between the viewport's coordinates and the document's.
  Point documentPoint(QPointF viewportPoint) const;
  QRectF viewportRect(const Rect& documentRect) const;

  /// True if the caret is drawn: the view has the window's focus and editing is enabled.
  bool showsCaret() const;

  /// True if a drag goes on outside the viewport, so that `autoScroll` runs regularly.
  bool isAutoScrolling() const { return autoScrollTimer_.isActive(); }
  /// Extends the dragged selection toward the pointer outside the viewport, and scrolls there.
  void autoScroll();

  void redrawVisiblePart() override;
  void documentSizeChanged() override;
  void scrollToVisible(const Rect& rect) override;
  Point scrollPosition() const override { return {horizontal_.position(), vertical_.position()}; }
  void scrollTo(Point position) override;
  void takeKeyboardFocus() override;
  void caretOrSelectionChanged() override;
  void contentsChanged() override;
  void detached() override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void scrollContentsBy(int dx, int dy) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void timerEvent(QTimerEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void layOut();
  /// The size to scroll in: the viewport's, or its size without scroll bars if nothing needs to
  /// scroll then. Otherwise each bar could make the other one necessary.
  QSizeF scrolledSize() const;
  void updateScrollBars();
  void syncScrollBar(QScrollBar& bar, const ScrollAxis& axis, double viewport, double line);
  void scrollPositionChanged();
  /// How far a page key scrolls: one line less than the viewport shows, so the eye finds its place.
  static double pageLength(double viewport, double line);
  /// How far one notch of a wheel scrolls in each direction, at most a page.
  QPointF wheelNotch() const;

  HexEditorState* editor_;
  HexEditorPainter painter_;
  FileDropTarget drops_;
  ScrollAxis horizontal_;
  ScrollAxis vertical_;
  bool isSyncingScrollBars_ = false;
  HeldMotions heldMotions_;
  QBasicTimer autoScrollTimer_;
  /// Where the pointer was last during a drag, in viewport coordinates.
  QPointF dragPoint_;
  /// The visible text that assistive technology knows.
  QString announcedText_;
  /// The area to reveal once the view has its real size.
  std::optional<Rect> revealWhenShown_;
};

}  // namespace quillmor
