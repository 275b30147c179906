#include "tools/ToolsViewOptions.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include <QDir>
#include <QItemSelectionModel>
#include <QScrollBar>
#include <QShowEvent>
#include <QTableView>

#include "app/AppDelegate.h"
#include "app/FileDialogs.h"
#include "app/FocusHolder.h"
#include "core/archive/KeyedArchive.h"
#include "core/settings/RuntimeSettings.h"
#include "core/settings/SettingsSchema.h"
#include "tools/FilterListModel.h"
#include "tools/Stepper.h"
#include "tools/ToolsViewFilter.h"
#include "ui_ToolsViewOptions.h"

namespace velmora {

namespace {

// Popups start with this time, in seconds, when the user switches them on.
constexpr std::int64_t kPopupTimeWhenSwitchedOn = 10;

std::string keyOf(std::string_view prefix, Severity severity, std::string_view tail = {}) {
    return std::string(prefix).append(severityKeySuffix(severity)).append(tail);
}

// A key of this page as every reader sees it: with no settings file, its default; with one,
// the stored value, or 0, NO, "" or [] where the key is missing.
Value setting(const std::optional<Dictionary>& stored, std::string_view name) {
    const SettingKey* key = findSettingKey(name);
    return key != nullptr ? readSetting(stored, *key) : Value();
}

std::string settingString(const std::optional<Dictionary>& stored, std::string_view name) {
    const Value value = setting(stored, name);
    const std::string* text = value.asString();
    return text != nullptr ? *text : std::string();
}

Array settingArray(const std::optional<Dictionary>& stored, std::string_view name) {
    Value value = setting(stored, name);
    Array* array = value.asArray();
    return array != nullptr ? std::move(*array) : Array();
}

Value title(Severity severity) {
    return Value(popupOptionTitle(severity));
}

bool contains(const Array& list, const Value& entry) {
    return std::find(list.begin(), list.end(), entry) != list.end();
}

// The run-time lists hold the texts only: an entry that is no text can name no severity.
std::vector<std::string> texts(const Array& list) {
    std::vector<std::string> out;
    for (const Value& entry : list) {
        if (const std::string* text = entry.asString()) {
            out.push_back(*text);
        }
    }
    return out;
}

// One severity's popup or sound check box changed: its title joins the end of the list, or its
// first occurrence leaves it, so that the list follows the order of the user's clicks.
void follow(Array& list, Severity severity, bool checked) {
    const Value entry = title(severity);
    const auto found = std::find(list.begin(), list.end(), entry);
    if (checked && found == list.end()) {
        list.push_back(entry);
    } else if (!checked && found != list.end()) {
        list.erase(found);
    }
}

std::optional<int> selectedRow(const QTableView& table) {
    const QModelIndexList rows = table.selectionModel()->selectedRows();
    if (rows.isEmpty()) {
        return std::nullopt;
    }
    return rows.front().row();
}

void whiten(QWidget& widget) {
    widget.setAutoFillBackground(true);
    QPalette white = widget.palette();
    white.setColor(QPalette::Window, Qt::white);
    widget.setPalette(white);
}

} // namespace

ToolsViewOptions::ToolsViewOptions(AppDelegate& delegate, QWidget* parent)
    : SettingsPage(delegate, parent)
    , m_ui(std::make_unique<Ui::ToolsViewOptions>())
    , m_includeFiltersController(new FilterListModel(this))
    , m_excludeFiltersController(new FilterListModel(this)) {
    m_ui->setupUi(this);
    whiten(*this);
    whiten(*m_ui->scrollContents);
    makeFocusHolder(*m_ui->optionsBlank);
    gatherControls();
    connectDisplayGroups();
    connectRemovalGroup();
    connectPopupGroup();
    connectFilterLists();
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ToolsViewOptions::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewOptions::onCancel);
}

ToolsViewOptions::~ToolsViewOptions() = default;

