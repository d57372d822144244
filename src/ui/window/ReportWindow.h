#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ui/window/ReportText.h"
#include "ui/window/UtilityWindow.h"

class QLabel;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

namespace quillmor {

/// A window with a report: read-only monospaced text that can be selected, copied, searched and
/// saved. A chart may stand above it.
///
/// Its keys: F3 and Shift+F3 go to the next and the previous match, around the ends; in the search
/// field Return and Shift+Return do the same, and Escape goes back to the text.
class ReportWindow : public UtilityWindow {
  Q_OBJECT

 public:
  /// Saves a report. It may run the event loop, in which the window may be destroyed.
  using SaveHandler = std::function<void(const std::string& title, const std::string& report)>;

  ReportWindow(const std::string& title, const std::string& report, SaveHandler save);

  ReportText& text() { return *text_; }

 protected:
  /// Puts `chart` above the text, with a bar between them that can be dragged. `size` is the
  /// window's size at the start.
  void addChart(QWidget* chart, QSize size);

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* makeBar();
  QLineEdit* makeField(QWidget* bar);
  QPushButton* makeButton(const QString& title, QWidget* bar, std::function<void()> action);
  void addFindKeys();
  void findFromHere();
  void find(std::optional<std::int64_t> (ReportText::*select)());
  void showMatch(std::optional<std::int64_t> index);
  void selectAll();
  void save();

  const std::string title_;
  const std::shared_ptr<const std::string> report_;
  const SaveHandler save_;
  QVBoxLayout* layout_;
  ReportText* text_;
  QLineEdit* field_ = nullptr;
  QLabel* note_ = nullptr;
};

}  // namespace quillmor
