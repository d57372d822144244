#include "ui/app/AboutWindowController.h"

#include <QCloseEvent>
#include <QLabel>
#include <QPushButton>
#include <QShortcut>
#include <QVBoxLayout>

namespace quillmor {

namespace {

constexpr int kButtonPadding = 12;
constexpr const char* kWebSite = "https://quillmor.example/";

QLabel* centred(const QString& text, int pixelSize, bool bold) {
  auto* label = new QLabel(text);
  QFont font = label->font();
  font.setPixelSize(pixelSize);
  font.setBold(bold);
  label->setFont(font);
  label->setAlignment(Qt::AlignCenter);
  return label;
}

}  // namespace

AboutWindowController::AboutWindowController(Workspace& workspace,
                                             std::function<void(const QRect&)> willClose)
    : willClose_(std::move(willClose)) {
  setAttribute(Qt::WA_DeleteOnClose);
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowTitle(tr("About Quillmor"));
  auto* link = new QPushButton(tr("Quillmor on the Web"));
  link->setMinimumWidth(link->sizeHint().width() + 2 * kButtonPadding);
  connect(link, &QPushButton::clicked, this, [&workspace] { workspace.openLink(kWebSite); });
  new QShortcut(QKeySequence(Qt::Key_Escape), this, [this] { close(); });

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(36, 28, 36, 28);
  layout->setSpacing(10);
  layout->addWidget(centred("Quillmor", 26, true));
  layout->addWidget(centred(tr("Version %1").arg(QUILLMOR_VERSION), 13, false));
  layout->addSpacing(6);
  layout->addWidget(centred(tr("Professional native hex editor for macOS."), 13, false));
  layout->addWidget(centred(tr("Made by the Quillmor developers."), 11, false));
  layout->addSpacing(10);
  layout->addWidget(link, 0, Qt::AlignCenter);
  setFixedSize(sizeHint());
}

void AboutWindowController::closeEvent(QCloseEvent* event) {
  willClose_(geometry());
  event->accept();
}

}  // namespace quillmor