QString ToolsViewOptions::soundDirectory() {
    const QString system = QStringLiteral("/System/Library/Sounds");
    return QDir(system).exists() ? system : QStringLiteral("/usr/share/sounds");
}

void ToolsViewOptions::gatherControls() {
    Ui::ToolsViewOptions& ui = *m_ui;
    m_levelBoxes = {ui.severityEmergency,   ui.severityAlerting, ui.severityCritical,
                    ui.severityError,       ui.severityWarning,  ui.severityNotice,
                    ui.severityInformation, ui.severityDebug,    ui.severityUnknown};
    m_removalRows = {{
        {ui.removalEmergency, ui.removalEmergencyTime, ui.removalEmergencyStepper,
         ui.removalEmergencyUnits},
        {ui.removalAlerting, ui.removalAlertingTime, ui.removalAlertingStepper,
         ui.removalAlertingUnits},
        {ui.removalCritical, ui.removalCriticalTime, ui.removalCriticalStepper,
         ui.removalCriticalUnits},
        {ui.removalError, ui.removalErrorTime, ui.removalErrorStepper, ui.removalErrorUnits},
        {ui.removalWarning, ui.removalWarningTime, ui.removalWarningStepper,
         ui.removalWarningUnits},
        {ui.removalNotice, ui.removalNoticeTime, ui.removalNoticeStepper, ui.removalNoticeUnits},
        {ui.removalInformation, ui.removalInformationTime, ui.removalInformationStepper,
         ui.removalInformationUnits},
        {ui.removalDebug, ui.removalDebugTime, ui.removalDebugStepper, ui.removalDebugUnits},
        {ui.removalUnknown, ui.removalUnknownTime, ui.removalUnknownStepper,
         ui.removalUnknownUnits},
    }};
    m_displayBoxes = {ui.popupEmergencyDisplay,   ui.popupAlertingDisplay, ui.popupCriticalDisplay,
                      ui.popupErrorDisplay,       ui.popupWarningDisplay,  ui.popupNoticeDisplay,
                      ui.popupInformationDisplay, ui.popupDebugDisplay,    ui.popupUnknownDisplay};
    m_playBoxes = {ui.popupEmergencyPlay,   ui.popupAlertingPlay, ui.popupCriticalPlay,
                   ui.popupErrorPlay,       ui.popupWarningPlay,  ui.popupNoticePlay,
                   ui.popupInformationPlay, ui.popupDebugPlay,    ui.popupUnknownPlay};
}

void ToolsViewOptions::connectDisplayGroups() {
    for (QRadioButton* radio : {m_ui->hostsDisplayIP, m_ui->hostsDisplayName}) {
        connect(radio, &QRadioButton::clicked, this, &ToolsViewOptions::hostsDisplay);
    }
    for (QRadioButton* radio : {m_ui->localeDateFormat, m_ui->definedDateFormat}) {
        connect(radio, &QRadioButton::clicked, this, &ToolsViewOptions::dateFormat);
    }
    for (QComboBox* combo : {m_ui->userDateFormat, m_ui->userTimeFormat}) {
        connect(combo, &QComboBox::activated, this, &ToolsViewOptions::enableSave);
    }
    for (QComboBox* combo : m_levelBoxes) {
        connect(combo, &QComboBox::activated, this, &ToolsViewOptions::eventsSeverity);
    }
}

void ToolsViewOptions::connectRemovalGroup() {
    for (const Severity severity : kAllSeverities) {
        const RemovalRow& row = m_removalRows[severityIndex(severity)];
        connect(row.rule, &QCheckBox::clicked, this,
                [this, severity] { removalRule(severity, Trigger::User); });
        pairFieldWithStepper(*row.time, *row.stepper, [this, severity](std::int64_t amount) {
            m_removalAmounts[severityIndex(severity)] = amount;
            eventsRemoval();
        });
        connect(row.units, &QComboBox::activated, this, &ToolsViewOptions::eventsRemoval);
    }
}

