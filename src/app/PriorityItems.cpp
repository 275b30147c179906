#include "app/PriorityItems.h"

#include <QComboBox>

#include "core/presentation/PriorityNames.h"

namespace velmora {

namespace {

template <typename Names>
void fill(QComboBox& combo, const Names& names) {
    combo.clear();
    // Not translated: the item text is what the settings store and the server reads.
    combo.addItem(QStringLiteral("Any"));
    for (const std::string_view name : names) {
        combo.addItem(QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size())));
    }
}

} // namespace

void fillFacilityItems(QComboBox& combo) {
    fill(combo, kFacilityNames);
}

void fillSeverityItems(QComboBox& combo) {
    fill(combo, kSyslogSeverityNames);
}

} // namespace velmora
