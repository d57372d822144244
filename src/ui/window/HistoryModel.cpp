#include "ui/window/HistoryModel.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPalette>
#include <utility>

#include "ui/window/QtText.h"

namespace quillmor {

HistoryModel::HistoryModel(std::shared_ptr<const EditHistory> history, QObject* parent)
    : QAbstractTableModel(parent), list_(std::move(history)) {}

void HistoryModel::follow() {
  const HistoryList::Change change = list_.change();
  if (change.isAnew) {
    beginResetModel();
    list_.beginAnew();
    return endResetModel();
  }
  if (change.removed > 0) {
    const int last = rowCount() - 2;
    beginRemoveRows({}, last + 1 - static_cast<int>(change.removed), last);
    list_.remove(change.removed);
    endRemoveRows();
  }
  if (change.added > 0) {
    beginInsertRows({}, 0, static_cast<int>(change.added) - 1);
    list_.add(change.added);
    endInsertRows();
  }
  // A second digit completes the newest step.
  emit dataChanged(index(0, 0), index(0, kColumnCount - 1));
}

int HistoryModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(list_.rowCount());
}

int HistoryModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumnCount;
}

QVariant HistoryModel::data(const QModelIndex& index, int role) const {
  const auto column = static_cast<HistoryList::Column>(index.column());
  switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
      return toQString(list_.text(index.row(), column));
    case Qt::FontRole:
      if (column >= HistoryList::Column::offset)
        return QFontDatabase::systemFont(QFontDatabase::FixedFont);
      return {};
    case Qt::ForegroundRole:
      if (!list_.stateToOpen(index.row()))
        return QApplication::palette().color(QPalette::Disabled, QPalette::Text);
      return {};
    case Qt::AccessibleDescriptionRole:
      return toQString(list_.note(index.row()));
    default:
      return {};
  }
}

QVariant HistoryModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section >= kColumnCount) return {};
  if (role == Qt::TextAlignmentRole) return static_cast<int>(Qt::AlignLeft | Qt::AlignVCenter);
  if (role != Qt::DisplayRole) return {};
  const QString titles[kColumnCount] = {tr("Time"), tr("Action"), tr("Offset"), tr("Removed"),
                                        tr("Inserted")};
  return titles[section];
}

}  // namespace quillmor