void ToolsViewOptions::connectPopupGroup() {
    connect(m_ui->popupEventsDisplay, &QCheckBox::clicked, this,
            [this] { popupEvents(Trigger::User); });
    pairFieldWithStepper(*m_ui->popupEventsTime, *m_ui->popupEventsStepper,
                         [this](std::int64_t seconds) {
                             m_popupEvents = seconds;
                             popupTimeout();
                         });
    connect(m_ui->popupEventsPlay, &QCheckBox::clicked, this,
            [this] { popupSound(Trigger::User); });
    connect(m_ui->popupSoundBrowse, &QPushButton::clicked, this,
            &ToolsViewOptions::popupSoundBrowse);
    for (const Severity severity : kAllSeverities) {
        const std::size_t i = severityIndex(severity);
        connect(m_displayBoxes[i], &QCheckBox::clicked, this,
                [this, severity] { popupEventsDisplay(severity); });
        connect(m_playBoxes[i], &QCheckBox::clicked, this,
                [this, severity] { popupEventsPlay(severity); });
    }
    for (const RemovalRow& row : m_removalRows) {
        connect(row.time, &QLineEdit::textEdited, this,
                [this, field = row.time] { controlTextDidChange(*field); });
    }
    for (QLineEdit* field : {m_ui->popupEventsTime, m_ui->popupSoundFile}) {
        connect(field, &QLineEdit::textEdited, this,
                [this, field] { controlTextDidChange(*field); });
    }
}

void ToolsViewOptions::connectFilterLists() {
    m_ui->includeFiltersTable->setModel(m_includeFiltersController);
    m_ui->excludeFiltersTable->setModel(m_excludeFiltersController);
    connect(m_ui->includeFiltersTable->selectionModel(), &QItemSelectionModel::selectionChanged,
            this, &ToolsViewOptions::includeFiltersTable);
    connect(m_ui->excludeFiltersTable->selectionModel(), &QItemSelectionModel::selectionChanged,
            this, &ToolsViewOptions::excludeFiltersTable);
    for (QPushButton* button : {m_ui->includeFiltersAdd, m_ui->includeFiltersEdit}) {
        connect(button, &QPushButton::clicked, this, [this, button] { includeFilters(*button); });
    }
    for (QPushButton* button : {m_ui->excludeFiltersAdd, m_ui->excludeFiltersEdit}) {
        connect(button, &QPushButton::clicked, this, [this, button] { excludeFilters(*button); });
    }
    connect(m_ui->includeFiltersRemove, &QPushButton::clicked, this,
            &ToolsViewOptions::includeFiltersRemove);
    connect(m_ui->excludeFiltersRemove, &QPushButton::clicked, this,
            &ToolsViewOptions::excludeFiltersRemove);
}

void ToolsViewOptions::showEvent(QShowEvent* event) {
    SettingsPage::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
        m_ui->optionsBlank->setFocus();
    }
}

void ToolsViewOptions::viewWillAppear() {
    m_ui->saveButton->setEnabled(false);
    m_ui->scrollView->horizontalScrollBar()->setValue(0);
    m_ui->scrollView->verticalScrollBar()->setValue(0);
    const std::optional<Dictionary> stored = delegate().settingsStore().readDictionary();
    m_settings = stored.value_or(Dictionary());
    readWorkingValues(stored);
    showDisplayGroups(QString::fromStdString(settingString(stored, "dateFormat")));
    showRemovalGroup();
    showPopupGroup();
    showFilterLists(stored);
}

