#include "window/ReportWindow.h"

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QShortcut>

namespace quillmor {

ReportWindow::ReportWindow(const QString& title, const QString& report)
    : text_(new QPlainTextEdit(this)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(title);
  resize(720, 520);
  text_->setReadOnly(true);
  // Without this flag the keyboard could not move through the text or select in it.
  text_->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  text_->setLineWrapMode(QPlainTextEdit::NoWrap);
  QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  font.setPixelSize(12);
  text_->setFont(font);
  text_->setAccessibleName(title);
  text_->setFrameShape(QFrame::NoFrame);
  text_->document()->setDocumentMargin(12);
  text_->setPlainText(report);
  setCentralWidget(text_);
}

}  // namespace quillmor
