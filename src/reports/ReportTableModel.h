#pragma once

#include <array>
#include <memory>

#include <QAbstractTableModel>
#include <QIcon>

#include "core/reports/ReportTable.h"

namespace velmora {

// The Reports page's table (arrController) over a report: group rows with their key and their
// open or closed image, and under each open group its detail rows. Rows are not copied: each
// cell is read from the report when a view asks for it, which is for the rows on screen.
//
// Opening a group of a million rows is one insertion, not a million.
class ReportTableModel : public QAbstractTableModel {
    Q_OBJECT

public:
    static constexpr int kColumnCount = 4;

    enum Role : int {
        ImageNameRole = Qt::UserRole + 1, // "add" (closed) or "remove" (open); none on details
    };

    explicit ReportTableModel(QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

    const std::array<QString, kColumnCount>& titles() const { return m_titles; }
    void setTitles(const std::array<QString, kColumnCount>& titles);

    // Shows a report, every group closed; nullptr empties the table.
    void setReport(std::shared_ptr<const Report> report);
    const ReportTable& table() const { return m_table; }

    // A click on a row (tableClicked:): a group opens or closes in place, a detail row stays.
    void click(int row);

private:
    ReportTable m_table;
    std::array<QString, kColumnCount> m_titles;
    QIcon m_closed;
    QIcon m_open;
};

} // namespace velmora
