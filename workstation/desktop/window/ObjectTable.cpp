#include "workstation/desktop/window/ObjectTable.h"

#include <algorithm>
#include <array>
#include <unordered_map>

#include "workstation/desktop/window/StateIcons.h"
#include "workstation/desktop/window/WindowTexts.h"

namespace workstation {
namespace {

QString versionText(const std::optional<std::int64_t>& version) {
  return version ? QString::number(*version) : QStringLiteral("–");
}

QString holderText(const StatusRow& row) {
  const QString name = QString::fromStdString(row.holder);
  return row.isYours ? windowText(WindowText::LockedByYou).arg(name) : name;
}

QString cellText(const StatusRow& row, int column) {
  switch (column) {
    case kObjectColumn:
      return QString::fromStdString(row.item);
    case kNameColumn:
      return QString::fromStdString(row.name);
    case kStateColumn:
      return stateText(row);
    case kHolderColumn:
      return holderText(row);
    case kHereColumn:
      return versionText(row.here);
    case kStoreColumn:
      return versionText(row.store);
    default:
      return reasonText(row);
  }
}

QVariant cellIcon(const StatusRow& row, int column) {
  if (column == kStateColumn) return stateIcon(row.state);
  if (column == kHolderColumn && !row.holder.empty()) return lockIcon(row.isYours);
  return {};
}

QVariant alignmentOf(int column) {
  const bool isNumber = column == kHereColumn || column == kStoreColumn;
  return QVariant(Qt::AlignVCenter | (isNumber ? Qt::AlignHCenter : Qt::AlignLeft));
}

}  // namespace

void ObjectTable::take(std::vector<StatusRow> rows) {
  std::unordered_map<std::string, std::size_t> places;
  for (std::size_t i = 0; i < rows.size(); ++i) places[rows[i].item] = i;
  // What stayed is in the same order in both; anything else starts anew.
  std::vector<std::size_t> stayed;
  for (const StatusRow& row : rows_) {
    if (const auto place = places.find(row.item); place != places.end()) stayed.push_back(place->second);
  }
  if (stayed.empty() || places.size() != rows.size() || !std::is_sorted(stayed.begin(), stayed.end())) {
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
    return;
  }
  for (int i = rowCount() - 1; i >= 0; --i) {
    if (places.contains(row(i).item)) continue;
    beginRemoveRows({}, i, i);
    rows_.erase(rows_.begin() + i);
    endRemoveRows();
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto position = static_cast<int>(i);
    if (i == rows_.size() || rows_[i].item != rows[i].item) {
      beginInsertRows({}, position, position);
      rows_.insert(rows_.begin() + position, std::move(rows[i]));
      endInsertRows();
    } else if (rows_[i] != rows[i]) {
      rows_[i] = std::move(rows[i]);
      Q_EMIT dataChanged(index(position, 0), index(position, kColumnCount - 1));
    }
  }
}

bool ObjectTable::hasUnsent() const {
  return std::any_of(rows_.begin(), rows_.end(), [](const StatusRow& row) { return row.isUnsent; });
}

int ObjectTable::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int ObjectTable::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : kColumnCount;
}

QVariant ObjectTable::data(const QModelIndex& index, int role) const {
  const StatusRow& of = row(index.row());
  switch (role) {
    case Qt::DisplayRole:
    case Qt::ToolTipRole:
      return cellText(of, index.column());
    case Qt::DecorationRole:
      return cellIcon(of, index.column());
    case Qt::TextAlignmentRole:
      return alignmentOf(index.column());
    default:
      return {};
  }
}

QVariant ObjectTable::headerData(int section, Qt::Orientation orientation, int role) const {
  constexpr std::array<WindowText, kColumnCount> kTitles{WindowText::Object,   WindowText::Name, WindowText::State,
                                                         WindowText::LockedBy, WindowText::Here, WindowText::Store,
                                                         WindowText::Reason};
  if (orientation == Qt::Vertical) return {};
  if (role == Qt::DisplayRole) return windowText(kTitles[static_cast<std::size_t>(section)]);
  if (role == Qt::TextAlignmentRole) return alignmentOf(section);
  return {};
}

void ObjectFilter::setWords(const QString& text) {
  words_ = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
  invalidateFilter();
}

bool ObjectFilter::filterAcceptsRow(int row, const QModelIndex& parent) const {
  return std::all_of(words_.begin(), words_.end(), [&](const QString& word) {
    for (const int column : {kObjectColumn, kNameColumn, kStateColumn, kHolderColumn}) {
      const QVariant text = sourceModel()->data(sourceModel()->index(row, column, parent), Qt::DisplayRole);
      if (text.toString().contains(word, Qt::CaseInsensitive)) return true;
    }
    return false;
  });
}

bool ObjectFilter::lessThan(const QModelIndex& left, const QModelIndex& right) const {
  const auto* const table = static_cast<const ObjectTable*>(sourceModel());
  const StatusRow& a = table->row(left.row());
  const StatusRow& b = table->row(right.row());
  switch (left.column()) {
    case kObjectColumn:
      return left.row() < right.row();
    case kStateColumn:
      return a.state < b.state;
    case kHereColumn:
      return a.here < b.here;
    case kStoreColumn:
      return a.store < b.store;
    default:
      return cellText(a, left.column()).localeAwareCompare(cellText(b, right.column())) < 0;
  }
}

}  // namespace workstation
