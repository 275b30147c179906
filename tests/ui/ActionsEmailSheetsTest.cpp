#include <chrono>
#include <cmath>
#include <memory>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSlider>
#include <QTableView>
#include <QTest>

#include "actions/ToolsViewActions.h"
#include "app/AppDelegate.h"
#include "core/archive/FirstArchive.h"
#include "core/presentation/DateFormat.h"
#include "support/TempDir.h"
#include "ui/ActionsTestSupport.h"
#include "ui/ModalDriver.h"

using namespace velmora;
using test::openSheet;

namespace {

template <typename Widget = QWidget>
Widget* control(const QObject* parent, const char* name) {
    return parent ? parent->findChild<Widget*>(QLatin1String(name)) : nullptr;
}

void click(const QObject* parent, const char* name) {
    QAbstractButton* button = control<QAbstractButton>(parent, name);
    QVERIFY2(button != nullptr && button->isEnabled(), name);
    button->click();
}

QString text(const QObject* parent, const char* name) {
    return control<QLineEdit>(parent, name)->text();
}

const std::string kDefaultBody =
    "Date:$date\r\nPriority:$priority\r\nHost:$host\r\nMessage:$message\r\n";

std::vector<std::string> keysOf(const Dictionary& dictionary) {
    std::vector<std::string> keys;
    for (const auto& entry : dictionary) {
        keys.push_back(entry.first);
    }
    return keys;
}

} // namespace

class ActionsEmailSheetsTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void serverShowsFirstRunValues();
    void serverReadsZeroAsDefaultAndSavesTheWholeDictionary();
    void serverSecurityShowsTheStoredText_data();
    void serverSecurityShowsTheStoredText();
    void cancelLeavesTheSettingsFile_data();
    void cancelLeavesTheSettingsFile();
    void formatShowsFirstRunTemplates();
    void uncheckingATemplateDiscardsIt();
    void testMailRequestsTheFilledTemplates();
    void testMailWithoutSubjectTemplateCarriesOnlyTheRecipients_data();
    void testMailWithoutSubjectTemplateCarriesOnlyTheRecipients();
    void testMailNeedsRecipients();

private:
    std::unique_ptr<test::TempDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<ToolsViewActions> m_page;

    void store(const Dictionary& settings) {
        QVERIFY(m_delegate->settingsStore().saveDictionary(settings).ok());
    }
    Dictionary stored() const {
        return m_delegate->settingsStore().readDictionary().value_or(Dictionary());
    }
    std::string pipePath() const { return m_delegate->settingsStore().pipePath(); }
    // Clicks one of the page's e-mail links and returns the sheet it opened.
    QDialog* open(const char* link) {
        QTest::mouseClick(control<QLabel>(m_page.get(), link), Qt::LeftButton);
        return openSheet(*m_page);
    }
    void addRecipients(QDialog* sheet, const QStringList& addresses) {
        for (const QString& address : addresses) {
            QTest::keyClicks(control<QLineEdit>(sheet, "recipientEmail"), address);
            click(sheet, "addRecipient");
        }
    }
};

void ActionsEmailSheetsTest::init() {
    m_data = std::make_unique<test::TempDir>();
    // The server owns the pipe file; the console only writes into it.
    test::writeFile(*m_data / "Velmora.set", std::string_view());
    m_delegate = std::make_unique<AppDelegate>(m_data->str());
    m_page = std::make_unique<ToolsViewActions>(*m_delegate);
    m_page->show();
}

void ActionsEmailSheetsTest::cleanup() {
    m_page.reset();
    m_delegate.reset();
    m_data.reset();
}

void ActionsEmailSheetsTest::serverShowsFirstRunValues() {
    QDialog* sheet = open("emailServer");
    QCOMPARE(text(sheet, "serverPort"), "25");
    QCOMPARE(text(sheet, "serverTimeout"), "1");
    QCOMPARE(control<QSlider>(sheet, "timeoutSlider")->value(), 1);
    for (const char* field : {"serverName", "serverSender", "serverUsername", "serverPassword"}) {
        QCOMPARE(text(sheet, field), "");
    }
    auto* security = control<QComboBox>(sheet, "serverSecurity");
    QCOMPARE(security->count(), 3);
    QCOMPARE(security->itemText(1), "SSL/TLS");
    QCOMPARE(security->itemText(2), "STARTTLS");
    QCOMPARE(security->currentText(), "None");
    QCOMPARE(sheet->focusWidget(), control(sheet, "serverBlank"));

    click(sheet, "saveButton");
    QVERIFY(!sheet->isVisible());
    const Dictionary expected{{"actionsEmailPort", 25},        {"actionsEmailTimeout", 1},
                              {"actionsEmailServer", ""},      {"actionsEmailSender", ""},
                              {"actionsEmailUsername", ""},    {"actionsEmailPassword", ""},
                              {"actionsEmailSecurity", "None"}};
    QVERIFY(stored() == expected);
}

