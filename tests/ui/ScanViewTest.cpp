#include "scan/ScanView.h"

#include <memory>
#include <optional>

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>

#include "core/eventlog/EventStore.h"
#include "core/settings/RuntimeSettings.h"
#include "scan/EventTableModel.h"
#include "scan/ScanViewEvent.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::cell;
using test::record;
using test::runQueued;

Q_DECLARE_METATYPE(velmora::EventFields)

namespace {

QString dateAt(const EventTableModel& model, int row) {
    return cell(model, row, EventTableModel::DateColumn).toString();
}

QString imageAt(const EventTableModel& model, int row) {
    return cell(model, row, 0, EventTableModel::ImageNameRole).toString();
}

// As the window system delivers one: a click, then the double click.
void doubleClick(QWidget* widget, QPoint position) {
    QTest::mouseClick(widget, Qt::LeftButton, {}, position);
    QTest::mouseDClick(widget, Qt::LeftButton, {}, position);
}

quint32 idAt(const EventTableModel& model, int row) {
    return cell(model, row, 0, EventTableModel::EventIdRole).value<quint32>();
}

} // namespace

class ScanViewTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void rowsEnteredWhileHiddenAreDecoratedOnAppearance();
    void newFormatShowsOnNextAppearance_data();
    void newFormatShowsOnNextAppearance();
    void newLevelsShowOnNextAppearance();
    void newEventClearsSelection();
    void appearanceClearsSelection();
    void removeEventTakesOnlyTheNewerOfTwoIdenticalRows();
    void removeEventMatchesExactly_data();
    void removeEventMatchesExactly();
    void removeEventUsesTheCurrentFormat();
    void doubleClickOpensTheEventSheet();
    void userDragsAColumnIntoAnotherPlace();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<EventStore> m_store;
    std::unique_ptr<RuntimeSettings> m_runtime;
    std::unique_ptr<ScanView> m_page;

    EventTableModel& model() { return m_page->model(); }
    void insertWhileHidden(const EventFields& fields) { model().insertRaw(fields, {}); }
    void reappear() {
        m_page->hide();
        m_page->show();
    }
};

void ScanViewTest::init() {
    m_store = std::make_unique<EventStore>();
    m_runtime = std::make_unique<RuntimeSettings>();
    m_page = std::make_unique<ScanView>(*m_store, *m_runtime, m_dir.path().toStdString());
    m_page->resize(800, 500);
}

void ScanViewTest::cleanup() {
    m_page.reset();
    m_runtime.reset();
    m_store.reset();
}

void ScanViewTest::rowsEnteredWhileHiddenAreDecoratedOnAppearance() {
    insertWhileHidden(record("1700000000", "Local7.Debug"));
    runQueued();
    QCOMPARE(dateAt(model(), 0), "1700000000");
    QVERIFY(!cell(model(), 0, 0, Qt::DecorationRole).isValid());

    m_page->show();
    QCOMPARE(dateAt(model(), 0), "2023-11-14 22:13:20");
    QCOMPARE(imageAt(model(), 0), "Normal");
    QVERIFY(!cell(model(), 0, 0, Qt::DecorationRole).value<QIcon>().isNull());

    // On screen, a new event is decorated at once.
    m_page->insertEvent(record("1700000060", "Kern.Critical"), {});
    runQueued();
    QCOMPARE(dateAt(model(), 0), "2023-11-14 22:14:20");
    QCOMPARE(imageAt(model(), 0), "Severe");
}

void ScanViewTest::newFormatShowsOnNextAppearance_data() {
    QTest::addColumn<QString>("format");
    QTest::addColumn<QString>("shownRow");  // written in the old format, then re-read
    QTest::addColumn<QString>("hiddenRow"); // entered while hidden: from its time stamp

    QTest::newRow("pattern") << "dd.MM.yyyy HH:mm"
                             << "14.11.2023 22:13"
                             << "14.11.2023 23:13";
    QTest::newRow("day period marker") << "h:mm AM/PM"
                                       << "10:13 PM"
                                       << "11:13 PM";
    QTest::newRow("back to the locale") << ""
                                        << "2023-11-14 22:13:20"
                                        << "2023-11-14 23:13:20";
}

