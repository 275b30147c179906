#pragma once

#include "app/RecordListModel.h"

namespace velmora {

// One filter list of the Options page (the include or the exclude list), one filter a row.
class FilterListModel : public RecordListModel {
    Q_OBJECT

public:
    enum Column : int {
        NameColumn,
        IPColumn,
        MaskColumn,
        FacilityColumn,
        SeverityColumn,
        MessageColumn
    };
    static constexpr int kColumnCount = 6;

    explicit FilterListModel(QObject* parent = nullptr);

protected:
    QString displayText(const Dictionary& record, int column) const override;
};

} // namespace velmora