void ActionsEmailSheetsTest::serverReadsZeroAsDefaultAndSavesTheWholeDictionary() {
    const Dictionary settings{{"actionsEmailPort", 0},
                              {"actionsEmailTimeout", 0},
                              {"actionsEmailServer", "smtp.example.com"},
                              {"actionsEmailPassword", "pässwörd"},
                              {"dateFormat", "yyyy"},
                              {"actionsArray", Array{Value(test::actionRecord("a"))}}};
    store(settings);
    QDialog* sheet = open("emailServer");
    QCOMPARE(text(sheet, "serverPort"), "25");
    QCOMPARE(text(sheet, "serverTimeout"), "1");
    QCOMPARE(text(sheet, "serverName"), "smtp.example.com");
    QCOMPARE(text(sheet, "serverPassword"), "pässwörd");

    control<QSlider>(sheet, "timeoutSlider")->setValue(7);
    QCOMPARE(text(sheet, "serverTimeout"), "7");
    // Not checked: a port that is no number is stored as 0, which shows as 25 next time.
    control<QLineEdit>(sheet, "serverPort")->setText("smtp");
    click(sheet, "saveButton");

    Dictionary expected = settings;
    expected.set("actionsEmailTimeout", 7);
    for (const char* key : {"actionsEmailSender", "actionsEmailUsername"}) {
        expected.set(key, "");
    }
    expected.set("actionsEmailSecurity", "None");
    QVERIFY(stored() == expected);

    sheet = open("emailServer");
    QCOMPARE(text(sheet, "serverPort"), "25");
    QCOMPARE(text(sheet, "serverTimeout"), "7");
    QCOMPARE(control<QSlider>(sheet, "timeoutSlider")->value(), 7);
}

void ActionsEmailSheetsTest::serverSecurityShowsTheStoredText_data() {
    QTest::addColumn<QString>("security");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("items");
    QTest::newRow("known") << "STARTTLS"
                           << "STARTTLS" << 3;
    QTest::newRow("empty") << ""
                           << "None" << 3;
    QTest::newRow("unknown, kept") << "TLSv1.3"
                                   << "TLSv1.3" << 4;
}

void ActionsEmailSheetsTest::serverSecurityShowsTheStoredText() {
    QFETCH(QString, security);
    QFETCH(QString, shown);
    QFETCH(int, items);
    store(Dictionary{{"actionsEmailSecurity", security.toStdString()}});
    QDialog* sheet = open("emailServer");
    QCOMPARE(control<QComboBox>(sheet, "serverSecurity")->currentText(), shown);
    QCOMPARE(control<QComboBox>(sheet, "serverSecurity")->count(), items);
    click(sheet, "saveButton");
    QCOMPARE(stored().string("actionsEmailSecurity"), shown.toStdString());
}

void ActionsEmailSheetsTest::cancelLeavesTheSettingsFile_data() {
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("field");
    QTest::newRow("server") << "emailServer"
                            << "serverName";
    QTest::newRow("format") << "emailFormat"
                            << "textSubject";
}

void ActionsEmailSheetsTest::cancelLeavesTheSettingsFile() {
    QFETCH(QString, link);
    QFETCH(QString, field);
    store(Dictionary{{"actionsEmailServer", "mail"}, {"actionsFormatSubject", "$host"}});
    const std::string before = test::readFile(m_delegate->settingsStore().settingsPath());
    const std::string pipeBefore = test::readFile(pipePath());

    QDialog* sheet = open(qPrintable(link));
    control<QLineEdit>(sheet, qPrintable(field))->setText("changed");
    click(sheet, "cancelButton");
    QVERIFY(!sheet->isVisible());
    QCOMPARE(test::readFile(m_delegate->settingsStore().settingsPath()), before);
    QCOMPARE(test::readFile(pipePath()), pipeBefore);
}

void ActionsEmailSheetsTest::formatShowsFirstRunTemplates() {
    QDialog* sheet = open("emailFormat");
    QVERIFY(control<QCheckBox>(sheet, "sendSubject")->isChecked());
    QVERIFY(control<QCheckBox>(sheet, "sendBody")->isChecked());
    QCOMPARE(text(sheet, "textSubject"), "$message");
    QVERIFY(control(sheet, "textSubject")->isEnabled());
    auto* body = control<QPlainTextEdit>(sheet, "textBody");
    QCOMPARE(body->toPlainText(), "Date:$date\nPriority:$priority\nHost:$host\nMessage:$message\n");
    QVERIFY(!body->isReadOnly());
    QCOMPARE(body->font().pointSize(), 11);
    QCOMPARE(sheet->focusWidget(), control(sheet, "textBlank"));

    // The body keeps its CR LF line ends, also through a typed change.
    body->moveCursor(QTextCursor::End);
    body->insertPlainText("Sent by Velmora\n");
    click(sheet, "saveButton");
    const Dictionary expected{{"actionsFormatSubject", "$message"},
                              {"actionsFormatBody", kDefaultBody + "Sent by Velmora\r\n"}};
    QVERIFY(stored() == expected);
}

