#include "actions/ToolsViewActions.h"

#include <memory>

#include <QAbstractItemModelTester>
#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include "actions/ActionView.h"
#include "app/AppDelegate.h"
#include "support/TempDir.h"
#include "ui/ActionsTestSupport.h"
#include "ui/ModalDriver.h"

using namespace velmora;
using test::actionRecord;
using test::openSheet;

Q_DECLARE_METATYPE(velmora::Page)

namespace {

template <typename Widget = QWidget>
Widget* control(const QObject* parent, const char* name) {
    return parent ? parent->findChild<Widget*>(QLatin1String(name)) : nullptr;
}

void click(const QObject* parent, const char* name) {
    QAbstractButton* button = control<QAbstractButton>(parent, name);
    QVERIFY2(button != nullptr, name);
    QVERIFY2(button->isEnabled(), name);
    button->click();
}

bool checked(const QObject* parent, const char* name) {
    return control<QCheckBox>(parent, name)->isChecked();
}

QString text(const QObject* parent, const char* name) {
    return control<QLineEdit>(parent, name)->text();
}

} // namespace

class ToolsViewActionsTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void listIsReadOnEveryShowing();
    void addStartsANewActionWithDefaults();
    void editKeepsThePlaceInTheList();
    void uncheckingACommandStoresAnEmptySubRecord();
    void linkOpensItsEditorWhileTheBoxIsOff_data();
    void linkOpensItsEditorWhileTheBoxIsOff();
    void commandCancelledWithNothingStoredTurnsItsBoxOff_data();
    void commandCancelledWithNothingStoredTurnsItsBoxOff();
    void runCommandStoresItsFieldsOrNothing();
    void emailCommandTakesAddressesAsTyped();
    void emailCommandRefusesAnEmptyList();
    void eventCommandOffersThePriorityTexts();
    void removeTakesEveryEqualActionAndCancelDiscards();
    void saveKeepsEveryOtherKeyAsRead();
    void emailLinksOpenTheirSheets_data();
    void emailLinksOpenTheirSheets();

private:
    std::unique_ptr<test::TempDir> m_data;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<ToolsViewActions> m_page;
    std::unique_ptr<QAbstractItemModelTester> m_modelTester;

    void store(const Dictionary& settings) {
        QVERIFY(m_delegate->settingsStore().saveDictionary(settings).ok());
    }
    void storeActions(const Array& actions) { store(Dictionary{{"actionsArray", actions}}); }
    Array storedActions() const {
        return m_delegate->settingsStore()
            .readDictionary()
            .value_or(Dictionary())
            .array("actionsArray");
    }
    void showPage() {
        m_page->hide();
        m_page->show();
    }
    QTableView& table() const { return *control<QTableView>(m_page.get(), "actionsTable"); }
    QString nameAt(int row) const { return table().model()->index(row, 0).data().toString(); }
    // Presses Add or Edit and returns the editor it opened.
    ActionView* openEditor(const char* button) {
        click(m_page.get(), button);
        return openSheet<ActionView>(*m_page);
    }
    // Saves the editor and then the page.
    void saveAll(ActionView* editor) {
        click(editor, "saveButton");
        click(m_page.get(), "saveButton");
    }
};

