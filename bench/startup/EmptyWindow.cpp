// The least a Qt program can do that the editor's --screenshot does too: show a main window, paint
// it once and save what it shows.

#include <QApplication>
#include <QMainWindow>
#include <QPixmap>
#include <QStyleFactory>

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  QApplication::setStyle(QStyleFactory::create("Fusion"));
  QMainWindow window;
  window.resize(1120, 760);
  window.show();
  QCoreApplication::processEvents();
  return argc > 1 && window.grab().save(argv[1], "PNG") ? 0 : 1;
}
