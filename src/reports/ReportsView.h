#pragma once

#include <functional>
#include <memory>
#include <string>

#include <QWidget>

#include "core/reports/Report.h"
#include "core/reports/ReportEngine.h"

class QPrinter;
class QTableView;

namespace Ui {
class ReportsView;
}

namespace velmora {

class AppDelegate;
class ReportBuild;
class ReportTableModel;

// Page 2: grouped reports read from the log files. The user picks a grouping and a log file
// (or all of them) and presses Display; the table shows one closed group row per key, and a
// click opens or closes a group in place. The table can be exported and printed.
//
// A report is built on a thread of its own while a progress bar runs: the window stays
// responsive over gigabytes of logs, and the table gets the same report a build in one pass on
// the main thread would give.
//
// A report keeps only where its lines lie in the log files, so a file rewritten since the build
// (by a deletion, or by the server's removal of old events) would show empty rows. Before a
// group is opened or closed, and before an export or a print, the page checks the files; when
// one changed, it reads the report again first, keeps the open groups open and says so in a
// note. A row found changed while it is painted brings the same.
class ReportsView : public QWidget {
    Q_OBJECT

public:
    explicit ReportsView(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ReportsView() override;

    ReportTableModel& model() const { return *m_model; }
    QTableView& tableView() const;

    // Each time the page is shown: no grouping, "All Logs", an empty table with its columns
    // hidden; a report still being built is dropped.
    void viewWillAppear();

    // Whether a group row with this key is in the table; the key argument is not consulted.
    bool findText(const QString& text, const QString& key) const;

    // Prints the table as it stands on an already set-up printer.
    bool printTable(QPrinter& printer) const;

public slots:
    // reportNameSelected:, reportFilterSelected:
    void reportNameSelected();
    void reportFilterSelected();
    // displayReport:
    void displayReport();
    // tableClicked:
    void tableClicked();
    // exportResults:, printResults:
    void exportResults();
    void printResults();

signals:
    // A report was built and shown (or the table emptied for no grouping).
    void reportShown();

protected:
    void showEvent(QShowEvent* event) override;
    // Leaving the page drops a report still being built: the page starts afresh on its return.
    void hideEvent(QHideEvent* event) override;

private:
    using Built = std::function<void(std::shared_ptr<const Report>)>;

    std::unique_ptr<Ui::ReportsView> m_ui;
    AppDelegate& m_delegate;
    ReportTableModel* m_model;
    ReportRequest m_request; // of the report shown, for reading it again
    std::unique_ptr<ReportBuild> m_build;

    void setUpTable();
    void enableDisplayWhenChosen();
    void setColumnsFor(ReportGrouping grouping);
    void setColumnsVisible(bool visible);
    void startBuild(Built built);
    void showReport(std::shared_ptr<const Report> report);
    void stopBuild();
    // Runs `action` on a report that matches its files: at once, or once it is read again.
    void whenCurrent(std::function<void()> action);
    void refresh(std::function<void()> then = {});
    void clickGroup(int row, const std::string& key);
    void exportTo(const std::string& path, bool retryWhenChanged);
};

} // namespace velmora
