#include "scan/ScanViewEvent.h"

#include <memory>

#include <QItemSelectionModel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QTest>

#include "core/eventlog/EventStore.h"
#include "scan/EventTableModel.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::record;
using test::runQueued;

class ScanViewEventTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void showsTheWholeEvent();
    void steppingMovesTheTablesSelection();
    void stepButtonsStopAtTheEnds_data();
    void stepButtonsStopAtTheEnds();
    void withoutATableTheStepButtonsAreHidden();
    void okAndCancelClose();

private:
    std::unique_ptr<EventStore> m_store;
    std::unique_ptr<EventTableModel> m_model;
    std::unique_ptr<QTableView> m_table;
    std::unique_ptr<ScanViewEvent> m_sheet;

    void fill(int rows);
    ScanViewEvent& openOn(int row);
    QString field(const char* name) const { return m_sheet->findChild<QLineEdit*>(name)->text(); }
    QPushButton& button(const char* name) const { return *m_sheet->findChild<QPushButton*>(name); }
};

void ScanViewEventTest::init() {
    m_store = std::make_unique<EventStore>();
    m_model = std::make_unique<EventTableModel>(*m_store);
    m_table = std::make_unique<QTableView>();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setModel(m_model.get());
}

void ScanViewEventTest::cleanup() {
    m_sheet.reset();
    m_table.reset();
    m_model.reset();
    m_store.reset();
}

// Events "event 0" (oldest, the last row) to "event N-1" (the top row).
void ScanViewEventTest::fill(int rows) {
    for (int i = 0; i < rows; ++i) {
        const std::string message = "event " + std::to_string(i);
        m_model->insertRaw(
            record(std::to_string(1700000000 + i), "Local7.Debug", "10.0.0.1", message), {});
    }
    runQueued();
}

ScanViewEvent& ScanViewEventTest::openOn(int row) {
    m_table->selectRow(row);
    m_sheet = std::make_unique<ScanViewEvent>(*m_store, m_model->eventAt(row), m_table.get());
    return *m_sheet;
}

void ScanViewEventTest::showsTheWholeEvent() {
    const std::string message = "first line, with a comma\nsecond line " + std::string(3000, 'x');
    m_model->insertRaw(record("1700000000", "Kern.Critical", "server-7", message), {});
    runQueued();
    m_store->appear("", "", kDefaultSeverityLevels);

    openOn(0);
    QCOMPARE(m_sheet->windowTitle(), "Velmora Event");
    QCOMPARE(field("eventDate"), "2023-11-14 22:13:20");
    QCOMPARE(field("eventPriority"), "Kern.Critical");
    QCOMPARE(field("eventHost"), "server-7");
    QCOMPARE(m_sheet->findChild<QPlainTextEdit*>("eventMessage")->toPlainText(),
             QString::fromStdString(message));
}

void ScanViewEventTest::steppingMovesTheTablesSelection() {
    fill(4);
    openOn(1);
    QCOMPARE(m_table->selectionModel()->selectedRows().size(), 1);

    QTest::mouseClick(&button("eventDown"), Qt::LeftButton);
    QCOMPARE(m_table->selectionModel()->selectedRows().front().row(), 2);
    QCOMPARE(m_sheet->eventId(), m_model->eventAt(2));
    QCOMPARE(m_sheet->findChild<QPlainTextEdit*>("eventMessage")->toPlainText(), "event 1");

    QTest::mouseClick(&button("eventUp"), Qt::LeftButton);
    QTest::mouseClick(&button("eventUp"), Qt::LeftButton);
    QCOMPARE(m_table->selectionModel()->selectedRows().size(), 1);
    QCOMPARE(m_table->selectionModel()->selectedRows().front().row(), 0);
    QCOMPARE(field("eventDate"), "1700000003"); // as the table last wrote it: still raw
    QVERIFY(!button("eventUp").isEnabled());
}

void ScanViewEventTest::stepButtonsStopAtTheEnds_data() {
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("up");
    QTest::addColumn<bool>("down");
    QTest::newRow("newest") << 3 << 0 << false << true;
    QTest::newRow("middle") << 3 << 1 << true << true;
    QTest::newRow("oldest") << 3 << 2 << true << false;
    QTest::newRow("only row") << 1 << 0 << false << false;
}

void ScanViewEventTest::stepButtonsStopAtTheEnds() {
    QFETCH(int, rows);
    QFETCH(int, row);
    QFETCH(bool, up);
    QFETCH(bool, down);
    fill(rows);
    openOn(row);
    QCOMPARE(button("eventUp").isEnabled(), up);
    QCOMPARE(button("eventDown").isEnabled(), down);

    // A new event drops the table's selection: there is nowhere left to step from.
    m_table->clearSelection();
    QTest::mouseClick(&button("eventDown"), Qt::LeftButton);
    QCOMPARE(m_sheet->eventId(), m_model->eventAt(row));
}

void ScanViewEventTest::withoutATableTheStepButtonsAreHidden() {
    fill(3);
    m_sheet = std::make_unique<ScanViewEvent>(*m_store, m_model->eventAt(1));
    m_sheet->show();
    QVERIFY(!button("eventUp").isVisible());
    QVERIFY(!button("eventDown").isVisible());
    QCOMPARE(m_sheet->findChild<QPlainTextEdit*>("eventMessage")->toPlainText(), "event 1");

    openOn(1);
    m_sheet->show();
    QVERIFY(button("eventUp").isVisible());
    m_sheet->setHideButtons(true);
    QVERIFY(m_sheet->hideButtons());
    QVERIFY(!button("eventUp").isVisible());
    QVERIFY(!button("eventDown").isVisible());
}

void ScanViewEventTest::okAndCancelClose() {
    fill(2);
    for (const char* name : {"okButton", "cancelButton"}) {
        openOn(0);
        m_sheet->show();
        QTest::mouseClick(&button(name), Qt::LeftButton);
        QVERIFY(!m_sheet->isVisible());
        QCOMPARE(m_model->rowCount(), 2);
    }
}

QTEST_MAIN(ScanViewEventTest)
#include "ScanViewEventTest.moc"
