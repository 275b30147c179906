#include "reports/ReportPrinter.h"

#include <QFontInfo>
#include <QHeaderView>
#include <QIcon>
#include <QPainter>
#include <QPrinter>
#include <QTableView>

#include "reports/ReportTableModel.h"

namespace velmora {

namespace {

// Text keeps this far from its cell's edges, as the table's cells do.
constexpr int kCellMargin = 4;

} // namespace

ReportPrinter::ReportPrinter(const QTableView& table)
    : m_model(*table.model())
    , m_rowHeight(table.verticalHeader()->defaultSectionSize())
    , m_font(table.font()) {
    // A font in pixels, so that it scales with the table rather than with the printer.
    m_font.setPixelSize(QFontInfo(table.font()).pixelSize());
    const QHeaderView& header = *table.horizontalHeader();
    for (int visual = 0; visual < header.count(); ++visual) {
        const int section = header.logicalIndex(visual);
        if (!header.isSectionHidden(section)) {
            m_columns.append({section, m_width, header.sectionSize(section)});
            m_width += header.sectionSize(section);
        }
    }
}

bool ReportPrinter::print(QPrinter& printer) const {
    QPainter painter;
    if (!painter.begin(&printer)) {
        return false;
    }
    if (m_width > 0) {
        const double scale = static_cast<double>(painter.viewport().width()) / m_width;
        painter.scale(scale, scale);
        painter.setFont(m_font);
        const int pageHeight = static_cast<int>(painter.viewport().height() / scale);
        const int rowsPerPage = std::max(1, pageHeight / m_rowHeight - 1);
        const int rows = m_model.rowCount();
        const auto* report = qobject_cast<const ReportTableModel*>(&m_model);
        for (int first = 0; first == 0 || first < rows; first += rowsPerPage) {
            if (first > 0) {
                printer.newPage();
            }
            printHeader(painter);
            for (int row = first; row < std::min(rows, first + rowsPerPage); ++row) {
                // The rows of a report are read in batches: a group's lines lie all over the
                // files, and read one by one they would make the files be read many times.
                if (report != nullptr && !report->table().prepared(static_cast<std::size_t>(row))) {
                    report->table().prepare(static_cast<std::size_t>(row));
                }
                printRow(painter, row, (row - first + 1) * m_rowHeight);
            }
        }
    }
    return painter.end();
}

void ReportPrinter::printHeader(QPainter& painter) const {
    painter.save();
    QFont bold = m_font;
    bold.setBold(true);
    painter.setFont(bold);
    for (const Column& column : m_columns) {
        const QRect cell = QRect(column.left, 0, column.width, m_rowHeight)
                               .adjusted(kCellMargin, 0, -kCellMargin, 0);
        const QString title = m_model.headerData(column.section, Qt::Horizontal).toString();
        painter.drawText(cell, Qt::AlignVCenter,
                         painter.fontMetrics().elidedText(title, Qt::ElideRight, cell.width()));
    }
    painter.drawLine(0, m_rowHeight - 1, m_width, m_rowHeight - 1);
    painter.restore();
}

void ReportPrinter::printRow(QPainter& painter, int row, int top) const {
    for (const Column& column : m_columns) {
        QRect cell = QRect(column.left, top, column.width, m_rowHeight)
                         .adjusted(kCellMargin, 0, -kCellMargin, 0);
        const QModelIndex index = m_model.index(row, column.section);
        const auto image = index.data(Qt::DecorationRole).value<QIcon>();
        if (!image.isNull()) {
            const int side = m_rowHeight * 2 / 3;
            image.paint(&painter, QRect(cell.left(), top + (m_rowHeight - side) / 2, side, side));
            cell.setLeft(cell.left() + side + kCellMargin);
        }
        const QString text = index.data(Qt::DisplayRole).toString();
        painter.drawText(cell, Qt::AlignVCenter,
                         painter.fontMetrics().elidedText(text, Qt::ElideRight, cell.width()));
    }
}

} // namespace velmora