void ToolsViewOptions::readWorkingValues(const std::optional<Dictionary>& stored) {
    m_hostsDisplay = setting(stored, "hostsDisplay").toBoolean();
    for (const Severity severity : kAllSeverities) {
        const std::size_t i = severityIndex(severity);
        m_levels[severity] = setting(stored, keyOf("severity", severity)).toInteger();
        m_removalAmounts[i] = setting(stored, keyOf("removal", severity)).toInteger();
        m_removalUnits[i] = setting(stored, keyOf("removal", severity, "Units")).toInteger();
    }
    m_popupEvents = setting(stored, "popupEvents").toInteger();
    // Absent and empty differ: Save removes an absent sound path and writes an empty one.
    m_popupSound = stored && stored->contains("popupSound")
                       ? std::optional<std::string>(stored->string("popupSound"))
                       : std::nullopt;
    m_popupDisplayArray = settingArray(stored, "popupDisplayArray");
    m_popupPlayArray = settingArray(stored, "popupPlayArray");
}

void ToolsViewOptions::showDisplayGroups(const QString& storedDateFormat) {
    (m_hostsDisplay ? m_ui->hostsDisplayName : m_ui->hostsDisplayIP)->setChecked(true);

    const bool defined = !storedDateFormat.isEmpty();
    (defined ? m_ui->definedDateFormat : m_ui->localeDateFormat)->setChecked(true);
    m_ui->userDateFormat->setEnabled(defined);
    m_ui->userTimeFormat->setEnabled(defined);
    const QStringList parts = storedDateFormat.split(QLatin1Char(' '));
    const QString time = parts.value(1);
    // A 12-hour pattern is listed with the day period after it.
    const QString timeItem = time.startsWith(QLatin1Char('h'))   ? time + QStringLiteral(" AM/PM")
                             : time.startsWith(QLatin1Char('H')) ? time
                                                                 : QString();
    m_ui->userDateFormat->setCurrentIndex(defined ? m_ui->userDateFormat->findText(parts.front())
                                                  : -1);
    m_ui->userTimeFormat->setCurrentIndex(
        defined && !timeItem.isEmpty() ? m_ui->userTimeFormat->findText(timeItem) : -1);

    for (const Severity severity : kAllSeverities) {
        // A stored number that is no level leaves the box without a selection.
        const std::int64_t level = m_levels[severity];
        QComboBox* box = m_levelBoxes[severityIndex(severity)];
        box->setCurrentIndex(level >= 0 && level < box->count() ? static_cast<int>(level) : -1);
    }
}

void ToolsViewOptions::showRemovalGroup() {
    for (const Severity severity : kAllSeverities) {
        const std::size_t i = severityIndex(severity);
        const RemovalRow& row = m_removalRows[i];
        row.rule->setChecked(m_removalAmounts[i] != 0);
        if (m_removalAmounts[i] != 0) {
            showNumber(*row.time, *row.stepper, m_removalAmounts[i]);
            const std::int64_t unit = m_removalUnits[i];
            row.units->setCurrentIndex(
                unit >= 0 && unit < row.units->count() ? static_cast<int>(unit) : -1);
        }
        removalRule(severity, Trigger::Loading);
    }
}

void ToolsViewOptions::showPopupGroup() {
    m_ui->popupEventsDisplay->setChecked(m_popupEvents != 0);
    for (const Severity severity : kAllSeverities) {
        m_displayBoxes[severityIndex(severity)]->setChecked(
            contains(m_popupDisplayArray, title(severity)));
    }
    showNumber(*m_ui->popupEventsTime, *m_ui->popupEventsStepper, m_popupEvents);
    popupEvents(Trigger::Loading);

    m_ui->popupEventsPlay->setChecked(m_popupSound && !m_popupSound->empty());
    m_ui->popupSoundFile->setText(QString::fromStdString(m_popupSound.value_or(std::string())));
    for (const Severity severity : kAllSeverities) {
        m_playBoxes[severityIndex(severity)]->setChecked(
            contains(m_popupPlayArray, title(severity)));
    }
    popupSound(Trigger::Loading);
}

void ToolsViewOptions::showFilterLists(const std::optional<Dictionary>& stored) {
    m_includeFiltersController->setRecords(settingArray(stored, "includeFiltersArray"));
    m_excludeFiltersController->setRecords(settingArray(stored, "excludeFiltersArray"));
    m_ui->includeFiltersTable->clearSelection();
    m_ui->excludeFiltersTable->clearSelection();
    includeFiltersTable();
    excludeFiltersTable();
}

