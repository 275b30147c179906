#include "reports/ReportsView.h"

#include <array>
#include <string>
#include <utility>

#include <QApplication>
#include <QFile>
#include <QHeaderView>
#include <QHideEvent>
#include <QPrintDialog>
#include <QPrinter>
#include <QScrollBar>
#include <QShowEvent>

#include "app/AppDelegate.h"
#include "app/FileDialogs.h"
#include "app/Logging.h"
#include "core/reports/ReportExport.h"
#include "reports/ReportBuild.h"
#include "reports/ReportPrinter.h"
#include "reports/ReportTableModel.h"
#include "ui_ReportsView.h"

namespace velmora {

namespace {

constexpr int kColumnWidth = 120;
constexpr int kDateColumnWidth = 140;
constexpr int kDateKeyColumnWidth = 165;
// The message key column takes what the table's other three columns leave.
constexpr int kOtherColumnsWidth = 380;

// The bytes of a log file's name ride along with each choice, so that a name that is not
// UTF-8 still finds its file.
constexpr int kLogNameRole = Qt::UserRole;

QString fromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

ReportsView::ReportsView(AppDelegate& delegate, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ReportsView>())
    , m_delegate(delegate)
    , m_model(new ReportTableModel(this)) {
    m_ui->setupUi(this);
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
    setUpTable();
    connect(m_model, &ReportTableModel::linesChanged, this, [this] { refresh(); });
    connect(m_ui->reportName, &QComboBox::activated, this, &ReportsView::reportNameSelected);
    connect(m_ui->reportFilter, &QComboBox::activated, this, &ReportsView::reportFilterSelected);
    connect(m_ui->reportDisplay, &QPushButton::clicked, this, &ReportsView::displayReport);
    connect(m_ui->reportExport, &QPushButton::clicked, this, &ReportsView::exportResults);
    connect(m_ui->reportPrint, &QPushButton::clicked, this, &ReportsView::printResults);
}

ReportsView::~ReportsView() = default;

QTableView& ReportsView::tableView() const {
    return *m_ui->tableView;
}

void ReportsView::setUpTable() {
    QTableView& table = *m_ui->tableView;
    table.setModel(m_model);
    std::array<QString, ReportTableModel::kColumnCount> titles;
    const std::array<std::string_view, 4> hostTitles = reportColumnTitles(ReportGrouping::Host);
    std::transform(hostTitles.begin(), hostTitles.end(), titles.begin(), fromUtf8);
    m_model->setTitles(titles);
    // The column widths are worked out from the table's width when a report is displayed; a
    // scroll bar that came and went with the rows would change it.
    table.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    // Millions of rows: every row has the same height, so the table never walks them.
    QHeaderView& rows = *table.verticalHeader();
    rows.setSectionResizeMode(QHeaderView::Fixed);
    rows.setDefaultSectionSize(fontMetrics().height() + 6);
    connect(&table, &QTableView::clicked, this, &ReportsView::tableClicked);
}

void ReportsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ReportsView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) {
        stopBuild();
    }
}

void ReportsView::viewWillAppear() {
    stopBuild();
    m_ui->reportNote->hide();
    m_ui->reportName->setCurrentIndex(-1);
    QComboBox& filter = *m_ui->reportFilter;
    filter.clear();
    for (const std::string& choice : ReportEngine::logChoices(m_delegate.dataDirectory())) {
        filter.addItem(fromUtf8(choice), QByteArray::fromStdString(choice));
    }
    filter.setCurrentIndex(0);
    m_model->setReport(nullptr);
    setColumnsVisible(false);
}

void ReportsView::reportNameSelected() {
    enableDisplayWhenChosen();
}

void ReportsView::reportFilterSelected() {
    enableDisplayWhenChosen();
}

void ReportsView::enableDisplayWhenChosen() {
    if (m_ui->reportName->currentIndex() >= 0 && m_ui->reportFilter->currentIndex() >= 0) {
        m_ui->reportDisplay->setEnabled(true);
    }
    if (QWidget* focus = window()->focusWidget()) {
        focus->clearFocus();
    }
}

void ReportsView::displayReport() {
    stopBuild();
    m_ui->reportNote->hide();
    m_model->setReport(nullptr);
    setColumnsVisible(true);
    const int index = m_ui->reportName->currentIndex();
    if (index < 0 || index >= kReportGroupingCount) {
        tableView().clearSelection();
        emit reportShown();
        return;
    }
    const auto grouping = static_cast<ReportGrouping>(index);
    setColumnsFor(grouping);
    m_request = {m_delegate.dataDirectory(),
                 m_ui->reportFilter->currentData(kLogNameRole).toByteArray().toStdString(),
                 grouping, m_delegate.runtime().newDateFormat};
    startBuild([this](std::shared_ptr<const Report> report) { showReport(std::move(report)); });
}

void ReportsView::setColumnsVisible(bool visible) {
    QHeaderView& header = *tableView().horizontalHeader();
    for (int column = 0; column < ReportTableModel::kColumnCount; ++column) {
        header.setSectionHidden(column, !visible);
        if (visible) {
            header.resizeSection(column, kColumnWidth);
        }
    }
}

