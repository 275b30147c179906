#include "scan/EventTableModel.h"

#include <optional>
#include <string>

#include <QAbstractItemModelTester>
#include <QIcon>
#include <QImage>
#include <QSignalSpy>
#include <QStringList>
#include <QTest>

#include "core/eventlog/EventStore.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::cell;
using test::record;
using test::runQueued;

namespace {

constexpr auto kTester = QAbstractItemModelTester::FailureReportingMode::QtTest;

QImage decorationImage(const QAbstractItemModel& model, int row) {
    return cell(model, row, EventTableModel::ImageColumn, Qt::DecorationRole)
        .value<QIcon>()
        .pixmap(16, 16)
        .toImage();
}

} // namespace

class EventTableModelTest : public QObject {
    Q_OBJECT

private slots:
    void showsFiveColumnsFormattedOnDemand();
    void severityImagesLoadAndDiffer();
    void absentFieldsShowAsEmptyCells();
    void burstOfInsertsIsAnnouncedOnceAndConsistently();
    void removalIsAnnouncedAfterPendingInserts();
    void rebuildDropsPendingInserts();
    void longListLoadsConsistentlyNewestOnTop();
    void staysValidThroughInsertsRemovalsAndAppearances();
    void manyRowsLeaveInOneGo_data();
    void manyRowsLeaveInOneGo();
};

void EventTableModelTest::showsFiveColumnsFormattedOnDemand() {
    EventStore store;
    EventTableModel model(store);
    const EventId id =
        model.insertDecorated(record("1700000000", "Local7.Error", "10.0.0.9", "disk full"), {}, "",
                              kDefaultSeverityLevels);
    runQueued();

    QStringList titles;
    for (int column = 0; column < model.columnCount(); ++column) {
        titles << model.headerData(column, Qt::Horizontal).toString();
    }
    QCOMPARE(titles, (QStringList{"", "Date", "Priority", "Host", "Message"}));
    QCOMPARE(cell(model, 0, EventTableModel::DateColumn).toString(), "2023-11-14 22:13:20");
    QCOMPARE(cell(model, 0, EventTableModel::PriorityColumn).toString(), "Local7.Error");
    QCOMPARE(cell(model, 0, EventTableModel::HostColumn).toString(), "10.0.0.9");
    QCOMPARE(cell(model, 0, EventTableModel::MessageColumn).toString(), "disk full");
    QCOMPARE(cell(model, 0, 0, EventTableModel::ImageNameRole).toString(), "Moderate");
    QCOMPARE(cell(model, 0, 0, EventTableModel::EventIdRole).value<quint32>(),
             static_cast<quint32>(id));
    QVERIFY(!cell(model, 0, EventTableModel::DateColumn, Qt::DecorationRole).isValid());
    QVERIFY(!cell(model, 0, EventTableModel::ImageColumn).isValid());
}

void EventTableModelTest::severityImagesLoadAndDiffer() {
    EventStore store;
    EventTableModel model(store);
    for (const char* priority : {"Kern.Debug", "Kern.Error", "Kern.Emergency"}) {
        model.insertDecorated(record("1700000000", priority), {}, "", kDefaultSeverityLevels);
    }
    runQueued();

    QCOMPARE(cell(model, 0, 0, EventTableModel::ImageNameRole).toString(), "Severe");
    QCOMPARE(cell(model, 1, 0, EventTableModel::ImageNameRole).toString(), "Moderate");
    QCOMPARE(cell(model, 2, 0, EventTableModel::ImageNameRole).toString(), "Normal");
    const QImage severe = decorationImage(model, 0);
    const QImage moderate = decorationImage(model, 1);
    const QImage normal = decorationImage(model, 2);
    QVERIFY(!severe.isNull() && !moderate.isNull() && !normal.isNull());
    QVERIFY(severe != moderate && moderate != normal && normal != severe);
}

void EventTableModelTest::absentFieldsShowAsEmptyCells() {
    EventStore store;
    EventTableModel model(store);
    model.insertRaw({std::nullopt, "Local7.Debug", std::nullopt, "m"}, {});
    runQueued();

    QCOMPARE(cell(model, 0, EventTableModel::DateColumn).toString(), QString());
    QCOMPARE(cell(model, 0, EventTableModel::HostColumn).toString(), QString());
    QCOMPARE(cell(model, 0, EventTableModel::MessageColumn).toString(), "m");
    // Not shown yet: no image.
    QVERIFY(!cell(model, 0, 0, Qt::DecorationRole).isValid());
    QVERIFY(!cell(model, 0, 0, EventTableModel::ImageNameRole).isValid());
}

