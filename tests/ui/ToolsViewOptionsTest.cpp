#include "tools/ToolsViewOptions.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QToolButton>

#include "app/AppDelegate.h"
#include "app/Page.h"
#include "app/WindowController.h"
#include "core/archive/FirstArchive.h"
#include "core/archive/KeyedArchive.h"
#include "core/presentation/Severity.h"
#include "core/settings/SettingsStore.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"
#include "support/TempDir.h"
#include "tools/FilterListModel.h"
#include "tools/Stepper.h"
#include "tools/ToolsViewFilter.h"
#include "ui/ModalDriver.h"
#include "ui/SettingsPageTestSupport.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::choose;
using test::retype;

Q_DECLARE_METATYPE(velmora::Page)

namespace {

const QStringList kTitles = {"Emergency", "Alert",       "Critical", "Error",  "Warning",
                             "Notice",    "Information", "Debug",    "Unknown"};
const QStringList kKeySuffixes = {"Emergency", "Alerting",    "Critical", "Error",  "Warning",
                                  "Notice",    "Information", "Debug",    "Unknown"};

std::string key(const char* prefix, const QString& suffix, const char* tail = "") {
    return (QLatin1String(prefix) + suffix + QLatin1String(tail)).toStdString();
}

Array titles(const QStringList& names) {
    Array out;
    for (const QString& name : names) {
        out.emplace_back(name.toStdString());
    }
    return out;
}

Dictionary filter(const char* name, const char* ip = "0.0.0.0", const char* mask = "0",
                  const char* facility = "Any", const char* severity = "Any",
                  const char* message = "*") {
    return Dictionary{{"Name", name},         {"IP", ip},
                      {"Message", message},   {"Mask", mask},
                      {"Facility", facility}, {"Severity", severity}};
}

bool isOptionsKey(const std::string& name) {
    static const QStringList prefixes = {
        "hostsDisplay", "dateFormat",          "severity",           "removal",
        "popup",        "includeFiltersArray", "excludeFiltersArray"};
    const QString qname = QString::fromStdString(name);
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&](const QString& prefix) { return qname.startsWith(prefix); });
}

} // namespace

class ToolsViewOptionsTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void firstRunShowsAndSavesTheDefaults();
    void missingKeysReadAsEmpty();
    void storedDateFormatSelectsItsItems_data();
    void storedDateFormatSelectsItsItems();
    void switchingBetweenLocaleAndDefinedFormats();
    void saveHandsTheSettingsToTheLiveState();
    void removalRuleOffAndOn();
    void cancelLeavesTheFileAsItWas();
    void popupsSwitchedOnByHand();
    void soundOffKeepsThePath();
    void soundChooserFillsThePath();
    void filterEditorAddsANewFilter();
    void filterEditorEditsInPlace();
    void removeTakesEveryEqualFilter();
    void excludeAddEditsTheSelectedExcludeFilter();
    void filterListModelKeepsItsViewsInformed();
    void savingRewritesEveryOtherKeyAsRead();
    void newDateFormatShowsOnTheEventsPageNextTime();

private:
    std::unique_ptr<test::TempDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<ToolsViewOptions> m_page;

    template <typename Control>
    Control& find(const char* name) const {
        return test::control<Control>(*m_page, name);
    }
    template <typename Control>
    Control& find(const std::string& name) const {
        return test::control<Control>(*m_page, name.c_str());
    }
    SettingsStore store() const { return SettingsStore(m_data->str()); }
    void storeSettings(const Dictionary& settings) const {
        QVERIFY(store().saveDictionary(settings).ok());
    }
    Dictionary saved() const { return store().readDictionary().value_or(Dictionary()); }
    void reshow() {
        m_page->hide();
        m_page->show();
    }
    bool saveEnabled() const { return find<QPushButton>("saveButton").isEnabled(); }
    void save() {
        QVERIFY(saveEnabled());
        find<QPushButton>("saveButton").click();
    }
    ToolsViewFilter* openSheet() const {
        for (ToolsViewFilter* sheet : m_page->findChildren<ToolsViewFilter*>()) {
            if (sheet->isVisible()) {
                return sheet;
            }
        }
        return nullptr;
    }
    int rows(const char* table) const { return find<QTableView>(table).model()->rowCount(); }
    QString cell(const char* table, int row, int column) const {
        return test::cell(*find<QTableView>(table).model(), row, column).toString();
    }
};

