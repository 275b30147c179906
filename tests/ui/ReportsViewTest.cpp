#include "reports/ReportsView.h"

#include <memory>

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLabel>
#include <QPrintDialog>
#include <QPrinter>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>

#include "app/AppDelegate.h"
#include "core/eventlog/LogDirectory.h"
#include "reports/ReportTableModel.h"
#include "support/TempDir.h"
#include "ui/ModalDriver.h"
#include "ui/UiTestSupport.h"

using namespace velmora;
using test::cell;
using test::writeFile;

namespace {

// Three hosts; "web" and "db" in mixed order, so that each group's lines are spread.
constexpr const char* kLines = "1700000000,User.Notice,web,w1\n"
                               "1700000001,Kern.Error,db,d1\n"
                               "1700000002,User.Notice,web,w2, with commas\n"
                               "1700000003,User.Notice,mail,m1\n"
                               "1700000004,Local7.Debug,db,d2\n"
                               "1700000005,User.Notice,web,w3\n";

QStringList comboItems(const QComboBox& combo) {
    QStringList items;
    for (int i = 0; i < combo.count(); ++i) {
        items << combo.itemText(i);
    }
    return items;
}

} // namespace

class ReportsViewTest : public QObject {
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void showingResetsThePage();
    void displayNeedsAGroupingAndStaysEnabled();
    void groupingsSetTitlesAndWidths_data();
    void groupingsSetTitlesAndWidths();
    void reportIsBuiltOffTheMainThreadAndDroppedWhenThePageReturns();
    void groupsOpenAndCloseInPlace();
    void closingTheLastGroupStopsAtTheEnd();
    void clicksOnDetailsOrWithoutSelectionChangeNothing();
    void findTextLooksAtTheGroupRowsNowShown();
    void displayWithoutGroupingAfterReturningShowsEmptyColumns();
    void printingToPdfHoldsEveryRow();
    void aRewrittenLogIsReadAgainBeforeItIsUsed();

private:
    std::unique_ptr<test::TempDir> m_dir;
    std::unique_ptr<AppDelegate> m_delegate;
    std::unique_ptr<ReportsView> m_page;
    std::unique_ptr<QAbstractItemModelTester> m_tester;

    QComboBox& reportName() { return *m_page->findChild<QComboBox*>("reportName"); }
    QComboBox& reportFilter() { return *m_page->findChild<QComboBox*>("reportFilter"); }
    QPushButton& reportDisplay() { return *m_page->findChild<QPushButton*>("reportDisplay"); }
    QTableView& table() { return m_page->tableView(); }
    ReportTableModel& model() { return m_page->model(); }

    void reappear() {
        m_page->hide();
        m_page->show();
    }
    void choose(QComboBox& combo, int index) {
        combo.setCurrentIndex(index);
        emit combo.activated(index);
    }
    // Chooses a grouping, presses Display and waits for the report.
    void display(ReportGrouping grouping) {
        choose(reportName(), static_cast<int>(grouping));
        QSignalSpy shown(m_page.get(), &ReportsView::reportShown);
        QTest::mouseClick(&reportDisplay(), Qt::LeftButton);
        QVERIFY(shown.count() == 1 || shown.wait());
    }
    void clickRow(int row) {
        const QRect rect = table().visualRect(model().index(row, 1));
        QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, rect.center());
    }
    // The rows as shown: a group's key, or "  " and a detail's last column.
    QStringList rows() {
        QStringList shown;
        for (int row = 0; row < model().rowCount(); ++row) {
            const QString key = cell(model(), row, 0).toString();
            shown << (key.isEmpty() ? "  " + cell(model(), row, 3).toString() : key);
        }
        return shown;
    }
    QString image(int row) {
        return cell(model(), row, 0, ReportTableModel::ImageNameRole).toString();
    }
    int selectedRow() {
        const QModelIndexList selected = table().selectionModel()->selectedRows();
        return selected.size() == 1 ? selected.front().row() : -1;
    }
};

