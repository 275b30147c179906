#include <functional>
#include <memory>

#include <QCheckBox>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include "core/eventlog/EventStore.h"
#include "core/eventlog/LogLoader.h"
#include "core/settings/RuntimeSettings.h"
#include "scan/EventTableModel.h"
#include "scan/ProgressSheet.h"
#include "scan/ScanView.h"
#include "support/UdpReceiver.h"
#include "ui/ModalDriver.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::whenModal;

namespace {

// Oldest first, as in the file; the table shows them newest first.
const QByteArray kFirst = "1700000000,Local7.Debug,10.0.0.1,first\n";
const QByteArray kSecond = "1700000001,Kern.Error,10.0.0.2,second, with a comma\n";
const QByteArray kThird = "1700000002,Auth.Notice,10.0.0.3,third\n";

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& content) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

QPushButton* buttonWithText(QMessageBox& box, const QString& text) {
    for (QAbstractButton* button : box.buttons()) {
        if (button->text() == text) {
            return qobject_cast<QPushButton*>(button);
        }
    }
    return nullptr;
}

} // namespace

class ScanOperationsTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void noSelectionAsksForAllEvents_data();
    void noSelectionAsksForAllEvents();
    void confirmationNoChangesNothing_data();
    void confirmationNoChangesNothing();
    void deletingAllEmptiesTheTableAndKeepsLinesItNeverShowed();
    void aLongDeletionShowsProgressAndEndsTheSame();
    void exportWritesTheShownTexts_data();
    void exportWritesTheShownTexts();
    void exportOfAnEmptyTableWritesTheHeader();
    void theEventsChosenFirstAreTheOnesDeleted_data();
    void theEventsChosenFirstAreTheOnesDeleted();
    void theEventsChosenFirstAreTheOnesExported_data();
    void theEventsChosenFirstAreTheOnesExported();
    void cancelLeavesTheFilesAsTheyWere();
    void testButtonSendsTheDatagram();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<EventStore> m_store;
    RuntimeSettings m_runtime;
    std::unique_ptr<ScanView> m_page;

    EventTableModel& model() { return m_page->model(); }
    QTableView& table() { return m_page->tableView(); }
    QString logPath() const { return m_dir.filePath("events.log"); }
    void open(const QByteArray& log);
    void select(const QList<int>& rows);
    void press(const char* button);
    // What the server does while a question is open: a new event, and maybe the removal of
    // kFirst's event.
    void serverActs(bool removesFirst);
    // Answers the alert that says no events are selected by asking for all of them, then the
    // dialog that follows with `then`.
    template <typename Dialog>
    void answerAllEventsThen(std::function<void(Dialog&)> then);
    QStringList messages();
};

void ScanOperationsTest::init() {
    QVERIFY(m_dir.isValid());
    m_store = std::make_unique<EventStore>();
    m_runtime = RuntimeSettings();
    m_page = std::make_unique<ScanView>(*m_store, m_runtime, m_dir.path().toStdString());
    m_page->resize(800, 500);
}

void ScanOperationsTest::cleanup() {
    m_page.reset();
    m_store.reset();
    for (const QString& name : QDir(m_dir.path()).entryList(QDir::Files)) {
        QFile::remove(m_dir.filePath(name));
    }
}

// The log file, loaded as at start, and the page on screen.
void ScanOperationsTest::open(const QByteArray& log) {
    writeAll(logPath(), log);
    model().rebuild([&](EventStore& store) { loadLogFiles(m_dir.path().toStdString(), store); });
    m_page->show();
}