void ToolsViewOptionsTest::init() {
    m_data = std::make_unique<test::TempDir>();
    // The pipe exists, as the server makes it: every save writes the reload command into it.
    test::writeFile(*m_data / "Velmora.set", std::string_view());
    m_delegate = std::make_unique<AppDelegate>(m_data->str());
    m_page = std::make_unique<ToolsViewOptions>(*m_delegate);
    m_page->resize(700, 600);
}

void ToolsViewOptionsTest::cleanup() {
    m_page.reset();
    m_delegate.reset();
    m_data.reset();
}

void ToolsViewOptionsTest::firstRunShowsAndSavesTheDefaults() {
    m_page->setParentTab(Page::Tools);
    QSignalSpy returned(m_page.get(), &SettingsPage::returnRequested);
    m_page->show();

    QVERIFY(find<QRadioButton>("hostsDisplayIP").isChecked());
    QVERIFY(find<QRadioButton>("localeDateFormat").isChecked());
    for (const char* combo : {"userDateFormat", "userTimeFormat"}) {
        QVERIFY(!find<QComboBox>(combo).isEnabled());
        QCOMPARE(find<QComboBox>(combo).currentIndex(), -1);
    }
    const QStringList levels = {"Severe",   "Severe", "Severe", "Moderate", "Moderate",
                                "Moderate", "Normal", "Normal", "Normal"};
    for (int i = 0; i < 9; ++i) {
        QCOMPARE(find<QComboBox>(key("severity", kKeySuffixes[i])).currentText(), levels[i]);
        QVERIFY(find<QCheckBox>(key("removal", kKeySuffixes[i])).isChecked());
        QCOMPARE(find<QLineEdit>(key("removal", kKeySuffixes[i], "Time")).text(), "30");
        QCOMPARE(find<Stepper>(key("removal", kKeySuffixes[i], "Stepper")).value(), 30);
        QCOMPARE(find<QComboBox>(key("removal", kKeySuffixes[i], "Units")).currentText(), "Days");
    }
    QVERIFY(!find<QCheckBox>("popupEventsDisplay").isChecked());
    QVERIFY(!find<QLineEdit>("popupEventsTime").isEnabled());
    QVERIFY(!find<QCheckBox>("popupEventsPlay").isChecked());
    QCOMPARE(rows("includeFiltersTable"), 0);
    QVERIFY(!saveEnabled());

    // Clicking the radio button that is already on is a change as far as Save goes.
    find<QRadioButton>("hostsDisplayIP").click();
    save();

    Dictionary expected{{"hostsDisplay", false}, {"dateFormat", ""}};
    const int defaultLevels[] = {2, 2, 2, 1, 1, 1, 0, 0, 0};
    for (int i = 0; i < 9; ++i) {
        expected.set(key("severity", kKeySuffixes[i]), defaultLevels[i]);
    }
    for (const QString& suffix : kKeySuffixes) {
        expected.set(key("removal", suffix), 30);
    }
    for (const QString& suffix : kKeySuffixes) {
        expected.set(key("removal", suffix, "Units"), 2);
    }
    expected.set("popupEvents", 0);
    for (const char* list :
         {"popupDisplayArray", "popupPlayArray", "includeFiltersArray", "excludeFiltersArray"}) {
        expected.set(list, Array{});
    }
    QVERIFY(saved() == expected);
    const std::vector<std::string> order = [&] {
        std::vector<std::string> names;
        for (const auto& [name, value] : saved()) {
            names.push_back(name);
        }
        return names;
    }();
    QCOMPARE(order.front(), "hostsDisplay");
    QCOMPARE(order.back(), "excludeFiltersArray");

    const auto command =
        keyed_archive::decodeFirstDictionary(test::readBytes(*m_data / "Velmora.set"));
    QVERIFY(command.ok());
    QCOMPARE(command.value().string("Settings"), "read");
    QCOMPARE(returned.size(), 1);
    QCOMPARE(returned.front().front().value<Page>(), Page::Tools);
}

