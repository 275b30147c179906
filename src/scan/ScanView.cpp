#include "scan/ScanView.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <QFile>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMouseEvent>
#include <QShowEvent>

#include "app/Alert.h"
#include "app/FileDialogs.h"
#include "app/LinkStyle.h"
#include "core/settings/RuntimeSettings.h"
#include "core/system/TestMessage.h"
#include "scan/EventDeletion.h"
#include "scan/EventExport.h"
#include "scan/EventRemovals.h"
#include "scan/EventTableModel.h"
#include "scan/ScanViewEvent.h"
#include "ui_ScanView.h"

namespace velmora {

ScanView::ScanView(EventStore& store, const RuntimeSettings& runtime, std::string dataDirectory,
                   QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::ScanView>())
    , m_runtime(runtime)
    , m_dataDirectory(std::move(dataDirectory))
    , m_model(new EventTableModel(store, this))
    , m_removals(new EventRemovals(*m_model, this))
    , m_progressDelay(PageTask::kDefaultProgressDelay)
    , m_testAddress(TestMessage::kDefaultAddress)
    , m_testPort(TestMessage::kDefaultPort) {
    m_ui->setupUi(this);
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
    setUpTable();
    setUpLinks();
    setUpButtons();
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
    // The user may drag the columns into another order (Export follows it) and widen them.
    columns.setSectionsMovable(true);
    columns.setSectionResizeMode(QHeaderView::Interactive);
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

void ScanView::setUpButtons() {
    connect(m_ui->scanDelete, &QPushButton::clicked, this, &ScanView::deleteEvents);
    connect(m_ui->scanExport, &QPushButton::clicked, this, &ScanView::exportEvents);
    connect(m_ui->scanTest, &QPushButton::clicked, this, &ScanView::testSyslog);
}

void ScanView::setTestMessageDestination(std::string address, std::uint16_t port) {
    m_testAddress = std::move(address);
    m_testPort = port;
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
    m_removals->drain();
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
    m_removals->post(
        record, m_model->store().dates().formatTimestamp(record.date.value_or(std::string_view()),
                                                         m_runtime.newDateFormat));
}

void ScanView::doubleClickTable(const QModelIndex& index) {
    if (!index.isValid()) {
        return;
    }
    auto* sheet =
        new ScanViewEvent(m_model->store(), m_model->eventAt(index.row()), m_ui->tableView, this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
}

std::vector<EventId> ScanView::selectedEvents() const {
    // Read from the selection's ranges: selecting all of ten million rows is one range.
    std::vector<EventId> events;
    for (const QItemSelectionRange& range : m_ui->tableView->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            events.push_back(m_model->eventAt(row));
        }
    }
    // Rows from the top hold ever older events: one range gives them in descending order.
    if (std::is_sorted(events.begin(), events.end(), std::greater<>())) {
        std::reverse(events.begin(), events.end());
    } else {
        std::sort(events.begin(), events.end());
    }
    events.erase(std::unique(events.begin(), events.end()), events.end());
    return events;
}

std::optional<ScanView::Choice> ScanView::chooseEvents(const QString& allButton) {
    m_removals->drain();
    if (std::vector<EventId> selected = selectedEvents(); !selected.empty()) {
        return Choice{std::move(selected), false};
    }
    // All events are those in the list as the alert opens, not those that arrive while it is.
    const EventStore& store = m_model->store();
    const EventId before = store.nextId();
    if (!showAlert(this, tr("No events selected"),
                   tr("Please select specific events or check all events."), allButton)) {
        return std::nullopt;
    }
    return Choice{store.eventsInList(before), true};
}

void ScanView::startTask(PageTask* task, void (ScanView::*finished)()) {
    m_task = task;
    connect(task, &PageTask::finished, this, [this, task, finished] {
        m_task = nullptr;
        task->deleteLater();
        emit(this->*finished)();
    });
    task->start();
}

void ScanView::deleteEvents() {
    if (m_task) {
        return;
    }
    std::optional<Choice> chosen = chooseEvents(tr("Delete all events"));
    if (!chosen) {
        return;
    }
    const bool confirmed =
        chosen->all
            ? askYesNo(this, tr("Are you sure you want to delete all events?"),
                       tr("By clicking 'Yes' you will permanently delete all events."))
            : askYesNo(this, tr("Are you sure you want to delete selected events?"),
                       tr("By clicking 'Yes' you will permanently delete selected events."));
    if (!confirmed) {
        return;
    }
    // Removals that arrived while the question was open come first.
    m_removals->drain();
    auto* deletion = new EventDeletion(this, *m_model, std::move(chosen->events),
                                       m_runtime.newDateFormat, m_dataDirectory, m_progressDelay);
    connect(deletion, &EventDeletion::rowsRemoved, m_ui->tableView, &QTableView::clearSelection);
    startTask(deletion, &ScanView::deletionFinished);
}

void ScanView::exportEvents() {
    if (m_task) {
        return;
    }
    std::optional<Choice> chosen = chooseEvents(tr("Export all events"));
    if (!chosen) {
        return;
    }
    const std::optional<QString> path =
        chooseFileToSave(this, tr("Please select export file name with 'txt' or 'csv' extensions:"),
                         {{tr("Text"), {QStringLiteral("txt")}},
                          {tr("Comma-separated values"), {QStringLiteral("csv")}}});
    if (!path) {
        return;
    }
    m_removals->drain();
    // The columns as the user arranged them.
    const QHeaderView& header = *m_ui->tableView->horizontalHeader();
    std::vector<int> columns;
    std::vector<std::string> titles;
    for (int visual = 0; visual < header.count(); ++visual) {
        columns.push_back(header.logicalIndex(visual));
        titles.push_back(
            m_model->headerData(columns.back(), Qt::Horizontal).toString().toStdString());
    }
    startTask(new EventExport(this, *m_model, std::move(chosen->events), std::move(columns), titles,
                              QFile::encodeName(*path).toStdString(), m_progressDelay),
              &ScanView::exportFinished);
}

void ScanView::testSyslog() {
    Result<TestMessage> message = TestMessage::open();
    if (!message) {
        return;
    }
    // Whether the server got it shows only as the event in the table: the send is not checked.
    [[maybe_unused]] const Status sent = message->send(m_testAddress, m_testPort);
    // The socket stays open, one descriptor per press, as the console has always left it. The
    // datagram is in the kernel's hands once sent, so closing would change nothing the user
    // sees; keeping the known behaviour costs a descriptor per press, far from any limit.
    std::move(*message).leaveOpen();
}

void ScanView::syslogActions() {
    emit settingsPageRequested(Page::Actions, Page::Scan);
}

void ScanView::syslogOptions() {
    emit settingsPageRequested(Page::Options, Page::Scan);
}

} // namespace velmora