void ScanOperationsTest::select(const QList<int>& rows) {
    for (const int row : rows) {
        table().selectionModel()->select(model().index(row, 0),
                                         QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
}

void ScanOperationsTest::press(const char* button) {
    auto* pressed = m_page->findChild<QPushButton*>(button);
    QVERIFY(pressed != nullptr);
    QTest::mouseClick(pressed, Qt::LeftButton);
}

void ScanOperationsTest::serverActs(bool removesFirst) {
    m_page->insertEvent(test::record("1700000009", "User.Notice", "10.0.0.9", "arrived"), {});
    if (removesFirst) {
        m_page->removeEvent(test::record("1700000000", "Local7.Debug", "10.0.0.1", "first"));
    }
    test::runQueued();
}

template <typename Dialog>
void ScanOperationsTest::answerAllEventsThen(std::function<void(Dialog&)> then) {
    whenModal<QMessageBox>([then](QMessageBox& box) {
        box.checkBox()->setChecked(true);
        whenModal<Dialog>(then);
        box.buttons().front()->click();
    });
}

QStringList ScanOperationsTest::messages() {
    QStringList shown;
    for (int row = 0; row < model().rowCount(); ++row) {
        shown << test::cell(model(), row, EventTableModel::MessageColumn).toString();
    }
    return shown;
}

void ScanOperationsTest::noSelectionAsksForAllEvents_data() {
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("suppression");
    QTest::newRow("Delete") << "scanDelete"
                            << "Delete all events";
    QTest::newRow("Export") << "scanExport"
                            << "Export all events";
}

void ScanOperationsTest::noSelectionAsksForAllEvents() {
    QFETCH(QString, button);
    QFETCH(QString, suppression);
    open(kFirst + kSecond);

    // The check box left off: nothing more is asked, nothing changes.
    bool asked = false;
    whenModal<QMessageBox>([&](QMessageBox& box) {
        asked = true;
        QCOMPARE(box.windowTitle(), "Velmora");
        QCOMPARE(box.text(), "No events selected");
        QCOMPARE(box.informativeText(), "Please select specific events or check all events.");
        QVERIFY(box.checkBox() != nullptr);
        QCOMPARE(box.checkBox()->text(), suppression);
        QCOMPARE(box.buttons().size(), 1);
        box.buttons().front()->click();
    });
    press(button.toLatin1().constData());

    QVERIFY(asked);
    QCOMPARE(model().rowCount(), 2);
    QCOMPARE(readAll(logPath()), kFirst + kSecond);
    QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files).size(), 1);
}

void ScanOperationsTest::confirmationNoChangesNothing_data() {
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("informative");
    QTest::newRow("selected events")
        << QList<int>{0, 2} << "Are you sure you want to delete selected events?"
        << "By clicking 'Yes' you will permanently delete selected events.";
    QTest::newRow("all events") << QList<int>{} << "Are you sure you want to delete all events?"
                                << "By clicking 'Yes' you will permanently delete all events.";
}

void ScanOperationsTest::confirmationNoChangesNothing() {
    QFETCH(QList<int>, selected);
    QFETCH(QString, message);
    QFETCH(QString, informative);
    open(kFirst + kSecond + kThird);
    select(selected);
    const SeverityCounters counters = m_store->counters();

    bool confirmationShown = false;
    const auto answerConfirmation = [&](QMessageBox& box) {
        confirmationShown = true;
        QCOMPARE(box.windowTitle(), "Velmora");
        QCOMPARE(box.text(), message);
        QCOMPARE(box.informativeText(), informative);
        QCOMPARE(box.buttons().size(), 2);
        QVERIFY(buttonWithText(box, "Yes") != nullptr);
        QCOMPARE(box.defaultButton(), buttonWithText(box, "Yes"));
        buttonWithText(box, "No")->click();
    };
    if (selected.isEmpty()) {
        whenModal<QMessageBox>([&](QMessageBox& box) {
            box.checkBox()->setChecked(true);
            whenModal<QMessageBox>(answerConfirmation);
            box.buttons().front()->click();
        });
    } else {
        whenModal<QMessageBox>(answerConfirmation);
    }
    m_page->deleteEvents();

    QVERIFY(confirmationShown);
    QCOMPARE(model().rowCount(), 3);
    QCOMPARE(table().selectionModel()->selectedRows().size(), selected.size());
    QCOMPARE(readAll(logPath()), kFirst + kSecond + kThird);
    QCOMPARE(m_store->counters(), counters);
}