void ToolsViewOptionsTest::missingKeysReadAsEmpty() {
    storeSettings(Dictionary{{"actionsEmailServer", "mail.example.org"}});
    m_page->show();

    for (const QString& suffix : kKeySuffixes) {
        QCOMPARE(find<QComboBox>(key("severity", suffix)).currentText(), "Normal");
        QVERIFY(!find<QCheckBox>(key("removal", suffix)).isChecked());
        QCOMPARE(find<QLineEdit>(key("removal", suffix, "Time")).text(), "");
        QVERIFY(!find<QLineEdit>(key("removal", suffix, "Time")).isEnabled());
        QCOMPARE(find<QComboBox>(key("removal", suffix, "Units")).currentIndex(), -1);
    }
    QVERIFY(!saveEnabled());

    find<QRadioButton>("hostsDisplayName").click();
    save();
    const Dictionary settings = saved();
    QCOMPARE(settings.boolean("hostsDisplay"), true);
    for (const QString& suffix : kKeySuffixes) {
        QCOMPARE(settings.integer(key("severity", suffix)), 0);
        QCOMPARE(settings.integer(key("removal", suffix)), 0);
        QCOMPARE(settings.integer(key("removal", suffix, "Units")), -1);
    }
    QCOMPARE(settings.integer("popupEvents"), 0);
    QVERIFY(!settings.contains("popupSound"));
    QCOMPARE(settings.string("actionsEmailServer"), "mail.example.org");
}

void ToolsViewOptionsTest::storedDateFormatSelectsItsItems_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QString>("date"); // the item selected; empty for none
    QTest::addColumn<QString>("time");
    QTest::addColumn<QString>("savedAgain");

    QTest::newRow("24-hour") << "yyyy-MM-dd HH:mm:ss"
                             << "yyyy-MM-dd"
                             << "HH:mm:ss"
                             << "yyyy-MM-dd HH:mm:ss";
    QTest::newRow("12-hour") << "dd/MM/yyyy h:mm AM/PM"
                             << "dd/MM/yyyy"
                             << "h:mm AM/PM"
                             << "dd/MM/yyyy h:mm AM/PM";
    QTest::newRow("12-hour with seconds") << "d-MMM-yyyy h:mm:ss AM/PM"
                                          << "d-MMM-yyyy"
                                          << "h:mm:ss AM/PM"
                                          << "d-MMM-yyyy h:mm:ss AM/PM";
    // Only the item lists can be chosen: what is not among them is written back empty.
    QTest::newRow("time of another letter") << "dd.MM.yyyy k:mm"
                                            << "dd.MM.yyyy"
                                            << ""
                                            << "dd.MM.yyyy ";
    QTest::newRow("date not listed") << "yyyy/MM/dd HH:mm"
                                     << ""
                                     << "HH:mm"
                                     << " HH:mm";
    QTest::newRow("no time part") << "dd.MM.yyyy"
                                  << "dd.MM.yyyy"
                                  << ""
                                  << "dd.MM.yyyy ";
}

void ToolsViewOptionsTest::storedDateFormatSelectsItsItems() {
    QFETCH(QString, stored);
    QFETCH(QString, date);
    QFETCH(QString, time);
    QFETCH(QString, savedAgain);
    storeSettings(Dictionary{{"dateFormat", stored.toStdString()}});
    m_page->show();

    QVERIFY(find<QRadioButton>("definedDateFormat").isChecked());
    QVERIFY(find<QComboBox>("userDateFormat").isEnabled());
    QCOMPARE(find<QComboBox>("userDateFormat").currentText(), date);
    QCOMPARE(find<QComboBox>("userTimeFormat").currentText(), time);
    QCOMPARE(find<QComboBox>("userTimeFormat").currentIndex() == -1, time.isEmpty());

    find<QRadioButton>("hostsDisplayIP").click();
    save();
    QCOMPARE(QString::fromStdString(saved().string("dateFormat")), savedAgain);
}

void ToolsViewOptionsTest::switchingBetweenLocaleAndDefinedFormats() {
    m_page->show();
    auto& date = find<QComboBox>("userDateFormat");
    auto& time = find<QComboBox>("userTimeFormat");
    QCOMPARE(date.itemText(0), "yyyy-MM-dd");
    QCOMPARE(time.itemText(0), "HH:mm:ss");
    for (int i = 0; i < date.count(); ++i) {
        QVERIFY(!date.itemText(i).contains(QLatin1Char(' ')));
    }
    for (int i = 0; i < time.count(); ++i) {
        const QString item = time.itemText(i);
        QVERIFY(item.startsWith(QLatin1Char('H')) ||
                (item.startsWith(QLatin1Char('h')) && item.endsWith(QLatin1String(" AM/PM"))));
    }

    find<QRadioButton>("definedDateFormat").click();
    QVERIFY(date.isEnabled() && time.isEnabled());
    QCOMPARE(date.currentIndex(), 0);
    QCOMPARE(time.currentIndex(), 0);
    QVERIFY(saveEnabled());
    choose(date, "dd.MM.yyyy");
    choose(time, "h:mm AM/PM");
    save();
    QCOMPARE(saved().string("dateFormat"), "dd.MM.yyyy h:mm AM/PM");

    reshow();
    QVERIFY(find<QRadioButton>("definedDateFormat").isChecked());
    QCOMPARE(time.currentText(), "h:mm AM/PM");
    find<QRadioButton>("localeDateFormat").click();
    QVERIFY(!date.isEnabled() && !time.isEnabled());
    QCOMPARE(date.currentIndex(), -1);
    QCOMPARE(time.currentIndex(), -1);
    save();
    QCOMPARE(saved().string("dateFormat"), "");
}

