#include "tools/ToolsViewExport.h"

#include <memory>
#include <string>

#include <QCheckBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include "app/AppDelegate.h"
#include "core/settings/SettingsStore.h"
#include "support/TempDir.h"
#include "tools/Stepper.h"
#include "ui/ModalDriver.h"
#include "ui/SettingsPageTestSupport.h"

using namespace velmora;
using test::retype;

Q_DECLARE_METATYPE(velmora::Dictionary)

namespace {

// What the page shows of one export.
struct Shown {
    bool ticked;
    bool enabled;
    QString interval;
    QString location;
};

} // namespace

Q_DECLARE_METATYPE(Shown)

class ToolsViewExportTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void fillingFromTheSettings_data();
    void fillingFromTheSettings();
    void tickingDatabaseAloneLeavesItOff();
    void tickingTextStartsAtFive();
    void untickingTextKeepsThePath();
    void typedLocationIsSavedAsTyped();
    void choosersFillTheLocations_data();
    void choosersFillTheLocations();
    void savingRewritesEveryOtherKeyAsRead();

private:
    std::unique_ptr<test::TempDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<ToolsViewExport> m_page;

    template <typename Control>
    Control& find(const char* name) const {
        return test::control<Control>(*m_page, name);
    }
    SettingsStore store() const { return SettingsStore(m_data->str()); }
    void storeSettings(const Dictionary& settings) const {
        QVERIFY(store().saveDictionary(settings).ok());
    }
    Dictionary saved() const { return store().readDictionary().value_or(Dictionary()); }
    bool saveEnabled() const { return find<QPushButton>("saveButton").isEnabled(); }
    void save() {
        QVERIFY(saveEnabled());
        find<QPushButton>("saveButton").click();
    }
    Shown shown(const char* check, const char* interval, const char* location) const {
        return {find<QCheckBox>(check).isChecked(), find<QLineEdit>(interval).isEnabled(),
                find<QLineEdit>(interval).text(), find<QLineEdit>(location).text()};
    }
};

void ToolsViewExportTest::init() {
    m_data = std::make_unique<test::TempDir>();
    m_delegate = std::make_unique<AppDelegate>(m_data->str());
    m_page = std::make_unique<ToolsViewExport>(*m_delegate);
}

void ToolsViewExportTest::cleanup() {
    m_page.reset();
    m_delegate.reset();
    m_data.reset();
}

void ToolsViewExportTest::fillingFromTheSettings_data() {
    QTest::addColumn<bool>("file");
    QTest::addColumn<Dictionary>("stored");
    QTest::addColumn<Shown>("text");
    QTest::addColumn<Shown>("database");
    // What a save then stores, as the page holds it (the locations are kept as read).
    QTest::addColumn<int>("textInterval");
    QTest::addColumn<int>("databaseInterval");

    QTest::newRow("no settings file") << false << Dictionary{} << Shown{false, false, "", ""}
                                      << Shown{false, false, "", ""} << 0 << 0;
    QTest::newRow("interval without location")
        << true << Dictionary{{"textInterval", 10}} << Shown{false, false, "", ""}
        << Shown{false, false, "", ""} << 0 << 0;
    QTest::newRow("location without interval")
        << true << Dictionary{{"textLocation", "/srv/out.txt"}} << Shown{false, false, "", ""}
        << Shown{false, false, "", ""} << 0 << 0;
    // With text export on, the database controls are enabled even while unticked.
    QTest::newRow("text export") << true
                                 << Dictionary{{"textInterval", 15},
                                               {"textLocation", "/srv/out.txt"}}
                                 << Shown{true, true, "15", "/srv/out.txt"}
                                 << Shown{false, true, "", ""} << 15 << 0;
    QTest::newRow("database export alone")
        << true << Dictionary{{"databaseInterval", 7}, {"databaseLocation", "/srv/out.db"}}
        << Shown{false, false, "", ""} << Shown{true, false, "", ""} << 0 << 0;
    QTest::newRow("both exports") << true
                                  << Dictionary{{"textInterval", 15},
                                                {"textLocation", "/srv/out.txt"},
                                                {"databaseInterval", 7},
                                                {"databaseLocation", "/srv/out.db"}}
                                  << Shown{true, true, "15", "/srv/out.txt"}
                                  << Shown{true, true, "7", "/srv/out.db"} << 15 << 7;
}

void ToolsViewExportTest::fillingFromTheSettings() {
    QFETCH(bool, file);
    QFETCH(Dictionary, stored);
    QFETCH(Shown, text);
    QFETCH(Shown, database);
    QFETCH(int, textInterval);
    QFETCH(int, databaseInterval);
    if (file) {
        storeSettings(stored);
    }
    m_page->show();

    const Shown shownText = shown("exportText", "textInterval", "textLocation");
    QCOMPARE(shownText.ticked, text.ticked);
    QCOMPARE(shownText.enabled, text.enabled);
    QCOMPARE(shownText.interval, text.interval);
    QCOMPARE(shownText.location, text.location);
    QCOMPARE(find<QPushButton>("textBrowse").isEnabled(), text.enabled);
    const Shown shownDatabase = shown("exportDatabase", "databaseInterval", "databaseLocation");
    QCOMPARE(shownDatabase.ticked, database.ticked);
    QCOMPARE(shownDatabase.enabled, database.enabled);
    QCOMPARE(shownDatabase.interval, database.interval);
    QCOMPARE(shownDatabase.location, database.location);
    QVERIFY(!saveEnabled());

    m_page->onSave();
    const Dictionary settings = saved();
    QCOMPARE(settings.integer("textInterval"), textInterval);
    QCOMPARE(settings.integer("databaseInterval"), databaseInterval);
    for (const char* location : {"textLocation", "databaseLocation"}) {
        QCOMPARE(settings.contains(location), stored.contains(location));
        QCOMPARE(settings.string(location), stored.string(location));
    }
}