void ToolsViewOptions::enableSave() {
    m_ui->saveButton->setEnabled(true);
}

void ToolsViewOptions::hostsDisplay() {
    enableSave();
}

void ToolsViewOptions::dateFormat() {
    if (m_ui->localeDateFormat->isChecked()) {
        for (QComboBox* combo : {m_ui->userDateFormat, m_ui->userTimeFormat}) {
            combo->setEnabled(false);
            combo->setCurrentIndex(-1);
        }
    }
    if (m_ui->definedDateFormat->isChecked()) {
        for (QComboBox* combo : {m_ui->userDateFormat, m_ui->userTimeFormat}) {
            combo->setEnabled(true);
            combo->setCurrentIndex(0);
        }
    }
    enableSave();
}

void ToolsViewOptions::eventsSeverity() {
    for (const Severity severity : kAllSeverities) {
        m_levels[severity] = m_levelBoxes[severityIndex(severity)]->currentIndex();
    }
    enableSave();
}

void ToolsViewOptions::removalRule(Severity severity, Trigger trigger) {
    const std::size_t i = severityIndex(severity);
    const RemovalRow& row = m_removalRows[i];
    const bool on = row.rule->isChecked();
    row.stepper->setEnabled(on);
    row.time->setEnabled(on);
    row.units->setEnabled(on);
    if (on) {
        if (trigger == Trigger::Loading) {
            return;
        }
        // A rule switched on starts afresh, whatever it held before.
        m_removalAmounts[i] = 1;
        showNumber(*row.time, *row.stepper, 1);
        row.units->setCurrentIndex(0);
    } else {
        m_removalAmounts[i] = 0;
        row.time->clear();
        row.units->setCurrentIndex(-1);
    }
    if (trigger == Trigger::User) {
        enableSave();
    }
}

void ToolsViewOptions::eventsRemoval() {
    enableSave();
}

void ToolsViewOptions::popupTimeout() {
    enableSave();
}

void ToolsViewOptions::popupEvents(Trigger trigger) {
    const bool on = m_ui->popupEventsDisplay->isChecked();
    m_ui->popupEventsTime->setEnabled(on);
    m_ui->popupEventsStepper->setEnabled(on);
    for (QCheckBox* box : m_displayBoxes) {
        box->setEnabled(on);
    }
    if (on) {
        if (trigger == Trigger::Loading) {
            return;
        }
        m_popupEvents = kPopupTimeWhenSwitchedOn;
        showNumber(*m_ui->popupEventsTime, *m_ui->popupEventsStepper, m_popupEvents);
        for (const Severity severity : kAllSeverities) {
            m_displayBoxes[severityIndex(severity)]->setChecked(true);
            m_popupDisplayArray.push_back(title(severity));
        }
    } else {
        m_popupEvents = 0;
        m_ui->popupEventsTime->clear();
        for (QCheckBox* box : m_displayBoxes) {
            box->setChecked(false);
        }
        m_popupDisplayArray.clear();
    }
    if (trigger == Trigger::User) {
        enableSave();
    }
}

void ToolsViewOptions::popupSound(Trigger trigger) {
    const bool on = m_ui->popupEventsPlay->isChecked();
    m_ui->popupSoundFile->setEnabled(on);
    m_ui->popupSoundBrowse->setEnabled(on);
    for (QCheckBox* box : m_playBoxes) {
        box->setEnabled(on);
    }
    if (on) {
        if (trigger == Trigger::Loading) {
            return;
        }
        for (const Severity severity : kAllSeverities) {
            m_playBoxes[severityIndex(severity)]->setChecked(true);
            m_popupPlayArray.push_back(title(severity));
        }
    } else {
        // Only the field is cleared: the working path stays and is saved with the sound off.
        m_ui->popupSoundFile->clear();
        for (QCheckBox* box : m_playBoxes) {
            box->setChecked(false);
        }
        m_popupPlayArray.clear();
    }
    if (trigger == Trigger::User) {
        enableSave();
    }
}