void ScanOperationsTest::deletingAllEmptiesTheTableAndKeepsLinesItNeverShowed() {
    open(kFirst + kSecond);
    writeAll(m_dir.filePath("other.log"), kThird);
    // Written by the server after the list was built: not in the table.
    const QByteArray later = "1700000003,Local7.Debug,10.0.0.1,written later\n";
    writeAll(logPath(), kFirst + kSecond + later);

    whenModal<QMessageBox>([&](QMessageBox& box) {
        box.checkBox()->setChecked(true);
        whenModal<QMessageBox>(
            [](QMessageBox& confirm) { buttonWithText(confirm, "Yes")->click(); });
        box.buttons().front()->click();
    });
    QSignalSpy finished(m_page.get(), &ScanView::deletionFinished);
    m_page->deleteEvents();

    QCOMPARE(finished.count(), 1);
    QCOMPARE(model().rowCount(), 0);
    QCOMPARE(readAll(logPath()), later);
    // other.log was read after the list was built too: its line is no event of the table.
    QCOMPARE(readAll(m_dir.filePath("other.log")), kThird);
    QCOMPARE(m_store->counters(), SeverityCounters());
}

void ScanOperationsTest::aLongDeletionShowsProgressAndEndsTheSame() {
    QByteArray log;
    for (int i = 0; i < 3000; ++i) {
        log += "17000" + QByteArray::number(10000 + i) + ",User.Warning,10.0.0.9,event " +
               QByteArray::number(i) + "\n";
    }
    open(log + kFirst);
    m_page->setProgressDelay(std::chrono::milliseconds(0));
    select({0, 1, 2999}); // kFirst, event 2999 and event 1
    whenModal<QMessageBox>([](QMessageBox& box) { buttonWithText(box, "Yes")->click(); });
    QSignalSpy finished(m_page.get(), &ScanView::deletionFinished);
    m_page->deleteEvents();

    const ProgressSheet* sheet = m_page->findChild<ProgressSheet*>();
    QVERIFY(finished.count() == 1 || (sheet != nullptr && sheet->isVisible()));
    QVERIFY(finished.count() == 1 || finished.wait());
    QVERIFY(m_page->findChild<ProgressSheet*>() == nullptr);

    QByteArray expected = log;
    expected.replace("1700010001,User.Warning,10.0.0.9,event 1\n", "");
    expected.replace("1700012999,User.Warning,10.0.0.9,event 2999\n", "");
    QCOMPARE(readAll(logPath()), expected);
    QCOMPARE(model().rowCount(), 3001 - 3);
    QCOMPARE(m_store->counters()[Severity::Warning], 2998);
    QCOMPARE(m_store->counters()[Severity::Debug], 0);
}

void ScanOperationsTest::exportWritesTheShownTexts_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<bool>("messageFirst");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("txt, selected rows")
        << "events.txt" << QList<int>{2, 0} << false
        << QByteArray("\tDate\tPriority\tHost\tMessage\n"
                      "\t14.11.2023 22:13\tAuth.Notice\t10.0.0.3\tthird\n"
                      "\t14.11.2023 22:13\tLocal7.Debug\t10.0.0.1\tfirst\n");
    QTest::newRow("csv, all events")
        << "events.csv" << QList<int>{} << false
        << QByteArray(",Date,Priority,Host,Message\n"
                      ",14.11.2023 22:13,Auth.Notice,10.0.0.3,third\n"
                      ",14.11.2023 22:13,Kern.Error,10.0.0.2,second, with a comma\n"
                      ",14.11.2023 22:13,Local7.Debug,10.0.0.1,first\n");
    QTest::newRow("csv, columns moved") << "events.csv" << QList<int>{1} << true
                                        << QByteArray("Message,,Date,Priority,Host\n"
                                                      "second, with a comma,,14.11.2023 "
                                                      "22:13,Kern.Error,10.0.0.2\n");
}

