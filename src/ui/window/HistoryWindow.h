#pragma once

#include <QTimer>
#include <cstdint>
#include <functional>
#include <memory>

#include "document/EditHistory.h"
#include "ui/window/UtilityWindow.h"

class QLabel;
class QPushButton;
class QTableView;

namespace quillmor {

class HistoryModel;

/// The list of the edits of a document, the newest first. It follows new edits.
///
/// Its keys: Return opens the selected state in a new window, Escape closes the list.
class HistoryWindow : public UtilityWindow {
  Q_OBJECT

 public:
  /// Opens a state of the history. It may run the event loop, in which the window may be destroyed.
  using Open = std::function<void(std::int64_t state)>;

  HistoryWindow(std::shared_ptr<EditHistory> history, Open open);

  QTableView& table() { return *table_; }
  void bringToFront();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;

 private:
  void makeTable();
  QPushButton* makeButton(const QString& title);
  void follow();
  void showSelection();
  int selectedRow() const;
  void openSelected();

  const std::shared_ptr<EditHistory> history_;
  const Open open_;
  HistoryModel* model_;
  QTableView* table_;
  QLabel* note_;
  QPushButton* openButton_;
  /// Many edits of one event are shown at once.
  QTimer following_;
};

}  // namespace quillmor
