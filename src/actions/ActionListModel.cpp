#include "actions/ActionListModel.h"

#include <utility>

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
    : QAbstractTableModel(parent) {}

int ActionListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_actions.size());
}

int ActionListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumnCount;
}

QVariant ActionListModel::data(const QModelIndex& index, int role) const {
    if (role != Qt::DisplayRole || !checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const Dictionary* action = m_actions[static_cast<std::size_t>(index.row())].asDictionary();
    return action ? displayText(*action, index.column()) : QString();
}

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

QVariant ActionListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return QAbstractTableModel::headerData(section, orientation, role);
    }
    switch (section) {
    case NameColumn:
        return tr("Name");
    case HostColumn:
        return tr("Host");
    case FacilityColumn:
        return tr("Facility");
    case SeverityColumn:
        return tr("Severity");
    case MessageColumn:
        return tr("Message");
    case CommandsColumn:
        return tr("Commands");
    default:
        return {};
    }
}

void ActionListModel::setActions(Array actions) {
    beginResetModel();
    m_actions = std::move(actions);
    endResetModel();
}

Dictionary ActionListModel::actionAt(int row) const {
    if (row < 0 || row >= rowCount()) {
        return {};
    }
    const Dictionary* action = m_actions[static_cast<std::size_t>(row)].asDictionary();
    return action ? *action : Dictionary();
}

void ActionListModel::append(Dictionary action) {
    const int row = rowCount();
    beginInsertRows({}, row, row);
    m_actions.emplace_back(std::move(action));
    endInsertRows();
}

void ActionListModel::replace(int row, Dictionary action) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    m_actions[static_cast<std::size_t>(row)] = Value(std::move(action));
    emit dataChanged(index(row, 0), index(row, kColumnCount - 1));
}

void ActionListModel::removeEqualTo(int row) {
    if (row < 0 || row >= rowCount()) {
        return;
    }
    const Value removed = m_actions[static_cast<std::size_t>(row)];
    for (int at = rowCount() - 1; at >= 0; --at) {
        if (m_actions[static_cast<std::size_t>(at)] == removed) {
            beginRemoveRows({}, at, at);
            m_actions.erase(m_actions.begin() + at);
            endRemoveRows();
        }
    }
}

} // namespace velmora
