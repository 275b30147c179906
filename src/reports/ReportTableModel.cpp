#include "reports/ReportTableModel.h"

#include <string_view>
#include <utility>

#include <QTimer>

namespace velmora {

ReportTableModel::ReportTableModel(QObject* parent)
    : QAbstractTableModel(parent)
    , m_linesChanged(new QTimer(this))
    , m_closed(QStringLiteral(":/icons/group-add.svg"))
    , m_open(QStringLiteral(":/icons/group-remove.svg")) {
    m_linesChanged->setSingleShot(true);
    m_linesChanged->setInterval(0);
    connect(m_linesChanged, &QTimer::timeout, this, &ReportTableModel::linesChanged);
}

int ReportTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_table.size());
}

int ReportTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

QVariant ReportTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) {
        return {};
    }
    const auto row = static_cast<std::size_t>(index.row());
    switch (role) {
    case Qt::DisplayRole: {
        const std::string_view text = m_table.cellText(row, index.column());
        if (m_table.report()->changeSeen() && !m_linesChanged->isActive()) {
            m_linesChanged->start();
        }
        return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }
    case Qt::DecorationRole:
    case ImageNameRole:
        if (const std::optional<GroupId> group = m_table.groupAt(row);
            group && index.column() == 0) {
            const bool open = m_table.isOpen(*group);
            if (role == Qt::DecorationRole) {
                return open ? m_open : m_closed;
            }
            return open ? QStringLiteral("remove") : QStringLiteral("add");
        }
        return {};
    default:
        return {};
    }
}

QVariant ReportTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 ||
        section >= kColumnCount) {
        return {};
    }
    return m_titles[static_cast<std::size_t>(section)];
}

void ReportTableModel::setTitles(const std::array<QString, kColumnCount>& titles) {
    m_titles = titles;
    emit headerDataChanged(Qt::Horizontal, 0, kColumnCount - 1);
}

void ReportTableModel::setReport(std::shared_ptr<const Report> report,
                                 const std::vector<std::string>& openKeys) {
    std::vector<GroupId> open;
    for (const std::string& key : openKeys) {
        if (const std::optional<GroupId> group = report ? report->findGroup(key) : std::nullopt) {
            open.push_back(*group);
        }
    }
    beginResetModel();
    m_linesChanged->stop();
    m_table = ReportTable(std::move(report), open);
    endResetModel();
}

std::vector<std::string> ReportTableModel::openKeys() const {
    std::vector<std::string> keys;
    const Report* report = m_table.report();
    for (std::uint32_t g = 0; report != nullptr && g < report->groupCount(); ++g) {
        if (m_table.isOpen(GroupId{g})) {
            keys.emplace_back(report->groupKey(GroupId{g}));
        }
    }
    return keys;
}

std::optional<int> ReportTableModel::rowOfGroup(std::string_view key) const {
    const Report* report = m_table.report();
    const std::optional<GroupId> group = report ? report->findGroup(key) : std::nullopt;
    const std::optional<std::size_t> row = group ? m_table.rowOf(*group) : std::nullopt;
    return row ? std::optional<int>(static_cast<int>(*row)) : std::nullopt;
}

void ReportTableModel::click(int row) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    const ReportTable::Change change = m_table.changeOnClick(static_cast<std::size_t>(row));
    if (change.kind == ReportTable::Change::Kind::None) {
        return;
    }
    const bool inserts = change.kind == ReportTable::Change::Kind::Insert;
    const bool rowsChange = change.count > 0;
    const auto first = static_cast<int>(change.first);
    const int last = first + static_cast<int>(change.count) - 1;
    if (rowsChange) {
        inserts ? beginInsertRows({}, first, last) : beginRemoveRows({}, first, last);
    }
    m_table.apply(change);
    if (rowsChange) {
        inserts ? endInsertRows() : endRemoveRows();
    }
    const QModelIndex image = index(row, 0);
    emit dataChanged(image, image, {Qt::DecorationRole, ImageNameRole});
}

} // namespace velmora