void ToolsViewActionsTest::init() {
    m_data = std::make_unique<test::TempDir>();
    m_delegate = std::make_unique<AppDelegate>(m_data->str());
    m_page = std::make_unique<ToolsViewActions>(*m_delegate);
    m_page->resize(700, 500);
    m_modelTester = std::make_unique<QAbstractItemModelTester>(
        table().model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
}

void ToolsViewActionsTest::cleanup() {
    m_modelTester.reset();
    m_page.reset();
    m_delegate.reset();
    m_data.reset();
}

void ToolsViewActionsTest::listIsReadOnEveryShowing() {
    const Dictionary run{{"Command", "/bin/true"}};
    const Dictionary email{{"Recipients", Array{Value("ops")}}};
    storeActions({Value(actionRecord("ssh", run, email)), Value(actionRecord("kern"))});
    m_page->show();
    QCOMPARE(table().model()->rowCount(), 2);
    QCOMPARE(nameAt(0), "ssh");
    QCOMPARE(table().model()->index(0, 1).data().toString(), "10.0.0.0/8");
    QCOMPARE(table().model()->index(0, 5).data().toString(), "Run, E-mail");
    QVERIFY(!control(m_page.get(), "saveButton")->isEnabled());

    for (const char* button : {"actionsEdit", "actionsRemove"}) {
        QVERIFY(!control(m_page.get(), button)->isEnabled());
    }
    table().selectRow(1);
    for (const char* button : {"actionsEdit", "actionsRemove"}) {
        QVERIFY(control(m_page.get(), button)->isEnabled());
    }
    table().clearSelection();
    QVERIFY(!control(m_page.get(), "actionsEdit")->isEnabled());

    storeActions({Value(actionRecord("only"))});
    showPage();
    QCOMPARE(table().model()->rowCount(), 1);
    QCOMPARE(nameAt(0), "only");
}

void ToolsViewActionsTest::addStartsANewActionWithDefaults() {
    storeActions({Value(actionRecord("ssh"))});
    m_page->show();
    table().selectRow(0);

    // Add clears the selection first, so a selected row does not turn it into Edit.
    ActionView* editor = openEditor("actionsAdd");
    QVERIFY(editor != nullptr);
    QVERIFY(!control(m_page.get(), "actionsEdit")->isEnabled());
    QVERIFY(!control(m_page.get(), "actionsRemove")->isEnabled());
    QCOMPARE(text(editor, "actionName"), "New Action");
    QVERIFY(control(editor, "actionName")->isEnabled());
    QCOMPARE(text(editor, "actionIP"), "0.0.0.0");
    QCOMPARE(text(editor, "actionMask"), "0");
    QCOMPARE(text(editor, "actionMessage"), "*");
    for (const char* combo : {"actionFacility", "actionSeverity"}) {
        QCOMPARE(control<QComboBox>(editor, combo)->currentIndex(), 0);
        QCOMPARE(control<QComboBox>(editor, combo)->currentText(), "Any");
    }
    for (const char* box : {"actionRun", "actionEmail", "actionEvent"}) {
        QVERIFY(!checked(editor, box));
    }
    QCOMPARE(editor->focusWidget(), control(editor, "actionBlank"));

    click(editor, "saveButton");
    QCOMPARE(table().model()->rowCount(), 2);
    QCOMPARE(nameAt(1), "New Action");
    QCOMPARE(storedActions().size(), 1u); // the file waits for the page's Save
    QSignalSpy back(m_page.get(), &SettingsPage::returnRequested);
    click(m_page.get(), "saveButton");

    const Dictionary added{{"Name", "New Action"},
                           {"IP", "0.0.0.0"},
                           {"Message", "*"},
                           {"Mask", "0"},
                           {"Facility", "Any"},
                           {"Severity", "Any"},
                           {"runCommand", Dictionary{}},
                           {"sendEmail", Dictionary{}},
                           {"setEvent", Dictionary{}}};
    QVERIFY(storedActions() == (Array{Value(actionRecord("ssh")), Value(added)}));
    QCOMPARE(back.count(), 1);
    QCOMPARE(back.front().front().value<Page>(), Page::Tools);
}

void ToolsViewActionsTest::editKeepsThePlaceInTheList() {
    Dictionary odd = actionRecord("odd", {{"Command", "/bin/true"}});
    odd.set("Mask", "24abc");
    odd.set("Facility", "Netware"); // no item has it: shown and kept as it is
    odd.set("Severity", "Debug");
    storeActions({Value(actionRecord("first")), Value(odd), Value(actionRecord("last"))});
    m_page->show();
    table().selectRow(1);

    ActionView* editor = openEditor("actionsEdit");
    QVERIFY(editor != nullptr);
    QVERIFY(!control(editor, "actionName")->isEnabled());
    QCOMPARE(text(editor, "actionName"), "odd");
    QCOMPARE(text(editor, "actionIP"), "10.0.0.0");
    QCOMPARE(text(editor, "actionMask"), "24"); // a whole number
    QCOMPARE(control<QComboBox>(editor, "actionFacility")->currentText(), "Netware");
    auto* severity = control<QComboBox>(editor, "actionSeverity");
    QCOMPARE(severity->currentText(), "Debug");
    QCOMPARE(severity->currentIndex(), severity->findText("Debug"));
    QVERIFY(checked(editor, "actionRun"));
    QVERIFY(!checked(editor, "actionEmail"));

    control<QLineEdit>(editor, "actionMessage")->setText("sudo");
    saveAll(editor);

    Dictionary changed = odd;
    changed.set("Mask", "24");
    changed.set("Message", "sudo");
    QVERIFY(storedActions() ==
            (Array{Value(actionRecord("first")), Value(changed), Value(actionRecord("last"))}));
}

void ToolsViewActionsTest::uncheckingACommandStoresAnEmptySubRecord() {
    const Dictionary event{{"Type", "Local7.Debug"}, {"Format", "$message"}};
    storeActions({Value(actionRecord("a", {{"Command", "/bin/true"}}, {}, event))});
    m_page->show();
    table().selectRow(0);
    ActionView* editor = openEditor("actionsEdit");
    QVERIFY(checked(editor, "actionRun"));
    click(editor, "actionRun");
    QVERIFY(!checked(editor, "actionRun"));
    QVERIFY(openSheet(*editor) == nullptr); // turning a command off opens nothing
    saveAll(editor);

    QVERIFY(storedActions() == Array{Value(actionRecord("a", {}, {}, event))});
    showPage();
    table().selectRow(0);
    editor = openEditor("actionsEdit");
    QVERIFY(!checked(editor, "actionRun"));
    QVERIFY(checked(editor, "actionEvent"));
}

void ToolsViewActionsTest::linkOpensItsEditorWhileTheBoxIsOff_data() {
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("sheetClass");
    QTest::newRow("run") << "actionRunText"
                         << "actionRun"
                         << "velmora::ActionCommandRun";
    QTest::newRow("e-mail") << "actionEmailText"
                            << "actionEmail"
                            << "velmora::ActionCommandEmail";
    QTest::newRow("event") << "actionEventText"
                           << "actionEvent"
                           << "velmora::ActionCommandEvent";
}

void ToolsViewActionsTest::linkOpensItsEditorWhileTheBoxIsOff() {
    QFETCH(QString, link);
    QFETCH(QString, box);
    QFETCH(QString, sheetClass);
    m_page->show();
    ActionView* editor = openEditor("actionsAdd");
    auto* linkButton = control<QPushButton>(editor, qPrintable(link));
    QVERIFY(linkButton->font().underline());
    QCOMPARE(linkButton->cursor().shape(), Qt::PointingHandCursor);

    linkButton->click();
    QDialog* sheet = openSheet(*editor, qPrintable(sheetClass));
    QVERIFY(sheet != nullptr);
    QVERIFY(!checked(editor, qPrintable(box)));
    // At the size it was designed at, which the user cannot change.
    QCOMPARE(sheet->minimumSize(), sheet->maximumSize());
    QCOMPARE(sheet->size(), sheet->maximumSize());
    click(sheet, "cancelButton");
    QVERIFY(!sheet->isVisible());
    QVERIFY(!checked(editor, qPrintable(box)));
}

void ToolsViewActionsTest::commandCancelledWithNothingStoredTurnsItsBoxOff_data() {
    QTest::addColumn<QString>("box");
    QTest::addColumn<QString>("sheetClass");
    QTest::addColumn<bool>("byEscape");
    QTest::newRow("run, Cancel") << "actionRun"
                                 << "velmora::ActionCommandRun" << false;
    QTest::newRow("e-mail, Escape") << "actionEmail"
                                    << "velmora::ActionCommandEmail" << true;
    QTest::newRow("event, Cancel") << "actionEvent"
                                   << "velmora::ActionCommandEvent" << false;
}

void ToolsViewActionsTest::commandCancelledWithNothingStoredTurnsItsBoxOff() {
    QFETCH(QString, box);
    QFETCH(QString, sheetClass);
    QFETCH(bool, byEscape);
    m_page->show();
    ActionView* editor = openEditor("actionsAdd");
    click(editor, qPrintable(box));
    QVERIFY(checked(editor, qPrintable(box)));
    QDialog* sheet = openSheet(*editor, qPrintable(sheetClass));
    QVERIFY(sheet != nullptr);

    if (byEscape) {
        QTest::keyClick(sheet, Qt::Key_Escape);
    } else {
        click(sheet, "cancelButton");
    }
    QVERIFY(!sheet->isVisible());
    QVERIFY(!checked(editor, qPrintable(box)));
}

void ToolsViewActionsTest::runCommandStoresItsFieldsOrNothing() {
    // An environment read with CR LF line ends is written back with them.
    storeActions(
        {Value(actionRecord("a", {{"Command", "/bin/true"}, {"Environment", "A=1\r\nB=2"}}))});
    m_page->show();
    table().selectRow(0);
    ActionView* editor = openEditor("actionsEdit");
    click(editor, "actionRunText");
    QDialog* sheet = openSheet(*editor, "velmora::ActionCommandRun");
    QCOMPARE(text(sheet, "taskCommand"), "/bin/true");
    QCOMPARE(control<QPlainTextEdit>(sheet, "taskEnvironment")->toPlainText(), "A=1\nB=2");

    QString title;
    QString directory;
    test::whenModal<QFileDialog>([&](QFileDialog& chooser) {
        title = chooser.windowTitle();
        directory = chooser.directory().absolutePath();
        test::chooseFile(chooser, QStringLiteral("/usr/bin/env"));
    });
    click(sheet, "browseButton");
    QCOMPARE(title, "Please select command file path:");
    QCOMPARE(directory, "/usr/bin");
    QCOMPARE(text(sheet, "taskCommand"), "/usr/bin/env");
    control<QLineEdit>(sheet, "taskArguments")->setText("-i");
    click(sheet, "saveButton");
    QVERIFY(checked(editor, "actionRun"));
    saveAll(editor);
    const Dictionary stored{
        {"Command", "/usr/bin/env"}, {"Environment", "A=1\r\nB=2"}, {"Arguments", "-i"}};
    QVERIFY(storedActions() == Array{Value(actionRecord("a", stored))});

    // An empty path removes the command with its arguments and environment.
    showPage();
    table().selectRow(0);
    editor = openEditor("actionsEdit");
    click(editor, "actionRunText");
    sheet = openSheet(*editor, "velmora::ActionCommandRun");
    QCOMPARE(text(sheet, "taskArguments"), "-i");
    control<QLineEdit>(sheet, "taskCommand")->clear();
    click(sheet, "saveButton");
    QVERIFY(!checked(editor, "actionRun"));
    saveAll(editor);
    QVERIFY(storedActions() == Array{Value(actionRecord("a"))});
}

void ToolsViewActionsTest::emailCommandTakesAddressesAsTyped() {
    m_page->show();
    ActionView* editor = openEditor("actionsAdd");
    click(editor, "actionEmailText");
    QDialog* sheet = openSheet(*editor, "velmora::ActionCommandEmail");
    auto* address = control<QLineEdit>(sheet, "recipientEmail");
    QWidget* add = control(sheet, "addRecipient");
    QAbstractItemModel& rows = *control<QTableView>(sheet, "recipientsTable")->model();
    QVERIFY(!add->isEnabled());

    for (int i = 0; i < 2; ++i) {
        QTest::keyClicks(address, "abc");
        QVERIFY(add->isEnabled());
        click(sheet, "addRecipient");
        QVERIFY(!add->isEnabled());
        QVERIFY(address->text().isEmpty());
    }
    QCOMPARE(rows.rowCount(), 2);
    QCOMPARE(rows.index(1, 0).data().toString(), "abc");

    QTest::keyClicks(address, "x");
    QTest::keyClick(address, Qt::Key_Backspace);
    QVERIFY(!add->isEnabled());
    QCOMPARE(sheet->focusWidget(), control(sheet, "recipientBlank"));

    QTest::keyClicks(address, "ops@example.com");
    click(sheet, "addRecipient");
    click(sheet, "removeRecipient"); // nothing selected: nothing removed
    QCOMPARE(rows.rowCount(), 3);
    control<QTableView>(sheet, "recipientsTable")->selectRow(0);
    click(sheet, "removeRecipient");
    QCOMPARE(rows.rowCount(), 2);

    click(sheet, "saveButton");
    QVERIFY(checked(editor, "actionEmail"));
    saveAll(editor);
    const Dictionary email{{"Recipients", Array{Value("abc"), Value("ops@example.com")}}};
    QVERIFY(storedActions().front().asDictionary()->dictionary("sendEmail") == email);
}

void ToolsViewActionsTest::emailCommandRefusesAnEmptyList() {
    const Dictionary email{{"Recipients", Array{Value("ops@example.com")}}, {"Subject", "kept"}};
    storeActions({Value(actionRecord("a", {}, email))});
    m_page->show();
    table().selectRow(0);
    ActionView* editor = openEditor("actionsEdit");
    click(editor, "actionEmailText");
    QDialog* sheet = openSheet(*editor, "velmora::ActionCommandEmail");
    control<QTableView>(sheet, "recipientsTable")->selectRow(0);
    click(sheet, "removeRecipient");

    QStringList alert;
    test::whenModal<QMessageBox>([&](QMessageBox& box) {
        alert << box.windowTitle() << box.text() << box.informativeText();
        box.accept();
    });
    click(sheet, "saveButton");
    QCOMPARE(alert, (QStringList{"Velmora", "No recipients selected",
                                 "Please add recipients and try again."}));
    QVERIFY(sheet->isVisible());

    // Cancel: the box shows the list stored before, which is still there.
    click(sheet, "cancelButton");
    QVERIFY(checked(editor, "actionEmail"));
    saveAll(editor);
    QVERIFY(storedActions() == Array{Value(actionRecord("a", {}, email))});
}

void ToolsViewActionsTest::eventCommandOffersThePriorityTexts() {
    m_page->show();
    ActionView* editor = openEditor("actionsAdd");
    click(editor, "actionEvent");
    QDialog* sheet = openSheet(*editor, "velmora::ActionCommandEvent");
    auto* type = control<QComboBox>(sheet, "eventType");
    QCOMPARE(type->count(), 24 * 8);
    QCOMPARE(type->itemText(0), "Kern.Emergency");
    QCOMPARE(type->itemText(type->count() - 1), "Local7.Debug");
    QCOMPARE(type->currentIndex(), 0);

    type->setCurrentIndex(type->findText("Local7.Debug"));
    control<QPlainTextEdit>(sheet, "eventFormat")->setPlainText("Forwarded: $message");
    click(sheet, "saveButton");
    QVERIFY(checked(editor, "actionEvent"));

    click(editor, "actionEventText");
    sheet = openSheet(*editor, "velmora::ActionCommandEvent");
    QCOMPARE(control<QComboBox>(sheet, "eventType")->currentText(), "Local7.Debug");
    auto* format = control<QPlainTextEdit>(sheet, "eventFormat");
    QCOMPARE(format->toPlainText(), "Forwarded: $message");
    // An empty format switches the command off, its type included.
    format->clear();
    click(sheet, "saveButton");
    QVERIFY(!checked(editor, "actionEvent"));
    saveAll(editor);
    QVERIFY(storedActions().front().asDictionary()->dictionary("setEvent").empty());
    QVERIFY(storedActions().front().asDictionary()->contains("setEvent"));
}

void ToolsViewActionsTest::removeTakesEveryEqualActionAndCancelDiscards() {
    const Array twins{Value(actionRecord("a")), Value(actionRecord("b")), Value(actionRecord("a"))};
    storeActions(twins);
    m_page->show();
    table().selectRow(2);
    click(m_page.get(), "actionsRemove");
    QCOMPARE(table().model()->rowCount(), 1);
    QCOMPARE(nameAt(0), "b");
    QVERIFY(!control(m_page.get(), "actionsRemove")->isEnabled());
    QVERIFY(control(m_page.get(), "saveButton")->isEnabled());

    QSignalSpy back(m_page.get(), &SettingsPage::returnRequested);
    click(m_page.get(), "cancelButton");
    QCOMPARE(back.count(), 1);
    QVERIFY(storedActions() == twins);

    showPage();
    QCOMPARE(table().model()->rowCount(), 3);
    table().selectRow(0);
    click(m_page.get(), "actionsRemove");
    click(m_page.get(), "saveButton");
    QVERIFY(storedActions() == Array{Value(actionRecord("b"))});
}

void ToolsViewActionsTest::saveKeepsEveryOtherKeyAsRead() {
    const Dictionary settings{
        {"hostsDisplay", true},
        {"severityError", 0},
        {"actionsEmailPort", 0},
        {"actionsFormatBody", "Date:$date\r\n"},
        {"includeFiltersArray", Array{Value(Dictionary{{"Name", "f"}})}},
        {"serverOnlyKey", Data{{0x00, 0xff}}},
        // Not a record: shown as an empty row and stored back as it is.
        {"actionsArray", Array{Value("not a record"), Value(actionRecord("a"))}},
    };
    store(settings);
    m_page->show();
    QCOMPARE(table().model()->rowCount(), 2);
    QCOMPARE(nameAt(0), "");
    // What another page saves meanwhile is overwritten by the copy read on showing.
    store(Dictionary{{"lateKey", "lost"}});

    ActionView* editor = openEditor("actionsAdd");
    saveAll(editor);

    const std::optional<Dictionary> saved = m_delegate->settingsStore().readDictionary();
    QVERIFY(saved.has_value());
    QCOMPARE(saved->size(), settings.size());
    for (const auto& [key, value] : settings) {
        if (key != "actionsArray") {
            QVERIFY2(saved->find(key) != nullptr && *saved->find(key) == value, key.c_str());
        }
    }
    const Array& actions = saved->array("actionsArray");
    QCOMPARE(actions.size(), 3u);
    QVERIFY(actions[0] == Value("not a record"));
    QVERIFY(actions[1] == Value(actionRecord("a")));
}

void ToolsViewActionsTest::emailLinksOpenTheirSheets_data() {
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("sheetClass");
    QTest::newRow("server") << "emailServer"
                            << "velmora::ActionsEmailServer";
    QTest::newRow("format") << "emailFormat"
                            << "velmora::ActionsEmailFormat";
    QTest::newRow("test") << "emailTest"
                          << "velmora::ActionsEmailTest";
}

void ToolsViewActionsTest::emailLinksOpenTheirSheets() {
    QFETCH(QString, link);
    QFETCH(QString, sheetClass);
    m_page->show();
    auto* label = control<QLabel>(m_page.get(), qPrintable(link));
    QVERIFY(label->font().underline());
    QCOMPARE(label->cursor().shape(), Qt::PointingHandCursor);
    QTest::mouseClick(label, Qt::LeftButton);
    QDialog* sheet = openSheet(*m_page, qPrintable(sheetClass));
    QVERIFY(sheet != nullptr);
    QCOMPARE(sheet->windowModality(), Qt::WindowModal);
    QVERIFY(sheet->testAttribute(Qt::WA_DeleteOnClose));
}

QTEST_MAIN(ToolsViewActionsTest)
#include "ToolsViewActionsTest.moc"
