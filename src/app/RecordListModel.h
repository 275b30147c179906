#pragma once

#include <QAbstractTableModel>
#include <QStringList>

#include "core/archive/Value.h"

namespace velmora {

// A table over a settings page's working array of records (dictionaries), one record a row.
// The model holds the array itself, so the table always shows what Save writes, in order. An
// element that is not a record (a file written by something else) shows as an empty row and
// is stored back unchanged. Subclasses say what a record shows in each column.
class RecordListModel : public QAbstractTableModel {
    Q_OBJECT

public:
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    const Array& records() const { return m_records; }
    void setRecords(Array records);
    // The record of a row; an empty one for an element that is not a record.
    Dictionary recordAt(int row) const;

    void append(Dictionary record);
    void replace(int row, Dictionary record);
    // Removes the row's record and every other record equal to it: records are told apart
    // only by value.
    void removeEqualTo(int row);

protected:
    // One column a title.
    RecordListModel(QStringList titles, QObject* parent);

    // What `record` shows in `column`.
    virtual QString displayText(const Dictionary& record, int column) const = 0;

private:
    QStringList m_titles;
    Array m_records;
};

} // namespace velmora