void ScanViewTest::newFormatShowsOnNextAppearance() {
    QFETCH(QString, format);
    QFETCH(QString, shownRow);
    QFETCH(QString, hiddenRow);
    m_runtime->oldDateFormat = m_runtime->newDateFormat = "yyyy-MM-dd HH:mm:ss";
    m_page->show();
    m_page->insertEvent(record("1700000000", "Local7.Debug"), {});
    runQueued();
    m_page->hide();

    // What a save of the Options page does to the delegate's formats.
    m_runtime->oldDateFormat = m_runtime->newDateFormat;
    m_runtime->newDateFormat = format.toStdString();
    insertWhileHidden(record("1700003600", "Local7.Debug"));
    runQueued();
    m_page->show();

    QCOMPARE(dateAt(model(), 1), shownRow);
    QCOMPARE(dateAt(model(), 0), hiddenRow);
}

void ScanViewTest::newLevelsShowOnNextAppearance() {
    m_page->show();
    m_page->insertEvent(record("1700000000", "Local7.Debug"), {});
    runQueued();
    QCOMPARE(imageAt(model(), 0), "Normal");

    m_runtime->levels[Severity::Debug] = 2;
    QCOMPARE(imageAt(model(), 0), "Normal");
    reappear();
    QCOMPARE(imageAt(model(), 0), "Severe");
}

void ScanViewTest::newEventClearsSelection() {
    m_page->show();
    for (int i = 0; i < 3; ++i) {
        m_page->insertEvent(record("1700000000", "Local7.Debug"), {});
    }
    runQueued();
    QTableView& table = m_page->tableView();
    table.selectRow(1);
    QCOMPARE(table.selectionModel()->selectedRows().size(), 1);

    m_page->insertEvent(record("1700000001", "Local7.Debug"), {});
    QVERIFY(!table.selectionModel()->hasSelection());
    runQueued();
    QVERIFY(!table.selectionModel()->hasSelection());
}

void ScanViewTest::appearanceClearsSelection() {
    m_page->show();
    m_page->insertEvent(record("1700000000", "Local7.Debug"), {});
    runQueued();
    m_page->tableView().selectRow(0);
    reappear();
    QVERIFY(!m_page->tableView().selectionModel()->hasSelection());
}

void ScanViewTest::removeEventTakesOnlyTheNewerOfTwoIdenticalRows() {
    m_page->show();
    const EventFields twin = record("1700000000", "Local7.Debug", "10.0.0.1", "same");
    const EventId older = m_page->insertEvent(twin, {});
    const EventId other = m_page->insertEvent(record("1700000000", "Local7.Debug", "10.0.0.2"), {});
    m_page->insertEvent(twin, {});
    runQueued();

    m_page->removeEvent(twin);
    runQueued();
    QCOMPARE(model().rowCount(), 2);
    QCOMPARE(idAt(model(), 0), static_cast<quint32>(other));
    QCOMPARE(idAt(model(), 1), static_cast<quint32>(older));

    m_page->removeEvent(twin);
    m_page->removeEvent(twin); // no such row left
    runQueued();
    QCOMPARE(model().rowCount(), 1);
    QCOMPARE(idAt(model(), 0), static_cast<quint32>(other));
}

void ScanViewTest::removeEventMatchesExactly_data() {
    QTest::addColumn<EventFields>("removal");
    QTest::addColumn<int>("rowsLeft");

    QTest::newRow("same event") << record("1700000000", "Local7.Debug", "h", "m") << 1;
    QTest::newRow("another second") << record("1700000001", "Local7.Debug", "h", "m") << 2;
    QTest::newRow("priority case") << record("1700000000", "local7.debug", "h", "m") << 2;
    QTest::newRow("another host") << record("1700000000", "Local7.Debug", "H", "m") << 2;
    QTest::newRow("message prefix") << record("1700000000", "Local7.Debug", "h", "") << 2;
    QTest::newRow("no host") << EventFields{"1700000000", "Local7.Debug", std::nullopt, "m"} << 2;
    QTest::newRow("fractional time stamp") << record("1700000000.4", "Local7.Debug", "h", "m") << 1;
}

