// The rows of the window: the model, which changes in place so that what is selected stays so, and its filter.
#pragma once

#include <QAbstractTableModel>
#include <QSortFilterProxyModel>
#include <vector>

#include "workstation/desktop/window/StatusLines.h"

namespace workstation {

enum Column : int { kObjectColumn, kNameColumn, kStateColumn, kHolderColumn, kHereColumn, kStoreColumn, kReasonColumn };
constexpr int kColumnCount = kReasonColumn + 1;

class ObjectTable : public QAbstractTableModel {
  Q_OBJECT
 public:
  using QAbstractTableModel::QAbstractTableModel;

  /// Takes what a status told, in the program's order. Rows of the same object stay rows, with all that is selected.
  void take(std::vector<StatusRow> rows);
  const StatusRow& row(int index) const { return rows_[static_cast<std::size_t>(index)]; }
  /// Something could not be sent.
  bool hasUnsent() const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  std::vector<StatusRow> rows_;
};

/// Sorts versions as numbers, states by urgency and objects in the program's order; keeps the rows that have each of
/// the words of the filter in some column.
class ObjectFilter : public QSortFilterProxyModel {
  Q_OBJECT
 public:
  using QSortFilterProxyModel::QSortFilterProxyModel;
  void setWords(const QString& text);

 protected:
  bool filterAcceptsRow(int row, const QModelIndex& parent) const override;
  bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;

 private:
  QStringList words_;
};

}  // namespace workstation
