#pragma once

#include <QAbstractTableModel>

#include "core/archive/Value.h"

namespace velmora {

// One filter list of the Options page (the include or the exclude list), one filter a row. The
// model holds the page's working array itself, so the table always shows what Save writes.
// Entries that are not records are kept as read and shown empty.
class FilterListModel : public QAbstractTableModel {
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

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    const Array& records() const { return m_records; }
    void setRecords(Array records);
    // The record of a row; an entry that is not a record reads as an empty one.
    Dictionary recordAt(int row) const;

    void append(Dictionary record);
    void replace(int row, Dictionary record);
    // Removes every entry equal to the one at `row` (a record with the same six strings), not
    // only that row.
    void removeEqualTo(int row);

private:
    Array m_records;
};

} // namespace velmora
