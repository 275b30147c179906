#include "actions/ToolsViewActions.h"

#include <QShowEvent>

#include "actions/ActionListModel.h"
#include "actions/ActionView.h"
#include "actions/ActionsEmailFormat.h"
#include "actions/ActionsEmailServer.h"
#include "actions/ActionsEmailTest.h"
#include "app/AppDelegate.h"
#include "app/LinkStyle.h"
#include "app/Logging.h"
#include "ui_ToolsViewActions.h"

namespace velmora {

namespace {

constexpr std::string_view kActionsArray = "actionsArray";

} // namespace

ToolsViewActions::ToolsViewActions(AppDelegate& delegate, QWidget* parent)
    : SettingsPage(delegate, parent)
    , m_ui(std::make_unique<Ui::ToolsViewActions>())
    , m_actions(new ActionListModel(this)) {
    m_ui->setupUi(this);
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);

    m_ui->actionsTable->setModel(m_actions);
    connect(m_ui->actionsTable->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ToolsViewActions::automaticActionsTable);
    connect(m_ui->actionsAdd, &QPushButton::clicked, this, &ToolsViewActions::addAction);
    connect(m_ui->actionsEdit, &QPushButton::clicked, this, &ToolsViewActions::automaticActions);
    connect(m_ui->actionsRemove, &QPushButton::clicked, this, &ToolsViewActions::removeActions);

    for (ToolsViewLink* link : {m_ui->emailServer, m_ui->emailFormat, m_ui->emailTest}) {
        restyleAsLink(*link);
    }
    connect(m_ui->emailServer, &ToolsViewLink::clicked, this, &ToolsViewActions::emailServer);
    connect(m_ui->emailFormat, &ToolsViewLink::clicked, this, &ToolsViewActions::emailFormat);
    connect(m_ui->emailTest, &ToolsViewLink::clicked, this, &ToolsViewActions::emailTest);

    connect(m_ui->saveButton, &QPushButton::clicked, this, &ToolsViewActions::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewActions::onCancel);
}

ToolsViewActions::~ToolsViewActions() = default;

void ToolsViewActions::showEvent(QShowEvent* event) {
    SettingsPage::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ToolsViewActions::viewWillAppear() {
    m_ui->saveButton->setEnabled(false);
    m_settings = delegate().settingsStore().readDictionary().value_or(Dictionary());
    m_actions->setRecords(m_settings.array(kActionsArray));
    deselectAll();
}

std::optional<int> ToolsViewActions::selectedRow() const {
    const QModelIndexList rows = m_ui->actionsTable->selectionModel()->selectedRows();
    if (rows.isEmpty()) {
        return std::nullopt;
    }
    return rows.front().row();
}

void ToolsViewActions::deselectAll() {
    m_ui->actionsTable->clearSelection();
    automaticActionsTable();
}

void ToolsViewActions::automaticActionsTable() {
    const bool selected = selectedRow().has_value();
    m_ui->actionsEdit->setEnabled(selected);
    m_ui->actionsRemove->setEnabled(selected);
}

void ToolsViewActions::addAction() {
    deselectAll();
    automaticActions();
}

void ToolsViewActions::automaticActions() {
    // With no row selected the editor starts a new action.
    std::optional<Dictionary> editing;
    if (const std::optional<int> row = selectedRow()) {
        editing = m_actions->recordAt(*row);
    }
    auto* sheet = new ActionView(std::move(editing), this);
    connect(sheet, &ActionView::actionSaved, this, &ToolsViewActions::storeAction);
    openSheet(sheet);
}

void ToolsViewActions::storeAction(const Dictionary& action) {
    if (const std::optional<int> row = selectedRow()) {
        m_actions->replace(*row, action);
    } else {
        m_actions->append(action);
        deselectAll();
    }
    m_ui->saveButton->setEnabled(true);
}

void ToolsViewActions::removeActions() {
    if (const std::optional<int> row = selectedRow()) {
        m_actions->removeEqualTo(*row);
        deselectAll();
        m_ui->saveButton->setEnabled(true);
    }
}

void ToolsViewActions::emailServer() {
    openSheet(new ActionsEmailServer(delegate(), this));
}

void ToolsViewActions::emailFormat() {
    openSheet(new ActionsEmailFormat(delegate(), this));
}

void ToolsViewActions::emailTest() {
    openSheet(new ActionsEmailTest(delegate(), this));
}

void ToolsViewActions::openSheet(QDialog* sheet) {
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    sheet->open();
}

void ToolsViewActions::onSave() {
    // Every other key is written back as it was read when the page appeared.
    m_settings.set(std::string(kActionsArray), m_actions->records());
    if (const Status saved = delegate().settingsStore().saveDictionary(m_settings); !saved) {
        qCInfo(lcApp) << "actions not saved:" << saved.error().message.c_str();
    }
    onCancel();
}

} // namespace velmora