void EventTableModelTest::burstOfInsertsIsAnnouncedOnceAndConsistently() {
    EventStore store;
    EventTableModel model(store);
    QAbstractItemModelTester tester(&model, kTester);
    model.insertRaw(record("1", "Kern.Notice", "old", "first"), {});
    runQueued();
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);

    constexpr int kBurst = 10'000;
    for (int i = 0; i < kBurst; ++i) {
        model.insertDecorated(record("1700000000", "Local7.Debug", "h", std::to_string(i)), {}, "",
                              kDefaultSeverityLevels);
    }
    // Within the turn the views still see the list as they were told of it.
    QCOMPARE(store.size(), std::size_t{kBurst + 1});
    QCOMPARE(model.rowCount(), 1);
    QCOMPARE(cell(model, 0, EventTableModel::MessageColumn).toString(), "first");
    QCOMPARE(inserted.count(), 0);

    runQueued();
    QCOMPARE(inserted.count(), 1);
    QCOMPARE(inserted[0][1].toInt(), 0);
    QCOMPARE(inserted[0][2].toInt(), kBurst - 1);
    QCOMPARE(model.rowCount(), kBurst + 1);
    QCOMPARE(cell(model, 0, EventTableModel::MessageColumn).toString(), "9999");
    QCOMPARE(cell(model, kBurst - 1, EventTableModel::MessageColumn).toString(), "0");
    QCOMPARE(cell(model, kBurst, EventTableModel::MessageColumn).toString(), "first");
}

void EventTableModelTest::removalIsAnnouncedAfterPendingInserts() {
    EventStore store;
    EventTableModel model(store);
    QAbstractItemModelTester tester(&model, kTester);
    model.insertRaw(record("1", "Kern.Notice", "h", "a"), {});
    model.insertRaw(record("2", "Kern.Notice", "h", "b"), {});
    runQueued();
    QStringList signalsSeen;
    connect(&model, &QAbstractItemModel::rowsInserted, this,
            [&](const QModelIndex&, int first, int last) {
                signalsSeen << QStringLiteral("inserted %1-%2").arg(first).arg(last);
            });
    connect(&model, &QAbstractItemModel::rowsRemoved, this,
            [&](const QModelIndex&, int first, int last) {
                signalsSeen << QStringLiteral("removed %1-%2").arg(first).arg(last);
            });

    for (const char* message : {"c", "d", "e"}) {
        model.insertRaw(record("3", "Kern.Notice", "h", message), {});
    }
    model.removeEventSoon(store.at(1)); // "d", not yet announced
    QCOMPARE(model.rowCount(), 2);
    runQueued(); // one announcement: the new rows, then the row that left
    QCOMPARE(signalsSeen, (QStringList{"inserted 0-2", "removed 1-1"}));
    QCOMPARE(model.rowCount(), 4);
    QStringList messages;
    for (int row = 0; row < model.rowCount(); ++row) {
        messages << cell(model, row, EventTableModel::MessageColumn).toString();
    }
    QCOMPARE(messages, (QStringList{"e", "c", "b", "a"}));

    runQueued();
    QCOMPARE(signalsSeen.size(), 2);
}

void EventTableModelTest::rebuildDropsPendingInserts() {
    EventStore store;
    EventTableModel model(store);
    QAbstractItemModelTester tester(&model, kTester);
    model.insertRaw(record("1", "Kern.Notice"), {});
    QSignalSpy inserted(&model, &QAbstractItemModel::rowsInserted);

    model.rebuild([](EventStore& s) { s.insert(record("2", "Kern.Notice")); });
    QCOMPARE(model.rowCount(), 2);
    runQueued();
    QCOMPARE(inserted.count(), 0);
    QCOMPARE(model.rowCount(), 2);
}

