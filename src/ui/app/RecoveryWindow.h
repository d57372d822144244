#pragma once

#include <QDialog>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

class QLabel;
class QPushButton;
class QTableWidget;

namespace quillmor {

class RecoveryController;

/// The list of documents that can be recovered. It blocks no other window.
///
/// Its keys: Return recovers the selected documents, Delete discards them, Escape leaves all for
/// the next start. Those of the main menu that are for the whole application are handed on.
class RecoveryWindow : public QDialog {
  Q_OBJECT

 public:
  /// Carries out an action of the application's menu.
  using Perform = std::function<void(std::string_view action)>;

  /// The controller outlives the window's use.
  RecoveryWindow(RecoveryController& recovery, Perform perform);

  /// Shows what the controller has now; the selected documents stay selected.
  void showContent();

  QTableWidget& table() { return *table_; }

  /// "Later".
  void reject() override;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  using Task = void (RecoveryController::*)(const std::vector<std::string>& ids);

  void makeTable();
  QPushButton* addTask(const QString& title, Task task);
  void addKeys(const Perform& perform);
  void showRows();
  /// Enables what can be done, and says why the selected document cannot be recovered.
  void selectionDidChange();
  std::vector<std::string> selectedIDs() const;
  void select(const std::vector<std::string>& ids);
  void start(Task task);

  RecoveryController& recovery_;
  QTableWidget* table_;
  QLabel* messages_;
  QLabel* activity_;
  QPushButton* later_ = nullptr;
  std::vector<QPushButton*> tasks_;
};

}  // namespace quillmor