void ToolsViewOptionsTest::saveHandsTheSettingsToTheLiveState() {
    storeSettings(Dictionary{{"dateFormat", "yyyy-MM-dd HH:mm"}});
    m_delegate->runtime().oldDateFormat = "stale";
    m_delegate->runtime().newDateFormat = "yyyy-MM-dd HH:mm";
    m_page->show();

    choose(find<QComboBox>("severityDebug"), "Severe");
    find<QRadioButton>("localeDateFormat").click();
    find<QCheckBox>("popupEventsDisplay").click();
    find<QCheckBox>("popupEventsPlay").click();
    retype(find<QLineEdit>("popupSoundFile"), "/sounds/bell.oga");
    find<QCheckBox>("popupDebugPlay").click();
    save();

    const RuntimeSettings& runtime = m_delegate->runtime();
    QCOMPARE(runtime.oldDateFormat, "yyyy-MM-dd HH:mm");
    QCOMPARE(runtime.newDateFormat, "");
    QCOMPARE(runtime.levels[Severity::Debug], 2);
    // The other levels were missing from the file: they stay 0, as loaded.
    QCOMPARE(runtime.levels[Severity::Emergency], 0);
    QCOMPARE(runtime.iPopupEvents, 10);
    QCOMPARE(runtime.popupSound, "/sounds/bell.oga");
    QCOMPARE(runtime.popupDisplayArray.size(), 9u);
    QCOMPARE(runtime.popupPlayArray.size(), 8u);
    QCOMPARE(runtime.popupPlayArray.back(), "Unknown");
}

void ToolsViewOptionsTest::removalRuleOffAndOn() {
    storeSettings(Dictionary{{"removalError", 45},
                             {"removalErrorUnits", 3},
                             {"removalNotice", 3},
                             {"removalNoticeUnits", 2},
                             {"removalDebug", 2},
                             {"removalDebugUnits", 1}});
    m_page->show();
    auto& rule = find<QCheckBox>("removalError");
    auto& field = find<QLineEdit>("removalErrorTime");
    auto& stepper = find<Stepper>("removalErrorStepper");
    auto& units = find<QComboBox>("removalErrorUnits");
    QVERIFY(rule.isChecked());
    QCOMPARE(field.text(), "45");
    QCOMPARE(stepper.value(), 45);
    QCOMPARE(units.currentText(), "Weeks");
    QVERIFY(!saveEnabled());

    rule.click();
    QCOMPARE(field.text(), "");
    QCOMPARE(units.currentIndex(), -1);
    QVERIFY(!field.isEnabled() && !stepper.isEnabled() && !units.isEnabled());
    QVERIFY(saveEnabled());

    rule.click();
    QVERIFY(field.isEnabled() && stepper.isEnabled() && units.isEnabled());
    QCOMPARE(field.text(), "1");
    QCOMPARE(stepper.value(), 1);
    QCOMPARE(units.currentIndex(), 0);
    QCOMPARE(units.currentText(), "Minutes");

    // Field, stepper and the amount that Save writes stay equal.
    test::control<QToolButton>(stepper, "stepUp").click();
    QCOMPARE(field.text(), "2");
    retype(field, "17");
    QCOMPARE(stepper.value(), 17);
    test::control<QToolButton>(stepper, "stepDown").click();
    QCOMPARE(field.text(), "16");
    choose(units, "Hours");
    find<QCheckBox>("removalDebug").click();
    // Nothing typed is refused; a text that is no number saves as 0.
    retype(find<QLineEdit>("removalNoticeTime"), "a week");
    QCOMPARE(find<QLineEdit>("removalNoticeTime").text(), "a week");
    save();

    const Dictionary settings = saved();
    QCOMPARE(settings.integer("removalError"), 16);
    QCOMPARE(settings.integer("removalErrorUnits"), 1);
    QCOMPARE(settings.integer("removalNotice"), 0);
    QCOMPARE(settings.integer("removalNoticeUnits"), 2);
    QCOMPARE(settings.integer("removalDebug"), 0);
    QCOMPARE(settings.integer("removalDebugUnits"), -1);

    reshow();
    QVERIFY(!find<QCheckBox>("removalDebug").isChecked());
    QCOMPARE(find<QLineEdit>("removalDebugTime").text(), "");
    QCOMPARE(find<QComboBox>("removalDebugUnits").currentIndex(), -1);
    QVERIFY(!saveEnabled());
}