void ScanOperationsTest::exportWritesTheShownTexts() {
    QFETCH(QString, name);
    QFETCH(QList<int>, selected);
    QFETCH(bool, messageFirst);
    QFETCH(QByteArray, expected);
    m_runtime.oldDateFormat = m_runtime.newDateFormat = "dd.MM.yyyy HH:mm";
    open(kFirst + kSecond + kThird);
    select(selected);
    if (messageFirst) {
        table().horizontalHeader()->moveSection(EventTableModel::MessageColumn, 0);
    }
    const QString target = m_dir.filePath(name);

    const auto chooseTarget = [&](QFileDialog& chooser) {
        QCOMPARE(chooser.windowTitle(),
                 "Please select export file name with 'txt' or 'csv' extensions:");
        QCOMPARE(chooser.nameFilters().size(), 2);
        QVERIFY(chooser.nameFilters()[0].contains("*.txt"));
        QVERIFY(chooser.nameFilters()[1].contains("*.csv"));
        test::chooseFile(chooser, target);
    };
    if (selected.isEmpty()) {
        whenModal<QMessageBox>([&](QMessageBox& box) {
            box.checkBox()->setChecked(true);
            whenModal<QFileDialog>(chooseTarget);
            box.buttons().front()->click();
        });
    } else {
        whenModal<QFileDialog>(chooseTarget);
    }
    QSignalSpy finished(m_page.get(), &ScanView::exportFinished);
    m_page->exportEvents();

    QCOMPARE(finished.count(), 1);
    QCOMPARE(readAll(target), expected);
    // Written beside the target and moved into place: nothing else is left.
    QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files).size(), 2);
}

void ScanOperationsTest::exportOfAnEmptyTableWritesTheHeader() {
    m_page->setProgressDelay(std::chrono::milliseconds(0));
    open({});
    const QString target = m_dir.filePath("empty.csv");
    whenModal<QMessageBox>([&](QMessageBox& box) {
        box.checkBox()->setChecked(true);
        whenModal<QFileDialog>([&](QFileDialog& chooser) { test::chooseFile(chooser, target); });
        box.buttons().front()->click();
    });
    QSignalSpy finished(m_page.get(), &ScanView::exportFinished);
    m_page->exportEvents();

    QVERIFY(finished.count() == 1 || finished.wait());
    QCOMPARE(readAll(target), QByteArray(",Date,Priority,Host,Message\n"));
}

void ScanOperationsTest::theEventsChosenFirstAreTheOnesDeleted_data() {
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<bool>("removesFirst");
    QTest::addColumn<QByteArray>("left");
    QTest::addColumn<QStringList>("shown");
    // Rows: third, second, first. An event the server removed is no longer there to delete:
    // its line stays for the server to cut.
    QTest::newRow("a new event") << QList<int>{0, 2} << false << kSecond
                                 << QStringList{"arrived", "second, with a comma"};
    QTest::newRow("a new event, a chosen one removed")
        << QList<int>{0, 2} << true << kFirst + kSecond
        << QStringList{"arrived", "second, with a comma"};
    QTest::newRow("all events, a new one, one removed")
        << QList<int>{} << true << kFirst << QStringList{"arrived"};
}

void ScanOperationsTest::theEventsChosenFirstAreTheOnesDeleted() {
    QFETCH(QList<int>, selected);
    QFETCH(bool, removesFirst);
    QFETCH(QByteArray, left);
    QFETCH(QStringList, shown);
    open(kFirst + kSecond + kThird);
    select(selected);

    const std::function<void(QMessageBox&)> confirm = [&](QMessageBox& box) {
        serverActs(removesFirst);
        buttonWithText(box, "Yes")->click();
    };
    if (selected.isEmpty()) {
        answerAllEventsThen(confirm);
    } else {
        whenModal<QMessageBox>(confirm);
    }
    QSignalSpy finished(m_page.get(), &ScanView::deletionFinished);
    m_page->deleteEvents();

    QVERIFY(finished.count() == 1 || finished.wait());
    QCOMPARE(readAll(logPath()), left);
    QCOMPARE(messages(), shown);
    QVERIFY(!table().selectionModel()->hasSelection());
}

void ScanOperationsTest::theEventsChosenFirstAreTheOnesExported_data() {
    QTest::addColumn<QList<int>>("selected");
    QTest::addColumn<bool>("removesFirst");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray header = ",Date,Priority,Host,Message\n";
    const QByteArray third = ",2023-11-14 22:13:22,Auth.Notice,10.0.0.3,third\n";
    const QByteArray second = ",2023-11-14 22:13:21,Kern.Error,10.0.0.2,second, with a comma\n";
    const QByteArray first = ",2023-11-14 22:13:20,Local7.Debug,10.0.0.1,first\n";
    QTest::newRow("a new event") << QList<int>{0, 2} << false << header + third + first;
    QTest::newRow("a new event, a chosen one removed")
        << QList<int>{0, 2} << true << header + third;
    QTest::newRow("all events, a new one")
        << QList<int>{} << false << header + third + second + first;
}

