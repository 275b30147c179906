#include "tools/ToolsViewFilter.h"

#include <string_view>
#include <utility>

#include <QShowEvent>

#include "app/FocusHolder.h"
#include "app/PriorityItems.h"
#include "tools/FilterRecord.h"
#include "ui_ToolsViewFilter.h"

namespace velmora {

namespace {

QString text(const Dictionary& record, std::string_view key) {
    return QString::fromStdString(record.string(key));
}

QString text(std::string_view s) {
    return QString::fromUtf8(s.data(), static_cast<qsizetype>(s.size()));
}

// The item equal to the stored text; a text that is no item is shown as it was stored, so that
// saving the filter again keeps it.
void showChoice(QComboBox& combo, const QString& stored) {
    const int index = combo.findText(stored);
    if (index >= 0) {
        combo.setCurrentIndex(index);
    } else {
        combo.setEditText(stored);
    }
}

} // namespace

ToolsViewFilter::ToolsViewFilter(std::optional<Dictionary> record, QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::ToolsViewFilter>())
    , m_record(std::move(record)) {
    m_ui->setupUi(this);
    setWindowModality(Qt::WindowModal);
    makeFocusHolder(*m_ui->filterBlank);
    fillFacilityItems(*m_ui->filterFacility);
    fillSeverityItems(*m_ui->filterSeverity);
    setFixedSize(sizeHint());
    connect(m_ui->filterAnyHost, &QPushButton::clicked, this, &ToolsViewFilter::anyHost);
    connect(m_ui->filterAnyFacility, &QPushButton::clicked, this, &ToolsViewFilter::anyFacility);
    connect(m_ui->filterAnySeverity, &QPushButton::clicked, this, &ToolsViewFilter::anySeverity);
    connect(m_ui->filterAnyMessage, &QPushButton::clicked, this, &ToolsViewFilter::anyMessage);
    connect(m_ui->filterSave, &QPushButton::clicked, this, &ToolsViewFilter::onSave);
    connect(m_ui->filterCancel, &QPushButton::clicked, this, &ToolsViewFilter::onCancel);
}

ToolsViewFilter::~ToolsViewFilter() = default;

void ToolsViewFilter::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ToolsViewFilter::viewWillAppear() {
    if (m_record) {
        showRecord(*m_record);
    } else {
        showNewFilter();
    }
    m_ui->filterBlank->setFocus();
}

void ToolsViewFilter::showRecord(const Dictionary& record) {
    m_ui->filterName->setEnabled(false);
    m_ui->filterName->setText(text(record, filter_record::kName));
    m_ui->filterIP->setText(text(record, filter_record::kIP));
    m_ui->filterMessage->setText(text(record, filter_record::kMessage));
    m_ui->filterMask->setText(QString::number(filter_record::maskNumber(record)));
    showChoice(*m_ui->filterFacility, text(record, filter_record::kFacility));
    showChoice(*m_ui->filterSeverity, text(record, filter_record::kSeverity));
}

void ToolsViewFilter::showNewFilter() {
    m_ui->filterName->setText(tr("New Filter"));
    m_ui->filterIP->setText(text(filter_record::kAnyIP));
    m_ui->filterMessage->setText(text(filter_record::kAnyMessage));
    m_ui->filterMask->setText(text(filter_record::kAnyMask));
    m_ui->filterFacility->setCurrentIndex(0);
    m_ui->filterSeverity->setCurrentIndex(0);
}

void ToolsViewFilter::anyHost() {
    m_ui->filterIP->setText(text(filter_record::kAnyIP));
    m_ui->filterMask->setText(text(filter_record::kAnyMask));
}

void ToolsViewFilter::anyFacility() {
    m_ui->filterFacility->setCurrentIndex(0);
}

void ToolsViewFilter::anySeverity() {
    m_ui->filterSeverity->setCurrentIndex(0);
}

void ToolsViewFilter::anyMessage() {
    m_ui->filterMessage->setText(text(filter_record::kAnyMessage));
}

void ToolsViewFilter::onSave() {
    const auto field = [](const QString& s) { return Value(s.toStdString()); };
    Dictionary record;
    record.set(std::string(filter_record::kName), field(m_ui->filterName->text()));
    record.set(std::string(filter_record::kIP), field(m_ui->filterIP->text()));
    record.set(std::string(filter_record::kMessage), field(m_ui->filterMessage->text()));
    record.set(std::string(filter_record::kMask), field(m_ui->filterMask->text()));
    record.set(std::string(filter_record::kFacility), field(m_ui->filterFacility->currentText()));
    record.set(std::string(filter_record::kSeverity), field(m_ui->filterSeverity->currentText()));
    emit filterSaved(record);
    accept();
}

void ToolsViewFilter::onCancel() {
    reject();
}

} // namespace velmora
