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
    : RecordListModel(
          {tr("Name"), tr("IP address"), tr("Mask"), tr("Facility"), tr("Severity"), tr("Message")},
          parent) {}

QString FilterListModel::displayText(const Dictionary& record, int column) const {
    return QString::fromStdString(record.string(kColumnKeys[static_cast<std::size_t>(column)]));
}

} // namespace velmora
