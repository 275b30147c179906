#include "tools/FilterListModel.h"

#include <array>
#include <string_view>
#include <utility>

#include "tools/FilterRecord.h"

namespace velmora {

namespace {

constexpr std::array<std::string_view, FilterListModel::kColumnCount> kColumnKeys = {
    filter_record::kName,     filter_record::kIP,       filter_record::kMask,
    filter_record::kFacility, filter_record::kSeverity, filter_record::kMessage};

} // namespace

FilterListModel::FilterListModel(QObject* parent)
    : QAbstractTableModel(parent) {}

int FilterListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_records.size());
}

int FilterListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

QVariant FilterListModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    return QString::fromStdString(
        recordAt(index.row()).string(kColumnKeys[static_cast<std::size_t>(index.column())]));
}

QVariant FilterListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    switch (section) {
    case NameColumn:
        return tr("Name");
    case IPColumn:
        return tr("IP address");
    case MaskColumn:
        return tr("Mask");
    case FacilityColumn:
        return tr("Facility");
    case SeverityColumn:
        return tr("Severity");
    case MessageColumn:
        return tr("Message");
    default:
        return {};
    }
}

void FilterListModel::setRecords(Array records) {
    beginResetModel();
    m_records = std::move(records);
    endResetModel();
}

Dictionary FilterListModel::recordAt(int row) const {
    if (row < 0 || row >= rowCount()) {
        return {};
    }
    const Dictionary* record = m_records[static_cast<std::size_t>(row)].asDictionary();
    return record != nullptr ? *record : Dictionary();
}

void FilterListModel::append(Dictionary record) {
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_records.emplace_back(std::move(record));
    endInsertRows();
}

void FilterListModel::replace(int row, Dictionary record) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    m_records[static_cast<std::size_t>(row)] = Value(std::move(record));
    emit dataChanged(index(row, 0), index(row, kColumnCount - 1));
}

void FilterListModel::removeEqualTo(int row) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    const Value removed = m_records[static_cast<std::size_t>(row)];
    for (int r = rowCount() - 1; r >= 0; --r) {
        if (m_records[static_cast<std::size_t>(r)] == removed) {
            beginRemoveRows({}, r, r);
            m_records.erase(m_records.begin() + r);
            endRemoveRows();
        }
    }
}

} // namespace velmora
