#include "scan/ScanViewEvent.h"

#include <optional>
#include <string>

#include <QItemSelectionModel>
#include <QTableView>

#include "app/WholeText.h"
#include "scan/EventTableModel.h"
#include "ui_ScanViewEvent.h"

namespace velmora {

namespace {

QString text(std::optional<std::string_view> value) {
    return value ? QString::fromUtf8(value->data(), static_cast<qsizetype>(value->size()))
                 : QString();
}

} // namespace

ScanViewEvent::ScanViewEvent(const EventStore& store, EventId event, QTableView* table,
                             QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ScanViewEvent>())
    , m_store(store)
    , m_event(event)
    , m_table(table) {
    m_ui->setupUi(this);
    setWindowModality(Qt::WindowModal);
    connect(m_ui->eventUp, &QPushButton::clicked, this, &ScanViewEvent::onUp);
    connect(m_ui->eventDown, &QPushButton::clicked, this, &ScanViewEvent::onDown);
    connect(m_ui->okButton, &QPushButton::clicked, this, &ScanViewEvent::onOK);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ScanViewEvent::onCancel);
    setDetails();
}

ScanViewEvent::~ScanViewEvent() = default;

void ScanViewEvent::setHideButtons(bool hide) {
    m_hideButtons = hide;
    setDetails();
}

void ScanViewEvent::setDetails() {
    const std::optional<std::string> date = m_store.date(m_event);
    m_ui->eventDate->setText(date ? QString::fromStdString(*date) : QString());
    m_ui->eventPriority->setText(text(m_store.priority(m_event)));
    m_ui->eventHost->setText(text(m_store.host(m_event)));
    showWholeText(*m_ui->eventMessage, text(m_store.message(m_event)));

    const bool hidden = m_hideButtons || !m_table;
    m_ui->eventUp->setHidden(hidden);
    m_ui->eventDown->setHidden(hidden);
    if (hidden) {
        return;
    }
    // With no row selected (a new event dropped the selection) there is nowhere to step from.
    const int row = selectedRow();
    const int rows = m_table->model()->rowCount();
    m_ui->eventUp->setEnabled(row > 0);
    m_ui->eventDown->setEnabled(row >= 0 && row != rows - 1);
}

int ScanViewEvent::selectedRow() const {
    const QItemSelectionModel* selection = m_table->selectionModel();
    if (selection == nullptr) {
        return -1;
    }
    // The row last clicked, as long as it is still selected; else the first selected.
    const QModelIndex current = selection->currentIndex();
    if (current.isValid() && selection->isRowSelected(current.row())) {
        return current.row();
    }
    const QModelIndexList rows = selection->selectedRows();
    return rows.isEmpty() ? -1 : rows.front().row();
}

void ScanViewEvent::step(int offset) {
    if (!m_table) {
        return;
    }
    const auto* model = qobject_cast<const EventTableModel*>(m_table->model());
    const int row = selectedRow();
    const int target = row + offset;
    if (model == nullptr || row < 0 || target < 0 || target >= model->rowCount()) {
        return;
    }
    const QModelIndex index = model->index(target, 0);
    m_table->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                          QItemSelectionModel::Rows);
    m_table->scrollTo(index);
    m_event = model->eventAt(target);
    setDetails();
}

void ScanViewEvent::onUp() {
    step(-1);
}

void ScanViewEvent::onDown() {
    step(1);
}

void ScanViewEvent::onOK() {
    accept();
}

void ScanViewEvent::onCancel() {
    reject();
}

} // namespace velmora