void ReportsViewTest::init() {
    m_dir = std::make_unique<test::TempDir>();
    writeFile(*m_dir / "events.log", kLines);
    m_delegate = std::make_unique<AppDelegate>(m_dir->str());
    m_delegate->runtime().newDateFormat = "yyyy-MM-dd HH:mm:ss";
    m_page = std::make_unique<ReportsView>(*m_delegate);
    m_tester = std::make_unique<QAbstractItemModelTester>(
        &m_page->model(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    m_page->resize(900, 500);
    m_page->show();
}

void ReportsViewTest::cleanup() {
    m_tester.reset();
    m_page.reset();
    m_delegate.reset();
    m_dir.reset();
}

void ReportsViewTest::showingResetsThePage() {
    QCOMPARE(reportName().count(), 4);
    QCOMPARE(reportName().currentIndex(), -1);
    QCOMPARE(comboItems(reportFilter()), QStringList({"All Logs", "events"}));
    QCOMPARE(reportFilter().currentIndex(), 0);
    QVERIFY(!reportDisplay().isEnabled());
    display(ReportGrouping::Host);
    choose(reportFilter(), 1);
    QCOMPARE(model().rowCount(), 3);

    // New log files are offered, in the order the directory lists them.
    writeFile(*m_dir / "All Logs.log", "1700000000,User.Notice,other,o1\n");
    writeFile(*m_dir / "rotated.log.1", "");
    reappear();
    QStringList expected = {"All Logs"};
    const Result<std::vector<std::string>> files = listLogFiles(m_dir->str());
    for (const std::string& name : *files) {
        expected << QString::fromStdString(std::string(withoutPathExtension(name)));
    }
    QCOMPARE(comboItems(reportFilter()), expected);
    QCOMPARE(reportFilter().currentIndex(), 0);
    QCOMPARE(reportName().currentIndex(), -1);
    QCOMPARE(model().rowCount(), 0);
    for (int column = 0; column < 4; ++column) {
        QVERIFY(table().isColumnHidden(column));
    }
}

void ReportsViewTest::displayNeedsAGroupingAndStaysEnabled() {
    choose(reportFilter(), 1);
    QVERIFY(!reportDisplay().isEnabled());
    choose(reportName(), 2);
    QVERIFY(reportDisplay().isEnabled());
    QCOMPARE(QApplication::focusWidget(), nullptr);
    reappear();
    QVERIFY(reportDisplay().isEnabled());
}

void ReportsViewTest::groupingsSetTitlesAndWidths_data() {
    QTest::addColumn<int>("grouping");
    QTest::addColumn<QStringList>("titles");
    QTest::addColumn<QList<int>>("widths"); // -1: what the table's width leaves

    QTest::newRow("host") << 0 << QStringList{"Host", "Date", "Priority", "Message"}
                          << QList<int>{120, 140, 120, -1};
    QTest::newRow("message") << 1 << QStringList{"Message", "Date", "Priority", "Host"}
                             << QList<int>{-1, 140, 120, 120};
    QTest::newRow("priority") << 2 << QStringList{"Priority", "Date", "Host", "Message"}
                              << QList<int>{120, 140, 120, -1};
    QTest::newRow("date") << 3 << QStringList{"Date", "Priority", "Host", "Message"}
                          << QList<int>{165, 120, 120, -1};
}

void ReportsViewTest::groupingsSetTitlesAndWidths() {
    QFETCH(int, grouping);
    QFETCH(QStringList, titles);
    QFETCH(QList<int>, widths);
    display(static_cast<ReportGrouping>(grouping));
    const int tableWidth = table().viewport()->width();
    const QHeaderView& header = *table().horizontalHeader();
    int fixed = 0;
    for (int column = 0; column < 4; ++column) {
        QCOMPARE(model().headerData(column, Qt::Horizontal).toString(), titles[column]);
        QVERIFY(!table().isColumnHidden(column));
        fixed += std::max(widths[column], 0);
    }
    for (int column = 0; column < 4; ++column) {
        const int expected = widths[column] >= 0 ? widths[column] : tableWidth - fixed;
        QCOMPARE(header.sectionSize(column), expected);
    }
}

void ReportsViewTest::reportIsBuiltOffTheMainThreadAndDroppedWhenThePageReturns() {
    std::string lines;
    for (int i = 0; i < 20000; ++i) {
        lines += "1700000000,User.Notice,host" + std::to_string(i % 50) + ",message\n";
    }
    writeFile(*m_dir / "events.log", lines);
    choose(reportName(), 0);
    QSignalSpy shown(m_page.get(), &ReportsView::reportShown);
    QTest::mouseClick(&reportDisplay(), Qt::LeftButton);
    // The report arrives through the event loop, never inside the click.
    QCOMPARE(model().rowCount(), 0);
    QVERIFY(m_page->findChild<QProgressBar*>("reportProgress")->isVisible());
    QVERIFY(shown.wait());
    QCOMPARE(model().rowCount(), 50);
    QVERIFY(!m_page->findChild<QProgressBar*>("reportProgress")->isVisible());

    choose(reportName(), 0);
    QTest::mouseClick(&reportDisplay(), Qt::LeftButton);
    reappear();
    QCoreApplication::processEvents();
    QCOMPARE(shown.count(), 1);
    QCOMPARE(model().rowCount(), 0);
}

void ReportsViewTest::groupsOpenAndCloseInPlace() {
    display(ReportGrouping::Host);
    QCOMPARE(rows(), QStringList({"web", "db", "mail"}));
    QCOMPARE(image(1), "add");

    clickRow(1);
    QCOMPARE(rows(), QStringList({"web", "db", "  d1", "  d2", "mail"}));
    QCOMPARE(image(1), "remove");
    QCOMPARE(image(0), "add");
    QCOMPARE(selectedRow(), 1);
    QCOMPARE(cell(model(), 2, 1).toString(), "2023-11-14 22:13:21");
    QCOMPARE(cell(model(), 2, 2).toString(), "Kern.Error");

    clickRow(0);
    QCOMPARE(rows(), QStringList({"web", "  w1", "  w2, with commas", "  w3", "db", "  d1", "  d2",
                                  "mail"}));
    QCOMPARE(selectedRow(), 0);

    clickRow(4); // closes db; the groups below stay where they were
    QCOMPARE(rows(), QStringList({"web", "  w1", "  w2, with commas", "  w3", "db", "mail"}));
    QCOMPARE(image(4), "add");
    QCOMPARE(selectedRow(), 4);
}

void ReportsViewTest::closingTheLastGroupStopsAtTheEnd() {
    display(ReportGrouping::Host);
    clickRow(2);
    QCOMPARE(rows(), QStringList({"web", "db", "mail", "  m1"}));
    clickRow(2);
    QCOMPARE(rows(), QStringList({"web", "db", "mail"}));
    QCOMPARE(selectedRow(), 2);
}

void ReportsViewTest::clicksOnDetailsOrWithoutSelectionChangeNothing() {
    display(ReportGrouping::Priority);
    clickRow(0);
    const QStringList opened = rows();
    clickRow(2);
    QCOMPARE(rows(), opened);
    QCOMPARE(selectedRow(), 2);

    table().clearSelection();
    m_page->tableClicked();
    QCOMPARE(rows(), opened);
    QCOMPARE(selectedRow(), -1);
}

void ReportsViewTest::findTextLooksAtTheGroupRowsNowShown() {
    QVERIFY(!m_page->findText("web", "First"));
    display(ReportGrouping::Host);
    clickRow(0);
    QVERIFY(m_page->findText("web", "First"));
    QVERIFY(m_page->findText("mail", "anything"));
    QVERIFY(!m_page->findText("Web", "First"));
    QVERIFY(!m_page->findText("w1", "First")); // a detail row has no key of its own
    reappear();
    QVERIFY(!m_page->findText("web", "First"));
}

void ReportsViewTest::displayWithoutGroupingAfterReturningShowsEmptyColumns() {
    display(ReportGrouping::Date);
    reappear();
    QSignalSpy shown(m_page.get(), &ReportsView::reportShown);
    QTest::mouseClick(&reportDisplay(), Qt::LeftButton);
    QCOMPARE(shown.count(), 1);
    QCOMPARE(model().rowCount(), 0);
    for (int column = 0; column < 4; ++column) {
        QVERIFY(!table().isColumnHidden(column));
        QCOMPARE(table().horizontalHeader()->sectionSize(column), 120);
    }
    // The titles stay those of the last report.
    QCOMPARE(model().headerData(0, Qt::Horizontal).toString(), "Date");
}

void ReportsViewTest::printingToPdfHoldsEveryRow() {
    std::string lines;
    for (int i = 0; i < 300; ++i) {
        lines += "1700000000,User.Notice,busy,line " + std::to_string(i) + "\n";
    }
    writeFile(*m_dir / "events.log", std::string(kLines) + lines);
    display(ReportGrouping::Host);
    clickRow(0);
    clickRow(model().rowCount() - 1);

    const QString pdf = QString::fromStdString((*m_dir / "report.pdf").string());
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(pdf);
    QVERIFY(m_page->printTable(printer));

    QProcess pdftotext;
    pdftotext.start("pdftotext", {"-layout", pdf, "-"});
    QVERIFY(pdftotext.waitForFinished());
    const QString text = QString::fromUtf8(pdftotext.readAllStandardOutput());
    QVERIFY2(text.count("Host") > 1, "each page starts with the column titles");
    QVERIFY(text.contains("\f")); // more than one page
    for (const char* shown : {"web", "db", "mail", "busy", "w2, with commas", "User.Notice",
                              "2023-11-14 22:13:20", "line 0", "line 150", "line 299"}) {
        QVERIFY2(text.contains(shown), shown);
    }
    QVERIFY(!text.contains("d1")); // the db group is closed

    // The print dialog, cancelled, prints nothing.
    QFile::remove(pdf);
    test::whenModal<QPrintDialog>([](QPrintDialog& dialog) { dialog.reject(); });
    m_page->printResults();
    QVERIFY(!QFile::exists(pdf));
}

// A deletion rewrites the log in place: the report must not show, or export, empty rows.
void ReportsViewTest::aRewrittenLogIsReadAgainBeforeItIsUsed() {
    display(ReportGrouping::Host);
    clickRow(0);
    const QWidget& note = *m_page->findChild<QLabel*>("reportNote");
    QVERIFY(!note.isVisible());
    QString lines = kLines;
    const auto rewrite = [&](const char* line) {
        lines.remove(QLatin1String(line));
        writeFile(*m_dir / "events.log", lines.toStdString());
    };

    // Opening a group: first the report is read again, the open groups stay open.
    rewrite("1700000000,User.Notice,web,w1\n");
    rewrite("1700000001,Kern.Error,db,d1\n");
    clickRow(4);
    QTRY_COMPARE(rows(), (QStringList{"web", "  w2, with commas", "  w3", "mail", "db", "  d2"}));
    QVERIFY(note.isVisible());
    QCOMPARE(selectedRow(), 4);

    // Exporting.
    rewrite("1700000005,User.Notice,web,w3\n");
    rewrite("1700000004,Local7.Debug,db,d2\n");
    const QString path = QString::fromStdString((*m_dir / "report.csv").string());
    test::whenModal<QFileDialog>([&](QFileDialog& dialog) {
        QCOMPARE(dialog.windowTitle(),
                 "Please select export file name with 'txt' or 'csv' extensions:");
        test::chooseFile(dialog, path);
    });
    m_page->exportResults();
    QTRY_VERIFY(QFile::exists(path));
    QCOMPARE(QString::fromStdString(test::readFile(path.toStdString())),
             "Host,Date,Priority,Message\nweb,,,\n,2023-11-14 22:13:22,User.Notice,w2, with "
             "commas\nmail,,,\n");
}

QTEST_MAIN(ReportsViewTest)
#include "ReportsViewTest.moc"