void ToolsViewOptionsTest::cancelLeavesTheFileAsItWas() {
    storeSettings(Dictionary{{"severityError", 1}, {"removalError", 5}, {"removalErrorUnits", 0}});
    const std::string before = test::readFile(*m_data / "Velmora.ini");
    m_page->setParentTab(Page::Scan);
    QSignalSpy returned(m_page.get(), &SettingsPage::returnRequested);
    m_page->show();

    choose(find<QComboBox>("severityError"), "Severe");
    find<QCheckBox>("removalError").click();
    find<QPushButton>("cancelButton").click();
    QCOMPARE(returned.size(), 1);
    QCOMPARE(returned.front().front().value<Page>(), Page::Scan);
    QCOMPARE(test::readFile(*m_data / "Velmora.ini"), before);

    reshow();
    QCOMPARE(find<QComboBox>("severityError").currentText(), "Moderate");
    QVERIFY(find<QCheckBox>("removalError").isChecked());
    QCOMPARE(find<QLineEdit>("removalErrorTime").text(), "5");
}

void ToolsViewOptionsTest::popupsSwitchedOnByHand() {
    // A display list without a popup time is emptied by the loading.
    storeSettings(Dictionary{{"popupEvents", 0}, {"popupDisplayArray", Array{"Error"}}});
    m_page->show();
    auto& popups = find<QCheckBox>("popupEventsDisplay");
    auto& time = find<QLineEdit>("popupEventsTime");
    QVERIFY(!popups.isChecked());
    for (int i = 0; i < 9; ++i) {
        const auto& box = find<QCheckBox>(key("popup", kKeySuffixes[i], "Display"));
        QCOMPARE(box.text(), kTitles[i]);
        QVERIFY(!box.isChecked() && !box.isEnabled());
    }

    popups.click();
    QCOMPARE(time.text(), "10");
    QCOMPARE(find<Stepper>("popupEventsStepper").value(), 10);
    QVERIFY(time.isEnabled());
    for (const QString& suffix : kKeySuffixes) {
        QVERIFY(find<QCheckBox>(key("popup", suffix, "Display")).isChecked());
    }
    save();
    QCOMPARE(saved().integer("popupEvents"), 10);
    QVERIFY(saved().array("popupDisplayArray") == titles(kTitles));

    // The list follows the order of the clicks; off and on again starts it afresh.
    reshow();
    auto& alert = find<QCheckBox>("popupAlertingDisplay");
    alert.click();
    alert.click();
    QStringList clicked = kTitles;
    clicked.move(1, 8);
    retype(time, "25");
    save();
    QVERIFY(saved().array("popupDisplayArray") == titles(clicked));
    QCOMPARE(saved().integer("popupEvents"), 25);

    reshow();
    popups.click();
    QCOMPARE(time.text(), "");
    QVERIFY(!time.isEnabled());
    popups.click();
    save();
    QVERIFY(saved().array("popupDisplayArray") == titles(kTitles));
    QCOMPARE(saved().integer("popupEvents"), 10);
}

void ToolsViewOptionsTest::soundOffKeepsThePath() {
    storeSettings(Dictionary{{"popupSound", "/sounds/bell.oga"},
                             {"popupPlayArray", Array{"Error", "Debug"}}});
    m_page->show();
    auto& sound = find<QCheckBox>("popupEventsPlay");
    auto& file = find<QLineEdit>("popupSoundFile");
    QVERIFY(sound.isChecked());
    QCOMPARE(file.text(), "/sounds/bell.oga");
    QVERIFY(find<QCheckBox>("popupErrorPlay").isChecked());
    QVERIFY(!find<QCheckBox>("popupAlertingPlay").isChecked());

    sound.click();
    QCOMPARE(file.text(), "");
    QVERIFY(!file.isEnabled() && !find<QPushButton>("popupSoundBrowse").isEnabled());
    QVERIFY(!find<QCheckBox>("popupErrorPlay").isChecked());
    // On again: every severity, but the path comes back only with the next showing.
    sound.click();
    QCOMPARE(file.text(), "");
    QVERIFY(file.isEnabled());
    sound.click();
    save();
    QCOMPARE(saved().string("popupSound"), "/sounds/bell.oga");
    QVERIFY(saved().array("popupPlayArray").empty());

    reshow();
    QVERIFY(sound.isChecked());
    QCOMPARE(file.text(), "/sounds/bell.oga");
    for (const QString& suffix : kKeySuffixes) {
        QVERIFY(!find<QCheckBox>(key("popup", suffix, "Play")).isChecked());
    }
}

