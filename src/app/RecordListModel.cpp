#include "app/RecordListModel.h"

#include <utility>

namespace velmora {

RecordListModel::RecordListModel(QStringList titles, QObject* parent)
    : QAbstractTableModel(parent)
    , m_titles(std::move(titles)) {}

int RecordListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_records.size());
}

int RecordListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_titles.size());
}

QVariant RecordListModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const Dictionary* record = m_records[static_cast<std::size_t>(index.row())].asDictionary();
    return record != nullptr ? displayText(*record, index.column()) : QString();
}

QVariant RecordListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= m_titles.size()) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    return m_titles[section];
}

void RecordListModel::setRecords(Array records) {
    beginResetModel();
    m_records = std::move(records);
    endResetModel();
}

Dictionary RecordListModel::recordAt(int row) const {
    if (row < 0 || row >= rowCount()) {
        return {};
    }
    const Dictionary* record = m_records[static_cast<std::size_t>(row)].asDictionary();
    return record != nullptr ? *record : Dictionary();
}

void RecordListModel::append(Dictionary record) {
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_records.emplace_back(std::move(record));
    endInsertRows();
}

void RecordListModel::replace(int row, Dictionary record) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    m_records[static_cast<std::size_t>(row)] = Value(std::move(record));
    emit dataChanged(index(row, 0), index(row, columnCount() - 1));
}

void RecordListModel::removeEqualTo(int row) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    const Value removed = m_records[static_cast<std::size_t>(row)];
    for (int at = rowCount() - 1; at >= 0; --at) {
        if (m_records[static_cast<std::size_t>(at)] == removed) {
            beginRemoveRows({}, at, at);
            m_records.erase(m_records.begin() + at);
            endRemoveRows();
        }
    }
}

} // namespace velmora
