#include "scan/ScanView.h"

#include <string>
#include <string_view>
#include <utility>

#include <QHeaderView>
#include <QMouseEvent>
#include <QShowEvent>

#include "app/LinkStyle.h"
#include "core/settings/RuntimeSettings.h"
#include "scan/EventTableModel.h"
#include "scan/ScanViewEvent.h"
#include "ui_ScanView.h"

namespace velmora {

ScanView::ScanView(EventStore& store, const RuntimeSettings& runtime, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ScanView>())
    , m_runtime(runtime)
    , m_model(new EventTableModel(store, this)) {
    m_ui->setupUi(this);
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
    setUpTable();
    setUpLinks();
}

ScanView::~ScanView() = default;

QTableView& ScanView::tableView() const {
    return *m_ui->tableView;
}

void ScanView::setUpTable() {
    QTableView& table = *m_ui->tableView;
    table.setModel(m_model);
    // Millions of rows: every row has the same height and no column is sized to its contents,
    // so that the table never walks the rows.
    QHeaderView& rows = *table.verticalHeader();
    rows.setSectionResizeMode(QHeaderView::Fixed);
    rows.setDefaultSectionSize(fontMetrics().height() + 6);
    QHeaderView& columns = *table.horizontalHeader();
    columns.setSectionResizeMode(EventTableModel::ImageColumn, QHeaderView::Fixed);
    columns.resizeSection(EventTableModel::ImageColumn, 28);
    columns.resizeSection(EventTableModel::DateColumn, 170);
    columns.resizeSection(EventTableModel::PriorityColumn, 130);
    columns.resizeSection(EventTableModel::HostColumn, 130);
    connect(&table, &QTableView::doubleClicked, this, &ScanView::doubleClickTable);
}

void ScanView::setUpLinks() {
    restyleAsLink(*m_ui->scanActions);
    restyleAsLink(*m_ui->scanOptions);
    // Only the Actions link shows the pointing hand; both answer a click.
    m_ui->scanActions->setCursor(Qt::PointingHandCursor);
    m_ui->scanActions->installEventFilter(this);
    m_ui->scanOptions->installEventFilter(this);
}

bool ScanView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        if (watched == m_ui->scanActions) {
            syslogActions();
            return true;
        }
        if (watched == m_ui->scanOptions) {
            syslogOptions();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ScanView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ScanView::viewWillAppear() {
    m_model->appear(m_runtime.oldDateFormat, m_runtime.newDateFormat, m_runtime.levels);
    m_ui->tableView->scrollToTop();
    m_ui->tableView->clearSelection();
}

EventId ScanView::insertEvent(const EventFields& fields, Dictionary extras) {
    const EventId id = m_model->insertDecorated(fields, std::move(extras), m_runtime.newDateFormat,
                                                m_runtime.levels);
    m_ui->tableView->clearSelection();
    return id;
}

void ScanView::removeEvent(const EventFields& record) {
    // A field the record lacks matches no row.
    if (!record.priority || !record.host || !record.message) {
        return;
    }
    const EventStore& store = m_model->store();
    const std::string shown = store.dates().formatTimestamp(
        record.date.value_or(std::string_view()), m_runtime.newDateFormat);
    if (const auto row =
            store.findFirstMatching(shown, *record.priority, *record.host, *record.message)) {
        m_model->removeEventRow(*row);
    }
}

void ScanView::doubleClickTable(const QModelIndex& index) {
    if (!index.isValid()) {
        return;
    }
    auto* sheet = new ScanViewEvent(m_model->eventAt(index.row()), this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
}

void ScanView::syslogActions() {
    emit settingsPageRequested(Page::Actions, Page::Scan);
}

void ScanView::syslogOptions() {
    emit settingsPageRequested(Page::Options, Page::Scan);
}

} // namespace velmora