void ToolsViewExportTest::tickingDatabaseAloneLeavesItOff() {
    storeSettings(Dictionary{{"databaseLocation", "/srv/out.db"}});
    m_page->show();
    auto& database = find<QCheckBox>("exportDatabase");
    database.click();

    QVERIFY(database.isChecked());
    QVERIFY(!find<QLineEdit>("databaseInterval").isEnabled());
    QVERIFY(!find<Stepper>("databaseIntervalStepper").isEnabled());
    QVERIFY(!find<QPushButton>("databaseBrowse").isEnabled());
    QCOMPARE(find<QLineEdit>("databaseInterval").text(), "");
    save();
    QCOMPARE(saved().integer("databaseInterval"), 0);
    QCOMPARE(saved().string("databaseLocation"), "/srv/out.db");
}

void ToolsViewExportTest::tickingTextStartsAtFive() {
    m_page->show();
    find<QCheckBox>("exportText").click();
    auto& interval = find<QLineEdit>("textInterval");
    auto& stepper = find<Stepper>("textIntervalStepper");
    QCOMPARE(interval.text(), "5");
    QCOMPARE(stepper.value(), 5);
    QVERIFY(saveEnabled());

    // Field and stepper keep the interval that Save writes.
    test::control<QToolButton>(stepper, "stepUp").click();
    QCOMPARE(interval.text(), "6");
    retype(interval, "12");
    QCOMPARE(stepper.value(), 12);
    // With text export on, database export starts at 5 too.
    find<QCheckBox>("exportDatabase").click();
    QCOMPARE(find<QLineEdit>("databaseInterval").text(), "5");
    test::control<QToolButton>(find<Stepper>("databaseIntervalStepper"), "stepDown").click();
    save();
    QCOMPARE(saved().integer("textInterval"), 12);
    QCOMPARE(saved().integer("databaseInterval"), 4);
}

void ToolsViewExportTest::untickingTextKeepsThePath() {
    storeSettings(Dictionary{{"textInterval", 15}, {"textLocation", "/srv/out.txt"}});
    m_page->show();
    find<QCheckBox>("exportText").click();
    QCOMPARE(find<QLineEdit>("textInterval").text(), "");
    QCOMPARE(find<QLineEdit>("textLocation").text(), "");
    QVERIFY(!find<QLineEdit>("textLocation").isEnabled());
    save();
    QCOMPARE(saved().integer("textInterval"), 0);
    QCOMPARE(saved().string("textLocation"), "/srv/out.txt");
}

void ToolsViewExportTest::typedLocationIsSavedAsTyped() {
    m_page->show();
    find<QCheckBox>("exportText").click();
    retype(find<QLineEdit>("textLocation"), "/srv/events.log");
    save();
    QCOMPARE(saved().string("textLocation"), "/srv/events.log");
    QCOMPARE(saved().integer("textInterval"), 5);
}

void ToolsViewExportTest::choosersFillTheLocations_data() {
    QTest::addColumn<QString>("browse");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QStringList>("extensions");
    QTest::addColumn<QString>("chosen");

    QTest::newRow("text") << "textBrowse"
                          << "textLocation"
                          << "Please select text file location with 'txt' or 'csv' extensions:"
                          << QStringList{"*.txt", "*.csv"} << "events.csv";
    QTest::newRow("database") << "databaseBrowse"
                              << "databaseLocation"
                              << "Please select database file location with 'db' extension:"
                              << QStringList{"*.db"} << "events.db";
}

void ToolsViewExportTest::choosersFillTheLocations() {
    QFETCH(QString, browse);
    QFETCH(QString, field);
    QFETCH(QString, message);
    QFETCH(QStringList, extensions);
    QFETCH(QString, chosen);
    const QString path = QString::fromStdString((*m_data / chosen.toStdString()).string());
    storeSettings(Dictionary{{"textInterval", 15},
                             {"textLocation", "/srv/out.txt"},
                             {"databaseInterval", 7},
                             {"databaseLocation", "/srv/out.db"}});
    m_page->show();
    auto& button = find<QPushButton>(browse.toLatin1().constData());
    auto& location = find<QLineEdit>(field.toLatin1().constData());
    const QString before = location.text();

    test::whenModal<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
    button.click();
    QCOMPARE(location.text(), before);
    QVERIFY(!saveEnabled());

    QString title;
    QStringList filters;
    QFileDialog::AcceptMode mode = QFileDialog::AcceptOpen;
    test::whenModal<QFileDialog>([&](QFileDialog& dialog) {
        title = dialog.windowTitle();
        filters = dialog.nameFilters();
        mode = dialog.acceptMode();
        test::chooseFile(dialog, path);
    });
    button.click();
    QCOMPARE(title, message);
    QCOMPARE(mode, QFileDialog::AcceptSave);
    QCOMPARE(filters.size(), extensions.size());
    for (int i = 0; i < extensions.size(); ++i) {
        QVERIFY2(filters[i].contains(extensions[i]), qPrintable(filters[i]));
    }
    QCOMPARE(location.text(), path);
    save();
    QCOMPARE(QString::fromStdString(saved().string(field.toStdString())), path);
}

void ToolsViewExportTest::savingRewritesEveryOtherKeyAsRead() {
    const Dictionary original = test::settingsOfOtherPages();
    storeSettings(original);
    m_page->show();
    test::control<QToolButton>(find<Stepper>("textIntervalStepper"), "stepUp").click();
    save();

    Dictionary expected = original;
    expected.set("textInterval", 16);
    QVERIFY(saved() == expected);
}

QTEST_MAIN(ToolsViewExportTest)
#include "ToolsViewExportTest.moc"