void ToolsViewOptionsTest::soundChooserFillsThePath() {
    const auto chosen = *m_data / "chime.oga";
    test::writeFile(chosen, "OggS");
    storeSettings(Dictionary{{"popupSound", "/sounds/old.aiff"}});
    m_page->show();

    test::whenModal<QFileDialog>([](QFileDialog& dialog) { dialog.reject(); });
    find<QPushButton>("popupSoundBrowse").click();
    QCOMPARE(find<QLineEdit>("popupSoundFile").text(), "/sounds/old.aiff");
    QVERIFY(!saveEnabled());

    QStringList filters;
    QString shownFilter;
    QString title;
    QFileDialog::AcceptMode mode = QFileDialog::AcceptSave;
    test::whenModal<QFileDialog>([&](QFileDialog& dialog) {
        filters = dialog.nameFilters();
        shownFilter = dialog.selectedNameFilter();
        title = dialog.windowTitle();
        mode = dialog.acceptMode();
        test::chooseFile(dialog, QString::fromStdString(chosen.string()));
    });
    find<QPushButton>("popupSoundBrowse").click();
    QCOMPARE(title, "Please select sound file name with 'aif' extension:");
    QCOMPARE(mode, QFileDialog::AcceptOpen);
    // The filter shown first takes every kind of sound the console plays, one filter a kind
    // follows.
    QCOMPARE(filters.size(), 5);
    QCOMPARE(shownFilter, filters[0]);
    const auto patterns = [](const QString& filter) {
        return filter.section(QLatin1Char('('), 1).chopped(1).split(QLatin1Char(' '));
    };
    QCOMPARE(patterns(filters[0]),
             (QStringList{"*.aiff", "*.aif", "*.wav", "*.ogg", "*.oga", "*.flac"}));
    QCOMPARE(patterns(filters[3]), (QStringList{"*.ogg", "*.oga"}));
    QCOMPARE(find<QLineEdit>("popupSoundFile").text(), QString::fromStdString(chosen.string()));
    save();
    QCOMPARE(saved().string("popupSound"), chosen.string());

    const bool systemSounds = QDir(QStringLiteral("/System/Library/Sounds")).exists();
    QCOMPARE(ToolsViewOptions::soundDirectory(),
             systemSounds ? "/System/Library/Sounds" : "/usr/share/sounds");
}

void ToolsViewOptionsTest::filterEditorAddsANewFilter() {
    m_page->show();
    find<QPushButton>("includeFiltersAdd").click();
    ToolsViewFilter* sheet = openSheet();
    QVERIFY(sheet != nullptr);
    QCOMPARE(sheet->windowModality(), Qt::WindowModal);
    auto& name = test::control<QLineEdit>(*sheet, "filterName");
    auto& ip = test::control<QLineEdit>(*sheet, "filterIP");
    auto& mask = test::control<QLineEdit>(*sheet, "filterMask");
    auto& facility = test::control<QComboBox>(*sheet, "filterFacility");
    auto& severity = test::control<QComboBox>(*sheet, "filterSeverity");
    auto& message = test::control<QLineEdit>(*sheet, "filterMessage");
    QVERIFY(name.isEnabled());
    QCOMPARE(name.text(), "New Filter");
    QCOMPARE(ip.text(), "0.0.0.0");
    QCOMPARE(mask.text(), "0");
    QCOMPARE(message.text(), "*");
    QCOMPARE(facility.currentText(), "Any");
    QCOMPARE(severity.currentText(), "Any");
    QCOMPARE(facility.count(), 25);
    QCOMPARE(facility.itemText(24), "Local7");
    QCOMPARE(severity.count(), 9);
    QCOMPARE(severity.itemText(7), "Informational");

    // The "any" buttons put each criterion back.
    retype(ip, "10.1.2.3");
    retype(mask, "16");
    retype(message, "sshd");
    choose(facility, "Auth");
    test::control<QPushButton>(*sheet, "filterAnyHost").click();
    test::control<QPushButton>(*sheet, "filterAnyMessage").click();
    test::control<QPushButton>(*sheet, "filterAnyFacility").click();
    QCOMPARE(ip.text(), "0.0.0.0");
    QCOMPARE(mask.text(), "0");
    QCOMPARE(message.text(), "*");
    QCOMPARE(facility.currentIndex(), 0);

    retype(name, "Mail errors");
    retype(ip, "192.168.1.0");
    retype(mask, "24");
    choose(facility, "Mail");
    choose(severity, "Error");
    test::control<QPushButton>(*sheet, "filterSave").click();
    QTRY_VERIFY(openSheet() == nullptr);

    QCOMPARE(rows("includeFiltersTable"), 1);
    QCOMPARE(cell("includeFiltersTable", 0, 0), "Mail errors");
    QVERIFY(saveEnabled());
    QVERIFY(!std::filesystem::exists(*m_data / "Velmora.ini"));
    save();
    QVERIFY(saved().array("includeFiltersArray") ==
            Array{filter("Mail errors", "192.168.1.0", "24", "Mail", "Error")});
    QVERIFY(saved().array("excludeFiltersArray").empty());
}

