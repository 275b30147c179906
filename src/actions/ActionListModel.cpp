#include "actions/ActionListModel.h"

#include <QStringList>

#include "actions/ActionRecord.h"
#include "tools/FilterRecord.h"

namespace velmora {

namespace {

QString text(const Dictionary& action, std::string_view key) {
    return QString::fromStdString(action.string(key));
}

QString commandsText(const Dictionary& action) {
    QStringList commands;
    if (!action.dictionary(action_record::kRunCommand).empty()) {
        commands << ActionListModel::tr("Run");
    }
    if (!action.dictionary(action_record::kSendEmail).empty()) {
        commands << ActionListModel::tr("E-mail");
    }
    if (!action.dictionary(action_record::kSetEvent).empty()) {
        commands << ActionListModel::tr("Event");
    }
    return commands.join(QStringLiteral(", "));
}

} // namespace

ActionListModel::ActionListModel(QObject* parent)
    : RecordListModel(
          {tr("Name"), tr("Host"), tr("Facility"), tr("Severity"), tr("Message"), tr("Commands")},
          parent) {}

QString ActionListModel::displayText(const Dictionary& action, int column) const {
    switch (column) {
    case NameColumn:
        return text(action, filter_record::kName);
    case HostColumn:
        return text(action, filter_record::kIP) + QLatin1Char('/') +
               text(action, filter_record::kMask);
    case FacilityColumn:
        return text(action, filter_record::kFacility);
    case SeverityColumn:
        return text(action, filter_record::kSeverity);
    case MessageColumn:
        return text(action, filter_record::kMessage);
    case CommandsColumn:
        return commandsText(action);
    default:
        return {};
    }
}

} // namespace velmora
