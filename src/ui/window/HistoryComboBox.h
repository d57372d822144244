#pragma once

#include <QComboBox>

namespace quillmor {

class SearchHistory;

/// An editable combo box without completion whose list is a search history. The list opens with
/// the arrow button and with the Up, Down, Page Up, Page Down and F4 keys; choosing an entry fills
/// the field, and undo brings the former text back.
class HistoryComboBox : public QComboBox {
 public:
  /// `history` outlives the box.
  HistoryComboBox(const SearchHistory& history, QWidget* parent);

  /// Shows the history as it is now below the field; nothing happens while it is empty. True if the
  /// text may have been cut, because it is as long as the field allows.
  bool isFull() const;

  void showPopup() override;

  /// Selects the whole text, so that typing replaces it.
  void selectAll();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  const SearchHistory& history_;
};

}  // namespace quillmor
