#pragma once

#include <QAbstractTableModel>
#include <memory>

#include "window/HistoryList.h"

namespace quillmor {

/// The rows of a document's history for a table. Takes no memory for a row.
class HistoryModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  static constexpr int kColumnCount = 5;

  HistoryModel(std::shared_ptr<const EditHistory> history, QObject* parent);

  const HistoryList& list() const { return list_; }

  /// Shows what the history has become.
  void follow();

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  HistoryList list_;
};

}  // namespace quillmor