void ScanOperationsTest::theEventsChosenFirstAreTheOnesExported() {
    QFETCH(QList<int>, selected);
    QFETCH(bool, removesFirst);
    QFETCH(QByteArray, expected);
    open(kFirst + kSecond + kThird);
    select(selected);
    const QString target = m_dir.filePath("chosen.csv");

    const std::function<void(QFileDialog&)> choose = [&](QFileDialog& chooser) {
        serverActs(removesFirst);
        test::chooseFile(chooser, target);
    };
    if (selected.isEmpty()) {
        answerAllEventsThen(choose);
    } else {
        whenModal<QFileDialog>(choose);
    }
    QSignalSpy finished(m_page.get(), &ScanView::exportFinished);
    m_page->exportEvents();

    QVERIFY(finished.count() == 1 || finished.wait());
    QCOMPARE(readAll(target), expected);
}

// Cancel while the deletion table is built, or an export written: nothing changes and no file
// is left. Once the rows have left the table the rewrite can no longer be stopped.
void ScanOperationsTest::cancelLeavesTheFilesAsTheyWere() {
    QByteArray log;
    for (int i = 0; i < 2000; ++i) {
        log += "17000" + QByteArray::number(10000 + i) + ",User.Warning,10.0.0.9,event\n";
    }
    open(log);
    m_page->setProgressDelay(std::chrono::milliseconds(0));
    const auto cancelWhenShown = [this](bool cancellable) {
        auto* sheet = m_page->findChild<ProgressSheet*>();
        QVERIFY(sheet != nullptr && sheet->isVisible());
        auto* cancel = sheet->findChild<QPushButton*>("progressCancel");
        QCOMPARE(cancel->isEnabled(), cancellable);
        sheet->reject();
    };

    answerAllEventsThen<QMessageBox>(
        [](QMessageBox& confirm) { buttonWithText(confirm, "Yes")->click(); });
    QSignalSpy deleted(m_page.get(), &ScanView::deletionFinished);
    m_page->deleteEvents();
    cancelWhenShown(true);
    QVERIFY(deleted.wait());
    QCOMPARE(model().rowCount(), 2000);
    QCOMPARE(readAll(logPath()), log);
    QCOMPARE(m_store->counters()[Severity::Warning], 2000);

    const QString target = m_dir.filePath("cancelled.txt");
    answerAllEventsThen<QFileDialog>(
        [&](QFileDialog& chooser) { test::chooseFile(chooser, target); });
    QSignalSpy exported(m_page.get(), &ScanView::exportFinished);
    m_page->exportEvents();
    cancelWhenShown(true);
    QVERIFY(exported.wait());
    QCOMPARE(QDir(m_dir.path()).entryList(QDir::Files), QStringList{"events.log"});

    select({0, 1999});
    whenModal<QMessageBox>([](QMessageBox& confirm) { buttonWithText(confirm, "Yes")->click(); });
    QSignalSpy removed(&model(), &EventTableModel::rowsRemoved);
    m_page->deleteEvents();
    QVERIFY(removed.count() > 0 || removed.wait());
    cancelWhenShown(false);
    QVERIFY(deleted.count() == 2 || deleted.wait());
    QCOMPARE(model().rowCount(), 1998);
    QCOMPARE(readAll(logPath()).count('\n'), 1998);
}

void ScanOperationsTest::testButtonSendsTheDatagram() {
    const test::UdpReceiver server;
    m_page->setTestMessageDestination("127.0.0.1", server.port());
    m_page->show();
    press("scanTest");
    QCOMPARE(QByteArray::fromStdString(server.receive()),
             QByteArray("<191>Kestrix Velmora - Test message"));
}

QTEST_MAIN(ScanOperationsTest)
#include "ScanOperationsTest.moc"
