#include "tools/ToolsViewExport.h"

#include <utility>

#include <QShowEvent>

#include "app/AppDelegate.h"
#include "app/FileDialogs.h"
#include "core/archive/KeyedArchive.h"
#include "tools/Stepper.h"
#include "ui_ToolsViewExport.h"

namespace velmora {

namespace {

// An export the user switches on starts with this interval.
constexpr std::int64_t kIntervalWhenSwitchedOn = 5;

// The controls of one export, and what it saves.
struct ExportControls {
    QLineEdit& interval;
    Stepper& stepper;
    QLineEdit& location;
    QPushButton& browse;
};

void enable(const ExportControls& controls, bool on) {
    controls.interval.setEnabled(on);
    controls.stepper.setEnabled(on);
    controls.location.setEnabled(on);
    controls.browse.setEnabled(on);
}

std::optional<std::string> storedLocation(const Dictionary& settings, std::string_view key) {
    return settings.contains(key) ? std::optional<std::string>(settings.string(key)) : std::nullopt;
}

void writeLocation(Dictionary& settings, std::string key, const std::optional<std::string>& path) {
    if (path) {
        settings.set(std::move(key), Value(*path));
    } else {
        settings.erase(key);
    }
}

} // namespace

ToolsViewExport::ToolsViewExport(AppDelegate& delegate, QWidget* parent)
    : SettingsPage(delegate, parent)
    , m_ui(std::make_unique<Ui::ToolsViewExport>()) {
    m_ui->setupUi(this);
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
    connectControls();
}

ToolsViewExport::~ToolsViewExport() = default;

void ToolsViewExport::connectControls() {
    connect(m_ui->exportText, &QCheckBox::clicked, this, [this] { exportText(Trigger::User); });
    connect(m_ui->exportDatabase, &QCheckBox::clicked, this,
            [this] { exportDatabase(Trigger::User); });
    // The save reads the intervals from the working values only, so the fields and steppers
    // keep them equal to what they show.
    pairFieldWithStepper(*m_ui->textInterval, *m_ui->textIntervalStepper,
                         [this](std::int64_t interval) {
                             m_textInterval = interval;
                             exportInterval();
                         });
    pairFieldWithStepper(*m_ui->databaseInterval, *m_ui->databaseIntervalStepper,
                         [this](std::int64_t interval) {
                             m_databaseInterval = interval;
                             exportInterval();
                         });
    for (QLineEdit* field :
         {m_ui->textInterval, m_ui->textLocation, m_ui->databaseInterval, m_ui->databaseLocation}) {
        connect(field, &QLineEdit::textEdited, this,
                [this, field] { controlTextDidChange(*field); });
    }
    connect(m_ui->textBrowse, &QPushButton::clicked, this, &ToolsViewExport::browseText);
    connect(m_ui->databaseBrowse, &QPushButton::clicked, this, &ToolsViewExport::browseDatabase);
    connect(m_ui->saveButton, &QPushButton::clicked, this, &ToolsViewExport::onSave);
    connect(m_ui->cancelButton, &QPushButton::clicked, this, &ToolsViewExport::onCancel);
}

void ToolsViewExport::showEvent(QShowEvent* event) {
    SettingsPage::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void ToolsViewExport::viewWillAppear() {
    m_ui->saveButton->setEnabled(false);
    m_textInterval = 0;
    m_databaseInterval = 0;
    m_textLocation.reset();
    m_databaseLocation.reset();
    m_settings = delegate().settingsStore().readDictionary().value_or(Dictionary());
    m_textInterval = m_settings.integer("textInterval");
    m_databaseInterval = m_settings.integer("databaseInterval");
    m_textLocation = storedLocation(m_settings, "textLocation");
    m_databaseLocation = storedLocation(m_settings, "databaseLocation");

    const bool text = m_textInterval != 0 && m_textLocation && !m_textLocation->empty();
    m_ui->exportText->setChecked(text);
    if (text) {
        showNumber(*m_ui->textInterval, *m_ui->textIntervalStepper, m_textInterval);
        m_ui->textLocation->setText(QString::fromStdString(*m_textLocation));
    }
    exportText(Trigger::Filling);

    const bool database =
        m_databaseInterval != 0 && m_databaseLocation && !m_databaseLocation->empty();
    m_ui->exportDatabase->setChecked(database);
    if (database) {
        showNumber(*m_ui->databaseInterval, *m_ui->databaseIntervalStepper, m_databaseInterval);
        m_ui->databaseLocation->setText(QString::fromStdString(*m_databaseLocation));
    }
    exportDatabase(Trigger::Filling);
}

void ToolsViewExport::exportText(Trigger trigger) {
    const ExportControls controls{*m_ui->textInterval, *m_ui->textIntervalStepper,
                                  *m_ui->textLocation, *m_ui->textBrowse};
    const bool on = m_ui->exportText->isChecked();
    enable(controls, on);
    if (on) {
        if (trigger == Trigger::Filling) {
            return;
        }
        m_textInterval = kIntervalWhenSwitchedOn;
        showNumber(controls.interval, controls.stepper, m_textInterval);
    } else {
        // The path is only hidden: it is saved as it was.
        m_textInterval = 0;
        controls.interval.clear();
        controls.location.clear();
    }
    if (trigger == Trigger::User) {
        enableSave();
    }
}

void ToolsViewExport::exportDatabase(Trigger trigger) {
    const ExportControls controls{*m_ui->databaseInterval, *m_ui->databaseIntervalStepper,
                                  *m_ui->databaseLocation, *m_ui->databaseBrowse};
    // Decided by the text export's check box, not by its own: the database export is only
    // offered together with the text export, and ticking it alone leaves it off.
    const bool on = m_ui->exportText->isChecked();
    enable(controls, on);
    if (on) {
        if (trigger == Trigger::Filling) {
            return;
        }
        m_databaseInterval = kIntervalWhenSwitchedOn;
        showNumber(controls.interval, controls.stepper, m_databaseInterval);
    } else {
        m_databaseInterval = 0;
        controls.interval.clear();
        controls.location.clear();
    }
    if (trigger == Trigger::User) {
        enableSave();
    }
}

void ToolsViewExport::browseText() {
    const QList<FileType> types = {{tr("Text"), {QStringLiteral("txt")}},
                                   {tr("Comma-separated values"), {QStringLiteral("csv")}}};
    const std::optional<QString> path = chooseFileToSave(
        this, tr("Please select text file location with 'txt' or 'csv' extensions:"), types);
    if (!path) {
        return;
    }
    m_ui->textLocation->setText(*path);
    m_textLocation = path->toStdString();
    enableSave();
}

void ToolsViewExport::browseDatabase() {
    const QList<FileType> types = {{tr("Database"), {QStringLiteral("db")}}};
    const std::optional<QString> path = chooseFileToSave(
        this, tr("Please select database file location with 'db' extension:"), types);
    if (!path) {
        return;
    }
    m_ui->databaseLocation->setText(*path);
    m_databaseLocation = path->toStdString();
    enableSave();
}

void ToolsViewExport::exportInterval() {
    enableSave();
}

void ToolsViewExport::controlTextDidChange(const QLineEdit& field) {
    if (&field == m_ui->textLocation) {
        m_textLocation = field.text().toStdString();
    } else if (&field == m_ui->databaseLocation) {
        m_databaseLocation = field.text().toStdString();
    }
    enableSave();
}

void ToolsViewExport::enableSave() {
    m_ui->saveButton->setEnabled(true);
}

void ToolsViewExport::onSave() {
    m_settings.set("textInterval", Value(m_textInterval));
    m_settings.set("databaseInterval", Value(m_databaseInterval));
    writeLocation(m_settings, "textLocation", m_textLocation);
    writeLocation(m_settings, "databaseLocation", m_databaseLocation);
    // A failed write is the store's own; the page shows no message.
    (void)delegate().saveSettings(keyed_archive::encode(Value(m_settings)));
    onCancel();
}

} // namespace velmora
