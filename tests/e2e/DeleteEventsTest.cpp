// The console as the administrator runs it: the application delegate and the main window over a
// data directory of log files, events selected in the Scan table and deleted through the alerts.

#include <memory>

#include <QAbstractButton>
#include <QFile>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QMessageBox>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include "app/AppDelegate.h"
#include "app/WindowController.h"
#include "scan/EventTableModel.h"
#include "scan/ScanView.h"
#include "ui/ModalDriver.h"

using namespace velmora;

namespace {

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void writeAll(const QString& path, const QByteArray& content) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

} // namespace

class DeleteEventsTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();
    void selectedEventsLeaveTheTableAndTheirLinesTheFiles();
};

void DeleteEventsTest::initTestCase() {
    QStandardPaths::setTestModeEnabled(true);
    QGuiApplication::setQuitOnLastWindowClosed(false);
}

void DeleteEventsTest::selectedEventsLeaveTheTableAndTheirLinesTheFiles() {
    QTemporaryDir data;
    QVERIFY(data.isValid());
    const QByteArray kept1 = "1700000000,Local7.Debug,10.0.0.1,boot complete\n";
    const QByteArray gone1 = "1700000060,Kern.Error,10.0.0.2,disk failure, sector 7\n";
    const QByteArray twin = "1700000120,Auth.Warning,10.0.0.3,login refused\n";
    const QByteArray kept2 = "1700000180,Mail.Notice,10.0.0.4,queue run\n";
    const QByteArray crlf = "1700000240,Kern.Error,10.0.0.2,disk failure, sector 7\r\n";
    writeAll(data.filePath("server.log"), kept1 + gone1 + twin + twin + kept2 + crlf);

    AppDelegate delegate(data.path().toStdString());
    WindowController window(delegate);
    delegate.setWindowController(&window);
    window.show();
    QTest::mouseClick(window.findChild<QAbstractButton*>("scanButton"), Qt::LeftButton);
    ScanView& scan = window.scanView();
    QTableView& table = scan.tableView();
    QVERIFY(table.isVisible());
    QCOMPARE(scan.model().rowCount(), 6);
    const std::int64_t errors = delegate.eventStore().counters()[Severity::Error];
    const std::int64_t warnings = delegate.eventStore().counters()[Severity::Warning];

    // Both twins, the LF-ended failure, and the CR LF one, whose line the deletion never matches.
    for (int row = 0; row < scan.model().rowCount(); ++row) {
        const QString message =
            scan.model().index(row, EventTableModel::MessageColumn).data().toString();
        if (message == "login refused" || message.startsWith("disk failure")) {
            table.selectionModel()->select(scan.model().index(row, 0),
                                           QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }
    QCOMPARE(table.selectionModel()->selectedRows().size(), 4);

    test::whenModal<QMessageBox>([](QMessageBox& box) {
        QCOMPARE(box.text(), "Are you sure you want to delete selected events?");
        for (QAbstractButton* button : box.buttons()) {
            if (button->text() == "Yes") {
                button->click();
            }
        }
    });
    QSignalSpy finished(&scan, &ScanView::deletionFinished);
    QTest::mouseClick(scan.findChild<QPushButton*>("scanDelete"), Qt::LeftButton);
    QVERIFY(finished.count() == 1 || finished.wait());

    QCOMPARE(scan.model().rowCount(), 2);
    QVERIFY(!table.selectionModel()->hasSelection());
    QCOMPARE(readAll(data.filePath("server.log")), kept1 + kept2 + crlf);
    QCOMPARE(delegate.eventStore().counters()[Severity::Error], errors - 1);
    QCOMPARE(delegate.eventStore().counters()[Severity::Warning], warnings - 2);
}

QTEST_MAIN(DeleteEventsTest)
#include "DeleteEventsTest.moc"
