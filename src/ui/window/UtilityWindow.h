#pragma once

#include <QMainWindow>
#include <vector>

namespace quillmor {

/// A window beside an editor that shows something of its document. It deletes itself when it is
/// closed.
class UtilityWindow : public QMainWindow {
  Q_OBJECT

 public:
  UtilityWindow();

  /// Places the window over `owner`: centred, or beside windows of `others` that are there already.
  /// It stays inside the screen.
  void placeOver(const QWidget& owner, const std::vector<const QWidget*>& others);

 private:
  void scrollContent();
};

}  // namespace quillmor
