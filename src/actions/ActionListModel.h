#pragma once

#include "app/RecordListModel.h"

namespace velmora {

// The Actions page's table over its working list of action records, one action a row.
class ActionListModel : public RecordListModel {
    Q_OBJECT

public:
    enum Column : int {
        NameColumn,
        HostColumn,
        FacilityColumn,
        SeverityColumn,
        MessageColumn,
        CommandsColumn
    };
    static constexpr int kColumnCount = 6;

    explicit ActionListModel(QObject* parent = nullptr);

protected:
    QString displayText(const Dictionary& action, int column) const override;
};

} // namespace velmora
