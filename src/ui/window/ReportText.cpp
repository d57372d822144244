#include "ui/window/ReportText.h"

#include <QFontDatabase>
#include <QMimeData>
#include <QPainter>
#include <QTextBlock>
#include <QTextLayout>
#include <algorithm>

#include "ui/window/ChartCanvas.h"

namespace quillmor {

namespace {

constexpr int kFontPixelSize = 12;
constexpr int kMargin = 12;
/// A window full of lines as long as this is laid out in about 20 ms.
constexpr std::int64_t kLongestLine = 1024;
const QColor kMatch(104, 84, 24);

std::u16string_view unitsOf(const QString& text) {
  return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

/// Unit by unit, so that places stay what they are.
QString withoutCase(QString text) {
  for (QChar& c : text) c = c.toCaseFolded();
  return text;
}

/// Assistive technology and many programs that text is pasted into take U+0000 for its end.
QString withoutNull(QString text) {
  constexpr QChar kSymbolForNull(0x2400);
  return text.replace(QChar(QChar::Null), kSymbolForNull);
}

/// The toolkit would take these for the ends of lines or frames, or drop them.
QString shownText(std::u16string text) {
  constexpr char16_t kReplacement = 0xFFFD;
  for (char16_t& unit : text) {
    const bool isSpecial =
        unit == u'\r' || unit == 0x2028 || unit == 0x2029 || unit == 0xFDD0 || unit == 0xFDD1;
    if (isSpecial) unit = kReplacement;
  }
  return QString::fromStdU16String(text);
}

}  // namespace

ReportText::ReportText(QWidget* parent) : QPlainTextEdit(parent) {
  setReadOnly(true);
  // Without this flag the keyboard could not move through the text or select in it.
  setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  setTabChangesFocus(true);
  setLineWrapMode(QPlainTextEdit::NoWrap);
  setFrameShape(QFrame::NoFrame);
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(kFontPixelSize);
  setFont(font);
  document()->setDocumentMargin(kMargin);
}

void ReportText::setReport(const QString& report) {
  report_ = withoutNull(report);
  caseFolded_.clear();
  lines_ = FoldedLines(unitsOf(report_), kLongestLine);
  setPlainText(shownText(lines_.folded(unitsOf(report_))));
  markMatches({});
}

void ReportText::markMatches(const QString& needle) {
  if (caseFolded_.isEmpty() && !needle.isEmpty()) caseFolded_ = withoutCase(report_);
  const QString folded = withoutCase(needle);
  matches_ = TextMatches(unitsOf(caseFolded_), unitsOf(folded));
  viewport()->update();
}

std::optional<std::int64_t> ReportText::selectNearestMatch() {
  return select(matches_.indexFrom(selectionStart()));
}

std::optional<std::int64_t> ReportText::selectNextMatch() {
  return select(matches_.indexFrom(selectionEnd()));
}

std::optional<std::int64_t> ReportText::selectPreviousMatch() {
  return select(matches_.indexBefore(selectionStart()));
}

std::int64_t ReportText::selectionStart() const {
  return lines_.toOriginal(textCursor().selectionStart());
}

std::int64_t ReportText::selectionEnd() const {
  return lines_.toOriginal(textCursor().selectionEnd());
}

std::optional<std::int64_t> ReportText::select(std::optional<std::int64_t> index) {
  if (!index) return std::nullopt;
  const std::int64_t start = matches_.start(*index);
  // A line feed that was inserted right after the match is not part of it.
  const std::int64_t end = lines_.toFolded(start + matches_.length() - 1) + 1;
  QTextCursor cursor(document());
  cursor.setPosition(static_cast<int>(lines_.toFolded(start)));
  cursor.setPosition(static_cast<int>(end), QTextCursor::KeepAnchor);
  setTextCursor(cursor);
  // With some of what stands around it.
  if (cursorRect().bottom() >= viewport()->height() - cursorRect().height()) centerCursor();
  return index;
}

QMimeData* ReportText::createMimeDataFromSelection() const {
  const std::int64_t start = selectionStart();
  auto* copied = new QMimeData;
  copied->setText(report_.mid(start, selectionEnd() - start));
  return copied;
}

void ReportText::paintEvent(QPaintEvent* event) {
  if (matches_.count() > 0) {
    QPainter painter(viewport());
    painter.setClipRect(event->rect());
    paintMatches(painter);
  }
  QPlainTextEdit::paintEvent(event);
}

/// Looks at the visible lines alone: there may be millions of matches.
void ReportText::paintMatches(QPainter& painter) {
  for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
    const QRectF place = blockBoundingGeometry(block).translated(contentOffset());
    if (place.top() > viewport()->height()) return;
    paintMatchesIn(painter, block, place);
  }
}

void ReportText::paintMatchesIn(QPainter& painter, const QTextBlock& block, const QRectF& place) {
  if (block.layout()->lineCount() == 0) return;
  const QTextLine line = block.layout()->lineAt(0);
  const int first = line.xToCursor(-place.left());
  const int last = line.xToCursor(viewport()->width() - place.left());
  const std::int64_t from = lines_.toOriginal(block.position() + first);
  const std::int64_t to = lines_.toOriginal(block.position() + last);
  for (std::int64_t i = matches_.firstEndingBehind(from);
       i < matches_.count() && matches_.start(i) < to; ++i) {
    const std::int64_t start = std::max(matches_.start(i), from);
    const std::int64_t end = std::min(matches_.start(i) + matches_.length(), to);
    const auto inLine = [&](std::int64_t unit) {
      return static_cast<int>(lines_.toFolded(unit) - block.position());
    };
    const double left = place.left() + line.cursorToX(inLine(start));
    const double right = place.left() + line.cursorToX(inLine(end - 1) + 1);
    painter.fillRect(QRectF(left, place.top(), right - left, line.height()), kMatch);
  }
}

}  // namespace quillmor