void EventTableModelTest::longListLoadsConsistentlyNewestOnTop() {
    // Long enough that the load also makes room at the top of the views' row records.
    constexpr int kLong = 100'000;
    EventStore store;
    EventTableModel model(store);
    QAbstractItemModelTester tester(&model, kTester);
    model.rebuild([](EventStore& s) {
        for (int i = 0; i < kLong; ++i) {
            s.insert(record("1700000000", "Local7.Debug", "h", std::to_string(i)));
        }
    });
    QCOMPARE(model.rowCount(), kLong);
    QCOMPARE(cell(model, 0, EventTableModel::MessageColumn).toString(), QString::number(kLong - 1));
    QCOMPARE(cell(model, kLong - 1, EventTableModel::MessageColumn).toString(), "0");

    model.insertRaw(record("1700000001", "Kern.Error", "h", "live"), {});
    runQueued();
    QCOMPARE(model.rowCount(), kLong + 1);
    QCOMPARE(cell(model, 0, EventTableModel::MessageColumn).toString(), "live");
}

void EventTableModelTest::staysValidThroughInsertsRemovalsAndAppearances() {
    EventStore store;
    EventTableModel model(store);
    QAbstractItemModelTester tester(&model, kTester);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);

    model.appear("", "", kDefaultSeverityLevels); // empty: nothing to change
    QCOMPARE(changed.count(), 0);
    for (int i = 0; i < 5; ++i) {
        model.insertRaw(record("1700000000", "Kern.Warning", "h", std::to_string(i)), {});
    }
    model.insertDecorated(record("1700000000", "Kern.Alert"), {}, "", kDefaultSeverityLevels);
    runQueued();
    model.appear("", "yyyy", kDefaultSeverityLevels);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(cell(model, 5, EventTableModel::DateColumn).toString(), "2023");

    const EventId gone = model.eventAt(0);
    model.removeEventSoon(gone);
    model.removeEventSoon(model.eventAt(4));
    model.removeEventSoon(gone); // gone already: nothing happens
    runQueued();
    QCOMPARE(model.rowCount(), 4);
    QCOMPARE(static_cast<std::size_t>(model.rowCount()), store.size());
    model.rebuild([](EventStore&) {});
    QCOMPARE(model.rowCount(), 4);
}

void EventTableModelTest::manyRowsLeaveInOneGo_data() {
    QTest::addColumn<QList<int>>("removed");
    QTest::addColumn<int>("removals"); // rowsRemoved signals; 0: the views start over
    QTest::newRow("runs near the top") << QList<int>{0, 1, 3} << 2;
    QTest::newRow("one long run") << QList<int>{2, 3, 4, 5, 6, 7, 8} << 1;
    QTest::newRow("runs spread over the list") << QList<int>{1, 4, 6, 8} << 0;
}

void EventTableModelTest::manyRowsLeaveInOneGo() {
    QFETCH(QList<int>, removed);
    QFETCH(int, removals);
    EventStore store;
    EventTableModel model(store);
    QAbstractItemModelTester tester(&model, kTester);
    for (int i = 9; i >= 0; --i) { // row i shows message i
        model.insertRaw(record("1", "Kern.Notice", "h", std::to_string(i)), {});
    }
    runQueued();
    // Two new events the views were not told of yet sit above row 0.
    model.insertRaw(record("1", "Kern.Notice", "h", "new"), {});
    model.insertRaw(record("1", "Kern.Notice", "h", "new"), {});
    QSignalSpy rowsRemoved(&model, &QAbstractItemModel::rowsRemoved);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);

    const std::vector<int> rows(removed.begin(), removed.end());
    model.removeEventRows(rows);

    QCOMPARE(rowsRemoved.count(), removals);
    QCOMPARE(reset.count(), removals == 0 ? 1 : 0);
    QStringList left;
    for (int row = 0; row < model.rowCount(); ++row) {
        left << cell(model, row, EventTableModel::MessageColumn).toString();
    }
    QStringList expected;
    for (int i = 0; i < 10; ++i) {
        if (!removed.contains(i)) {
            expected << QString::number(i);
        }
    }
    QCOMPARE(left, expected);
    runQueued();
    QCOMPARE(model.rowCount(), expected.size() + 2);
    QCOMPARE(cell(model, 0, EventTableModel::MessageColumn).toString(), "new");
}

QTEST_MAIN(EventTableModelTest)
#include "EventTableModelTest.moc"