void ActionsEmailSheetsTest::uncheckingATemplateDiscardsIt() {
    QDialog* sheet = open("emailFormat");
    click(sheet, "sendSubject");
    QCOMPARE(text(sheet, "textSubject"), "");
    QVERIFY(!control(sheet, "textSubject")->isEnabled());

    auto* body = control<QPlainTextEdit>(sheet, "textBody");
    click(sheet, "sendBody");
    QVERIFY(body->toPlainText().isEmpty());
    QVERIFY(body->isReadOnly());
    click(sheet, "sendBody"); // on again: empty, not the earlier text
    QVERIFY(body->toPlainText().isEmpty());
    QVERIFY(!body->isReadOnly());
    click(sheet, "saveButton");
    QVERIFY(stored() == (Dictionary{{"actionsFormatSubject", ""}, {"actionsFormatBody", ""}}));

    sheet = open("emailFormat");
    QVERIFY(!control<QCheckBox>(sheet, "sendSubject")->isChecked());
    QVERIFY(!control(sheet, "textSubject")->isEnabled());
    QCOMPARE(text(sheet, "textSubject"), "");
    QVERIFY(!control<QCheckBox>(sheet, "sendBody")->isChecked());
    QVERIFY(control<QPlainTextEdit>(sheet, "textBody")->isReadOnly());
}

void ActionsEmailSheetsTest::testMailRequestsTheFilledTemplates() {
    // The templates as the format page saves them on a first run.
    click(open("emailFormat"), "saveButton");
    m_delegate->runtime().newDateFormat = "yyyy-MM-dd hh:mm:ss AM/PM";

    QDialog* sheet = open("emailTest");
    QVERIFY(!control(sheet, "addRecipient")->isEnabled());
    addRecipients(sheet, {"admin@example.com", "abc", "abc"});
    const auto before = std::chrono::system_clock::now();
    click(sheet, "sendButton");
    const auto after = std::chrono::system_clock::now();
    QVERIFY(!sheet->isVisible());

    const Result<Dictionary> request =
        keyed_archive::decodeFirstDictionary(test::readBytes(pipePath()));
    QVERIFY(request.ok());
    QCOMPARE(keysOf(*request),
             (std::vector<std::string>{"Settings", "Recipients", "Subject", "Body", "Html"}));
    QCOMPARE(request->string("Settings"), "email");
    QVERIFY(request->array("Recipients") ==
            (Array{Value("admin@example.com"), Value("abc"), Value("abc")}));
    QCOMPARE(request->string("Subject"), "Kestrix Velmora - Test message");
    QVERIFY(request->find("Html") != nullptr && *request->find("Html") == Value(false));

    const QStringList lines = QString::fromStdString(request->string("Body")).split("\r\n");
    QCOMPARE(lines.mid(1), (QStringList{"Priority:Local7.Debug", "Host:127.0.0.1",
                                        "Message:Kestrix Velmora - Test message", ""}));
    QVERIFY(lines[0].startsWith("Date:"));
    const std::optional<double> date =
        DateFormat("yyyy-MM-dd hh:mm:ss AM/PM").parse(lines[0].mid(5).toStdString());
    QVERIFY2(date.has_value(), qPrintable(lines[0]));
    using std::chrono::duration;
    QVERIFY(*date >= std::floor(duration<double>(before.time_since_epoch()).count()));
    QVERIFY(*date <= duration<double>(after.time_since_epoch()).count());
}

void ActionsEmailSheetsTest::testMailWithoutSubjectTemplateCarriesOnlyTheRecipients_data() {
    QTest::addColumn<bool>("settingsFile");
    QTest::newRow("no settings file") << false;
    QTest::newRow("no subject template") << true;
}

void ActionsEmailSheetsTest::testMailWithoutSubjectTemplateCarriesOnlyTheRecipients() {
    QFETCH(bool, settingsFile);
    if (settingsFile) {
        store(Dictionary{{"actionsFormatBody", kDefaultBody}});
    }
    QDialog* sheet = open("emailTest");
    addRecipients(sheet, {"admin@example.com"});
    click(sheet, "sendButton");
    const Result<Dictionary> request =
        keyed_archive::decodeFirstDictionary(test::readBytes(pipePath()));
    QVERIFY(request.ok());
    QCOMPARE(keysOf(*request), (std::vector<std::string>{"Settings", "Recipients"}));
    QVERIFY(request->array("Recipients") == Array{Value("admin@example.com")});
}

void ActionsEmailSheetsTest::testMailNeedsRecipients() {
    QDialog* sheet = open("emailTest");
    QStringList alert;
    test::whenModal<QMessageBox>([&](QMessageBox& box) {
        alert << box.windowTitle() << box.text() << box.informativeText();
        box.accept();
    });
    click(sheet, "sendButton");
    QCOMPARE(alert, (QStringList{"Velmora", "No recipients selected",
                                 "Please add recipients and try again."}));
    QVERIFY(sheet->isVisible());
    QCOMPARE(test::readFile(pipePath()), "");
}

QTEST_MAIN(ActionsEmailSheetsTest)
#include "ActionsEmailSheetsTest.moc"
