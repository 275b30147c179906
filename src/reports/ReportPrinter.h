#pragma once

#include <QFont>
#include <QList>

class QAbstractItemModel;
class QPainter;
class QPrinter;
class QTableView;

namespace velmora {

// Prints a table as it stands, every row of it and not only those on screen: the visible
// columns with their titles, laid out as on screen (widths, row height, font) and scaled to the
// page's width, rows one under another over as many pages as they need, each page starting
// with the column titles. Group rows keep their image.
class ReportPrinter {
public:
    explicit ReportPrinter(const QTableView& table);

    // False when the printer could not be started (for example a PDF file that cannot be
    // written).
    bool print(QPrinter& printer) const;

private:
    struct Column {
        int section;
        int left;
        int width;
    };

    const QAbstractItemModel& m_model;
    QList<Column> m_columns;
    int m_width = 0; // of the visible columns, on screen
    int m_rowHeight;
    QFont m_font;

    void printHeader(QPainter& painter) const;
    void printRow(QPainter& painter, int row, int top) const;
};

} // namespace velmora