void ScanViewTest::removeEventMatchesExactly() {
    QFETCH(EventFields, removal);
    QFETCH(int, rowsLeft);
    m_page->show();
    m_page->insertEvent(record("1700000000", "Local7.Debug", "h", "m"), {});
    m_page->insertEvent(record("1700000100", "Kern.Notice", "x", "y"), {});
    runQueued();

    m_page->removeEvent(removal);
    runQueued();
    QCOMPARE(model().rowCount(), rowsLeft);
}

void ScanViewTest::removeEventUsesTheCurrentFormat() {
    m_runtime->oldDateFormat = m_runtime->newDateFormat = "dd.MM.yyyy HH:mm:ss";
    m_page->show();
    m_page->insertEvent(record("1700000000", "Local7.Debug", "h", "shown"), {});
    m_page->hide();
    // A row that entered while the page was hidden still holds its time stamp, which is not
    // the display text the removal looks for.
    insertWhileHidden(record("1700000000", "Local7.Debug", "h", "hidden"));
    runQueued();

    m_page->removeEvent(record("1700000000", "Local7.Debug", "h", "hidden"));
    m_page->removeEvent(record("1700000000", "Local7.Debug", "h", "shown"));
    runQueued();
    QCOMPARE(model().rowCount(), 1);
    QCOMPARE(cell(model(), 0, EventTableModel::MessageColumn).toString(), "hidden");
}

void ScanViewTest::doubleClickOpensTheEventSheet() {
    m_page->show();
    m_page->insertEvent(record("1700000000", "Local7.Debug", "h", "first"), {});
    m_page->insertEvent(record("1700000001", "Local7.Debug", "h", "second"), {});
    runQueued();
    QTableView& table = m_page->tableView();
    QWidget* rows = table.viewport();

    const QRect below = table.visualRect(model().index(1, 1)).translated(0, 60);
    doubleClick(rows, below.center());
    QVERIFY(m_page->findChild<ScanViewEvent*>() == nullptr);

    doubleClick(rows, table.visualRect(model().index(1, 3)).center());
    auto* sheet = m_page->findChild<ScanViewEvent*>();
    QVERIFY(sheet != nullptr);
    QVERIFY(sheet->isVisible());
    QCOMPARE(sheet->windowTitle(), "Velmora Event");
    QCOMPARE(sheet->windowModality(), Qt::WindowModal);
    QCOMPARE(static_cast<quint32>(sheet->eventId()), idAt(model(), 1));
}

// With the mouse, as a user does: the Message column dragged before the Date column.
void ScanViewTest::userDragsAColumnIntoAnotherPlace() {
    m_page->show();
    QHeaderView& header = *m_page->tableView().horizontalHeader();
    const auto at = [&](int column, int fraction) {
        return QPoint(header.sectionViewportPosition(column) +
                          header.sectionSize(column) / fraction,
                      header.height() / 2);
    };
    const QPoint from = at(EventTableModel::MessageColumn, 2);
    const QPoint to = at(EventTableModel::DateColumn, 4);
    QTest::mousePress(header.viewport(), Qt::LeftButton, {}, from);
    QTest::mouseMove(header.viewport(), (from + to) / 2);
    QTest::mouseMove(header.viewport(), to);
    QTest::mouseRelease(header.viewport(), Qt::LeftButton, {}, to);
    QCOMPARE(header.visualIndex(EventTableModel::MessageColumn),
             header.visualIndex(EventTableModel::DateColumn) - 1);
}

QTEST_MAIN(ScanViewTest)
#include "ScanViewTest.moc"
