#include "tools/FilterListModel.h"

#include <array>
#include <string_view>

#include "tools/FilterRecord.h"

namespace velmora {

namespace {

constexpr std::array<std::string_view, FilterListModel::kColumnCount> kColumnKeys = {
    filter_record::kName,     filter_record::kIP,       filter_record::kMask,
    filter_record::kFacility, filter_record::kSeverity, filter_record::kMessage};

} // namespace

FilterListModel::FilterListModel(QObject* parent)
    : RecordListModel(kColumnCount, parent) {}

QString FilterListModel::displayText(const Dictionary& record, int column) const {
    return QString::fromStdString(record.string(kColumnKeys[static_cast<std::size_t>(column)]));
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

} // namespace velmora
