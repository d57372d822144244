#include "ui/app/DarkAppearance.h"

#include <QApplication>
#include <QPalette>
#include <QStyleFactory>

namespace quillmor {

namespace {

const QColor kWindow(30, 30, 31);
const QColor kBase(22, 22, 23);
const QColor kButton(58, 58, 60);
const QColor kText(222, 222, 222);
const QColor kDimText(124, 124, 128);
const QColor kAccent(63, 99, 139);
const QColor kLink(94, 158, 255);

}  // namespace

void applyDarkAppearance(QApplication& application) {
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  QPalette palette;
  palette.setColor(QPalette::Window, kWindow);
  palette.setColor(QPalette::WindowText, kText);
  palette.setColor(QPalette::Base, kBase);
  palette.setColor(QPalette::AlternateBase, kWindow);
  palette.setColor(QPalette::Text, kText);
  palette.setColor(QPalette::PlaceholderText, kDimText);
  palette.setColor(QPalette::Button, kButton);
  palette.setColor(QPalette::ButtonText, kText);
  palette.setColor(QPalette::BrightText, Qt::white);
  palette.setColor(QPalette::ToolTipBase, kButton);
  palette.setColor(QPalette::ToolTipText, kText);
  palette.setColor(QPalette::Highlight, kAccent);
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::Link, kLink);
  palette.setColor(QPalette::LinkVisited, kLink);
  for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, kDimText);
  }
  // Disabled text would be embossed with this colour, which on a dark ground outshines enabled
  // text.
  palette.setColor(QPalette::Disabled, QPalette::Light, Qt::transparent);
  application.setPalette(palette);
}

}  // namespace quillmor