void ToolsViewOptions::popupEventsDisplay(Severity severity) {
    follow(m_popupDisplayArray, severity, m_displayBoxes[severityIndex(severity)]->isChecked());
    enableSave();
}

void ToolsViewOptions::popupEventsPlay(Severity severity) {
    follow(m_popupPlayArray, severity, m_playBoxes[severityIndex(severity)]->isChecked());
    enableSave();
}

void ToolsViewOptions::popupSoundBrowse() {
    QList<FileType> types = {{tr("AIFF sound"), {QStringLiteral("aiff"), QStringLiteral("aif")}},
                             {tr("WAV sound"), {QStringLiteral("wav")}},
                             {tr("Ogg sound"), {QStringLiteral("ogg"), QStringLiteral("oga")}},
                             {tr("FLAC sound"), {QStringLiteral("flac")}}};
    // Shown first, so that the start folder lists every sound the console can play.
    FileType playable{tr("Sound files"), {}};
    for (const FileType& type : types) {
        playable.extensions += type.extensions;
    }
    types.prepend(playable);
    const std::optional<QString> path = chooseFileToOpen(
        this, tr("Please select sound file name with 'aif' extension:"), types, soundDirectory());
    if (!path) {
        return;
    }
    m_ui->popupSoundFile->setText(*path);
    m_popupSound = path->toStdString();
    enableSave();
}

void ToolsViewOptions::controlTextDidChange(const QLineEdit& field) {
    if (&field == m_ui->popupSoundFile) {
        m_popupSound = field.text().toStdString();
    }
    enableSave();
}

void ToolsViewOptions::includeFilters(const QAbstractButton& sender) {
    if (sender.text().contains(QLatin1String("Add"))) {
        m_ui->includeFiltersTable->clearSelection();
        m_ui->includeFiltersEdit->setEnabled(false);
        m_ui->includeFiltersRemove->setEnabled(false);
    }
    m_filterList = FilterList::Include;
    openFilterEditor();
}

void ToolsViewOptions::excludeFilters(const QAbstractButton& sender) {
    // The exclude list's Add clears the include list's selection, not its own, so that with an
    // exclude filter selected, Add edits that filter. This is how the page has always behaved,
    // and it is kept.
    if (sender.text().contains(QLatin1String("Add"))) {
        m_ui->includeFiltersTable->clearSelection();
        m_ui->includeFiltersEdit->setEnabled(false);
        m_ui->includeFiltersRemove->setEnabled(false);
    }
    m_filterList = FilterList::Exclude;
    openFilterEditor();
}

void ToolsViewOptions::openFilterEditor() {
    const bool include = m_filterList == FilterList::Include;
    const QTableView& table = include ? *m_ui->includeFiltersTable : *m_ui->excludeFiltersTable;
    const FilterListModel& list =
        include ? *m_includeFiltersController : *m_excludeFiltersController;
    std::optional<Dictionary> record;
    if (const std::optional<int> row = selectedRow(table)) {
        record = list.recordAt(*row);
    }
    auto* sheet = new ToolsViewFilter(std::move(record), this);
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet, &ToolsViewFilter::filterSaved, this, &ToolsViewOptions::storeFilter);
    sheet->open();
}

void ToolsViewOptions::storeFilter(const Dictionary& record) {
    const bool include = m_filterList == FilterList::Include;
    QTableView& table = include ? *m_ui->includeFiltersTable : *m_ui->excludeFiltersTable;
    FilterListModel& list = include ? *m_includeFiltersController : *m_excludeFiltersController;
    if (const std::optional<int> row = selectedRow(table)) {
        list.replace(*row, record);
    } else {
        list.append(record);
        table.clearSelection();
    }
    enableSave();
}