void ToolsViewOptionsTest::filterEditorEditsInPlace() {
    // A stored text that is no item is shown, and kept, as it was written; a mask another
    // program stored as a number shows as that number.
    Dictionary b = filter("B", "10.0.0.0", "", "kern", "Error");
    b.set("Mask", 8);
    storeSettings(Dictionary{{"includeFiltersArray", Array{filter("A"), b, filter("C")}}});
    m_page->show();
    QVERIFY(!find<QPushButton>("includeFiltersEdit").isEnabled());
    find<QTableView>("includeFiltersTable").selectRow(1);
    QVERIFY(find<QPushButton>("includeFiltersEdit").isEnabled());
    QVERIFY(find<QPushButton>("includeFiltersRemove").isEnabled());

    // Cancel stores nothing and leaves Save as it was.
    find<QPushButton>("includeFiltersEdit").click();
    QVERIFY(openSheet() != nullptr);
    retype(test::control<QLineEdit>(*openSheet(), "filterIP"), "never stored");
    test::control<QPushButton>(*openSheet(), "filterCancel").click();
    QTRY_VERIFY(openSheet() == nullptr);
    QCOMPARE(cell("includeFiltersTable", 1, FilterListModel::IPColumn), "10.0.0.0");
    QVERIFY(!saveEnabled());

    find<QPushButton>("includeFiltersEdit").click();
    ToolsViewFilter* sheet = openSheet();
    QVERIFY(sheet != nullptr);
    QVERIFY(!test::control<QLineEdit>(*sheet, "filterName").isEnabled());
    QCOMPARE(test::control<QLineEdit>(*sheet, "filterName").text(), "B");
    QCOMPARE(test::control<QLineEdit>(*sheet, "filterMask").text(), "8");
    QCOMPARE(test::control<QComboBox>(*sheet, "filterFacility").currentText(), "kern");
    QCOMPARE(test::control<QComboBox>(*sheet, "filterSeverity").currentText(), "Error");
    retype(test::control<QLineEdit>(*sheet, "filterIP"), "10.9.0.0");
    test::control<QPushButton>(*sheet, "filterSave").click();
    QTRY_VERIFY(openSheet() == nullptr);

    save();
    QVERIFY(saved().array("includeFiltersArray") ==
            (Array{filter("A"), filter("B", "10.9.0.0", "8", "kern", "Error"), filter("C")}));
}

void ToolsViewOptionsTest::removeTakesEveryEqualFilter() {
    storeSettings(Dictionary{{"excludeFiltersArray", Array{filter("A"), filter("B"), filter("A"),
                                                           filter("A", "1.1.1.1")}}});
    m_page->show();
    auto& table = find<QTableView>("excludeFiltersTable");
    table.selectRow(2);
    find<QPushButton>("excludeFiltersRemove").click();

    QCOMPARE(rows("excludeFiltersTable"), 2);
    QVERIFY(!table.selectionModel()->hasSelection());
    QVERIFY(!find<QPushButton>("excludeFiltersRemove").isEnabled());
    save();
    QVERIFY(saved().array("excludeFiltersArray") == (Array{filter("B"), filter("A", "1.1.1.1")}));
}

