#pragma once

#include <QAbstractTableModel>

#include "core/archive/Value.h"

namespace velmora {

// The Actions page's table over its working list of action records. The list is the one the
// page saves: the table shows exactly what Save will store, in order. An element that is not a
// record (a file written by something else) shows as an empty row and is stored back unchanged.
class ActionListModel : public QAbstractTableModel {
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

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    const Array& actions() const { return m_actions; }
    void setActions(Array actions);
    // The record of a row; an empty one for an element that is not a record.
    Dictionary actionAt(int row) const;

    void append(Dictionary action);
    void replace(int row, Dictionary action);
    // Removes the row's action and every other action equal to it (the same strings and
    // commands): records are told apart only by value.
    void removeEqualTo(int row);

private:
    Array m_actions;

    QString displayText(const Dictionary& action, int column) const;
};

} // namespace velmora