void ToolsViewOptions::includeFiltersTable() {
    const bool selected = selectedRow(*m_ui->includeFiltersTable).has_value();
    m_ui->includeFiltersEdit->setEnabled(selected);
    m_ui->includeFiltersRemove->setEnabled(selected);
}

void ToolsViewOptions::excludeFiltersTable() {
    const bool selected = selectedRow(*m_ui->excludeFiltersTable).has_value();
    m_ui->excludeFiltersEdit->setEnabled(selected);
    m_ui->excludeFiltersRemove->setEnabled(selected);
}

void ToolsViewOptions::includeFiltersRemove() {
    removeSelectedFilter(*m_ui->includeFiltersTable, *m_includeFiltersController);
}

void ToolsViewOptions::excludeFiltersRemove() {
    removeSelectedFilter(*m_ui->excludeFiltersTable, *m_excludeFiltersController);
}

void ToolsViewOptions::removeSelectedFilter(QTableView& table, FilterListModel& list) {
    const std::optional<int> row = selectedRow(table);
    if (!row) {
        return;
    }
    list.removeEqualTo(*row);
    table.clearSelection();
    enableSave();
}

QString ToolsViewOptions::chosenDateFormat() const {
    if (!m_ui->definedDateFormat->isChecked()) {
        return {};
    }
    return QStringLiteral("%1 %2").arg(m_ui->userDateFormat->currentText(),
                                       m_ui->userTimeFormat->currentText());
}

void ToolsViewOptions::onSave() {
    const QString newDateFormat = chosenDateFormat();
    writeSettings(newDateFormat);
    // A failed write is the store's own; the page shows no message.
    (void)delegate().saveSettings(keyed_archive::encode(Value(m_settings)));
    updateRuntime(newDateFormat);
    onCancel();
}

void ToolsViewOptions::writeSettings(const QString& newDateFormat) {
    if (m_ui->hostsDisplayIP->isChecked()) {
        m_hostsDisplay = false;
    } else if (m_ui->hostsDisplayName->isChecked()) {
        m_hostsDisplay = true;
    }
    m_settings.set("hostsDisplay", Value(m_hostsDisplay));
    m_settings.set("dateFormat", Value(newDateFormat.toStdString()));
    for (const Severity severity : kAllSeverities) {
        m_settings.set(keyOf("severity", severity), Value(m_levels[severity]));
    }
    for (const Severity severity : kAllSeverities) {
        m_settings.set(keyOf("removal", severity),
                       Value(m_removalAmounts[severityIndex(severity)]));
    }
    // The unit is the combo box's selection at this moment: -1 for a rule that is off.
    for (const Severity severity : kAllSeverities) {
        m_settings.set(keyOf("removal", severity, "Units"),
                       Value(m_removalRows[severityIndex(severity)].units->currentIndex()));
    }
    m_settings.set("popupEvents", Value(m_popupEvents));
    if (m_popupSound) {
        m_settings.set("popupSound", Value(*m_popupSound));
    } else {
        m_settings.erase("popupSound");
    }
    m_settings.set("popupDisplayArray", Value(m_popupDisplayArray));
    m_settings.set("popupPlayArray", Value(m_popupPlayArray));
    m_settings.set("includeFiltersArray", Value(m_includeFiltersController->records()));
    m_settings.set("excludeFiltersArray", Value(m_excludeFiltersController->records()));
}

void ToolsViewOptions::updateRuntime(const QString& newDateFormat) {
    RuntimeSettings& runtime = delegate().runtime();
    runtime.oldDateFormat = runtime.newDateFormat;
    runtime.newDateFormat = newDateFormat.toStdString();
    runtime.levels = m_levels;
    runtime.iPopupEvents = m_popupEvents;
    runtime.popupSound = m_popupSound.value_or(std::string());
    runtime.popupDisplayArray = texts(m_popupDisplayArray);
    runtime.popupPlayArray = texts(m_popupPlayArray);
}

} // namespace velmora