void ToolsViewOptionsTest::excludeAddEditsTheSelectedExcludeFilter() {
    storeSettings(Dictionary{{"includeFiltersArray", Array{filter("I")}},
                             {"excludeFiltersArray", Array{filter("X"), filter("Y")}}});
    m_page->show();
    find<QTableView>("includeFiltersTable").selectRow(0);
    find<QTableView>("excludeFiltersTable").selectRow(1);

    find<QPushButton>("excludeFiltersAdd").click();
    QVERIFY(!find<QTableView>("includeFiltersTable").selectionModel()->hasSelection());
    QVERIFY(!find<QPushButton>("includeFiltersEdit").isEnabled());
    QVERIFY(find<QPushButton>("excludeFiltersEdit").isEnabled());
    ToolsViewFilter* sheet = openSheet();
    QVERIFY(sheet != nullptr);
    QVERIFY(!test::control<QLineEdit>(*sheet, "filterName").isEnabled());
    QCOMPARE(test::control<QLineEdit>(*sheet, "filterName").text(), "Y");
    retype(test::control<QLineEdit>(*sheet, "filterMessage"), "disk full");
    test::control<QPushButton>(*sheet, "filterSave").click();
    QTRY_VERIFY(openSheet() == nullptr);

    // The include list's Add, by contrast, always adds.
    find<QPushButton>("includeFiltersAdd").click();
    sheet = openSheet();
    QVERIFY(sheet != nullptr);
    QVERIFY(test::control<QLineEdit>(*sheet, "filterName").isEnabled());
    test::control<QPushButton>(*sheet, "filterSave").click();
    QTRY_VERIFY(openSheet() == nullptr);

    save();
    QVERIFY(saved().array("excludeFiltersArray") ==
            (Array{filter("X"), filter("Y", "0.0.0.0", "0", "Any", "Any", "disk full")}));
    QVERIFY(saved().array("includeFiltersArray") == (Array{filter("I"), filter("New Filter")}));
}

void ToolsViewOptionsTest::filterListModelKeepsItsViewsInformed() {
    FilterListModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setRecords(Array{filter("A"), "not a record", filter("A")});
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(test::cell(model, 1, FilterListModel::NameColumn).toString(), "");
    model.append(filter("B"));
    model.replace(1, filter("C"));
    model.removeEqualTo(0);
    QVERIFY(model.records() == (Array{filter("C"), filter("B")}));
}

void ToolsViewOptionsTest::savingRewritesEveryOtherKeyAsRead() {
    const Dictionary original = test::settingsOfOtherPages();
    storeSettings(original);
    m_page->show();
    choose(find<QComboBox>("severityDebug"), "Moderate");
    save();

    const Dictionary settings = saved();
    for (const auto& [name, value] : original) {
        if (!isOptionsKey(name)) {
            QVERIFY2(settings.find(name) != nullptr && *settings.find(name) == value, name.c_str());
        }
    }
    for (const auto& [name, value] : settings) {
        QVERIFY2(original.contains(name) || isOptionsKey(name), name.c_str());
    }
    // The page's own keys that it did not change are written back as they were read, odd
    // entries included.
    for (const char* unchanged : {"hostsDisplay", "dateFormat", "removalError", "removalErrorUnits",
                                  "popupSound", "includeFiltersArray"}) {
        QVERIFY2(*settings.find(unchanged) == *original.find(unchanged), unchanged);
    }
    QCOMPARE(settings.integer("severityDebug"), 1);
}

void ToolsViewOptionsTest::newDateFormatShowsOnTheEventsPageNextTime() {
    m_page.reset();
    test::writeFile(*m_data / "events.log", "1700000000,Local7.Debug,10.0.0.1,hello\n");
    WindowController window(*m_delegate);
    m_delegate->setWindowController(&window);
    window.show();
    window.scan();
    const EventTableModel& model = window.scanView().model();
    QCOMPARE(test::cell(model, 0, EventTableModel::DateColumn).toString(), "2023-11-14 22:13:20");

    window.openSettingsPage(Page::Options, Page::Scan);
    auto* options = window.findChild<ToolsViewOptions*>();
    QVERIFY(options != nullptr && options->isVisible());
    test::control<QRadioButton>(*options, "definedDateFormat").click();
    choose(test::control<QComboBox>(*options, "userDateFormat"), "dd.MM.yyyy");
    choose(test::control<QComboBox>(*options, "userTimeFormat"), "HH:mm");
    test::control<QPushButton>(*options, "saveButton").click();

    QCOMPARE(window.currentPage(), Page::Scan);
    QCOMPARE(test::cell(model, 0, EventTableModel::DateColumn).toString(), "14.11.2023 22:13");
    m_delegate->setWindowController(nullptr);
}

QTEST_MAIN(ToolsViewOptionsTest)
#include "ToolsViewOptionsTest.moc"