void ReportsView::setColumnsFor(ReportGrouping grouping) {
    std::array<QString, ReportTableModel::kColumnCount> titles;
    const std::array<std::string_view, 4> names = reportColumnTitles(grouping);
    std::transform(names.begin(), names.end(), titles.begin(), fromUtf8);
    m_model->setTitles(titles);

    QHeaderView& header = *tableView().horizontalHeader();
    const int tableWidth = tableView().viewport()->width();
    const auto atLeastMinimum = [&](int width) {
        return std::max(width, header.minimumSectionSize());
    };
    if (grouping == ReportGrouping::Date) {
        header.resizeSection(0, kDateKeyColumnWidth);
    } else {
        header.resizeSection(1, kDateColumnWidth);
    }
    if (grouping == ReportGrouping::Message) {
        header.resizeSection(0, atLeastMinimum(tableWidth - kOtherColumnsWidth));
        return;
    }
    // The last column takes the rest of the table's width.
    const int others = header.sectionSize(0) + header.sectionSize(1) + header.sectionSize(2);
    header.resizeSection(3, atLeastMinimum(tableWidth - others));
}

void ReportsView::startBuild(Built built) {
    m_build = std::make_unique<ReportBuild>(m_request);
    connect(m_build.get(), &ReportBuild::progressed, m_ui->reportProgress, &QProgressBar::setValue);
    connect(m_build.get(), &ReportBuild::finished, this,
            [this, built = std::move(built)](std::shared_ptr<const Report> report) {
                // Done: let it go once its signal has returned.
                m_build.release()->deleteLater();
                m_ui->reportProgress->hide();
                built(std::move(report));
            });
    m_ui->reportProgress->setValue(0);
    m_ui->reportProgress->show();
}

void ReportsView::showReport(std::shared_ptr<const Report> report) {
    m_model->setReport(std::move(report));
    tableView().clearSelection();
    emit reportShown();
}

void ReportsView::stopBuild() {
    m_build.reset();
    m_ui->reportProgress->hide();
}

bool ReportsView::findText(const QString& text, const QString& /*key*/) const {
    return m_model->table().hasGroup(text.toStdString());
}

void ReportsView::whenCurrent(std::function<void()> action) {
    const Report* report = m_model->table().report();
    if (report != nullptr && report->changedOnDisk()) {
        refresh(std::move(action));
    } else {
        action();
    }
}

void ReportsView::refresh(std::function<void()> then) {
    std::vector<std::string> open = m_model->openKeys();
    const int scrolled = tableView().verticalScrollBar()->value();
    m_model->setReport(nullptr);
    startBuild([this, open = std::move(open), scrolled,
                then = std::move(then)](std::shared_ptr<const Report> report) {
        qCInfo(lcReports) << "the log files changed: report read again";
        m_model->setReport(std::move(report), open);
        tableView().verticalScrollBar()->setValue(scrolled);
        m_ui->reportNote->show();
        if (then) {
            then();
        }
    });
}

void ReportsView::tableClicked() {
    const QModelIndexList selected = tableView().selectionModel()->selectedRows();
    if (selected.isEmpty()) {
        return;
    }
    const int row = selected.front().row();
    const std::optional<GroupId> group = m_model->table().groupAt(static_cast<std::size_t>(row));
    if (!group) {
        tableView().selectRow(row); // a detail row changes nothing
        return;
    }
    std::string key(m_model->table().report()->groupKey(*group));
    whenCurrent([this, row, key = std::move(key)] { clickGroup(row, key); });
}

void ReportsView::clickGroup(int row, const std::string& key) {
    // Once the report was read again the group may stand on another row, or be gone.
    const ReportTable& table = m_model->table();
    const std::optional<GroupId> group = table.groupAt(static_cast<std::size_t>(row));
    const std::optional<int> at = group && table.report()->groupKey(*group) == key
                                      ? std::optional<int>(row)
                                      : m_model->rowOfGroup(key);
    if (!at) {
        return;
    }
    m_model->click(*at);
    tableView().selectRow(*at);
}

void ReportsView::exportResults() {
    const std::optional<QString> chosen =
        chooseFileToSave(this, tr("Please select export file name with 'txt' or 'csv' extensions:"),
                         {{tr("Text"), {QStringLiteral("txt")}},
                          {tr("Comma-separated values"), {QStringLiteral("csv")}}});
    if (!chosen) {
        return;
    }
    const std::string path = QFile::encodeName(*chosen).toStdString();
    whenCurrent([this, path] { exportTo(path, true); });
}

void ReportsView::exportTo(const std::string& path, bool retryWhenChanged) {
    std::array<std::string, ReportTableModel::kColumnCount> titles;
    std::transform(m_model->titles().begin(), m_model->titles().end(), titles.begin(),
                   [](const QString& title) { return title.toStdString(); });
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const Status written = exportReportTable(m_model->table(), titles, exportSeparator(path), path);
    QApplication::restoreOverrideCursor();
    if (!written && written.error().code == ErrorCode::Changed && retryWhenChanged) {
        // A file was rewritten while the export read it: nothing was written; read the report
        // again and write that.
        refresh([this, path] { exportTo(path, false); });
        return;
    }
    // A failed export is not shown to the user: the previous file, if any, is left as it was.
    if (!written) {
        qCWarning(lcReports) << "export failed:" << written.error().message.c_str();
    }
}

void ReportsView::printResults() {
    auto printer = std::make_shared<QPrinter>(QPrinter::HighResolution);
    QPrintDialog dialog(printer.get(), this);
    dialog.setObjectName(QStringLiteral("printDialog"));
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    whenCurrent([this, printer] {
        if (!printTable(*printer)) {
            qCWarning(lcReports) << "printing failed";
        }
    });
}

bool ReportsView::printTable(QPrinter& printer) const {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    const bool printed = ReportPrinter(tableView()).print(printer);
    QApplication::restoreOverrideCursor();
    return printed;
}

} // namespace velmora
