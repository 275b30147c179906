#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <QAbstractTableModel>
#include <QIcon>

class QTimer;

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

    // Shows a report with every group closed, but those with the keys given; nullptr empties
    // the table.
    void setReport(std::shared_ptr<const Report> report,
                   const std::vector<std::string>& openKeys = {});
    const ReportTable& table() const { return m_table; }
    // The keys of the open groups, in table order.
    std::vector<std::string> openKeys() const;
    // The row of the group with this key.
    std::optional<int> rowOfGroup(std::string_view key) const;

    // A click on a row (tableClicked:): a group opens or closes in place, a detail row stays.
    void click(int row);

signals:
    // A line read for a cell was found rewritten since the report was built: the cell showed
    // empty, and the report needs reading again.
    void linesChanged();

private:
    ReportTable m_table;
    QTimer* m_linesChanged; // tells of a change once the view's painting is over
    std::array<QString, kColumnCount> m_titles;
    QIcon m_closed;
    QIcon m_open;
};

} // namespace velmora
