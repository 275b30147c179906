#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/SettingsPage.h"
#include "core/archive/Value.h"
#include "core/presentation/Severity.h"

class QAbstractButton;
class QCheckBox;
class QComboBox;
class QLineEdit;
class QTableView;

namespace Ui {
class ToolsViewOptions;
}

namespace velmora {

class FilterListModel;
class Stepper;

// Page 4, the options, on one scrolling page: how hosts and dates are shown and the level of
// each severity, the automatic removal of old events, popups and their sound, and the include
// and exclude filters.
//
// Every showing reads the whole settings file afresh into working values; Save writes the
// page's keys over the dictionary as it was read (every other key is written back untouched),
// tells the server, and hands the display and popup settings to the live event path at once.
// The page itself interprets nothing it stores.
class ToolsViewOptions : public SettingsPage {
    Q_OBJECT

public:
    explicit ToolsViewOptions(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ToolsViewOptions() override;

    // Where the sound chooser opens: the system's sound folder where there is one, else the
    // folder of the desktop's sound themes.
    static QString soundDirectory();

    // Who runs a check box handler: the user's click changes working values and enables Save;
    // the page's loading only sets which controls are enabled.
    enum class Trigger { Loading, User };

public slots:
    // hostsDisplay:, dateFormat:, eventsSeverity:
    void hostsDisplay();
    void dateFormat();
    void eventsSeverity();
    // The check box handlers of the removal rules (removalEmergency: ... removalUnknown:).
    void removalRule(velmora::Severity severity, Trigger trigger);
    // eventsRemoval:, popupTimeout: (a removal or popup time control changed)
    void eventsRemoval();
    void popupTimeout();
    // popupEvents:, popupSound: (popups, sound on or off)
    void popupEvents(Trigger trigger);
    void popupSound(Trigger trigger);
    // popupEventsDisplay:, popupEventsPlay: (one severity's check box)
    void popupEventsDisplay(Severity severity);
    void popupEventsPlay(Severity severity);
    void popupSoundBrowse();
    void controlTextDidChange(const QLineEdit& field);
    // includeFilters:, excludeFilters: (the Add or Edit button of a list)
    void includeFilters(const QAbstractButton& sender);
    void excludeFilters(const QAbstractButton& sender);
    // includeFiltersTable:, excludeFiltersTable: (selection change)
    void includeFiltersTable();
    void excludeFiltersTable();
    void includeFiltersRemove();
    void excludeFiltersRemove();
    void onSave();

protected:
    void showEvent(QShowEvent* event) override;

private:
    struct RemovalRow {
        QCheckBox* rule;
        QLineEdit* time;
        Stepper* stepper;
        QComboBox* units;
    };
    enum class FilterList { Include, Exclude };

    std::unique_ptr<Ui::ToolsViewOptions> m_ui;
    std::array<QComboBox*, kSeverityCount> m_levelBoxes{};
    std::array<RemovalRow, kSeverityCount> m_removalRows{};
    std::array<QCheckBox*, kSeverityCount> m_displayBoxes{};
    std::array<QCheckBox*, kSeverityCount> m_playBoxes{};
    FilterListModel* m_includeFiltersController;
    FilterListModel* m_excludeFiltersController;

    // The working values of one showing.
    Dictionary m_settings;
    bool m_hostsDisplay = false;
    SeverityLevels m_levels = kDefaultSeverityLevels;
    std::array<std::int64_t, kSeverityCount> m_removalAmounts{};
    // Only shown: Save reads the unit from its combo box.
    std::array<std::int64_t, kSeverityCount> m_removalUnits{};
    std::int64_t m_popupEvents = 0;
    std::optional<std::string> m_popupSound;
    Array m_popupDisplayArray;
    Array m_popupPlayArray;
    // The list the filter editor works on while it is open.
    FilterList m_filterList = FilterList::Include;

    void gatherControls();
    void connectDisplayGroups();
    void connectRemovalGroup();
    void connectPopupGroup();
    void connectFilterLists();

    void viewWillAppear();
    void readWorkingValues(const std::optional<Dictionary>& stored);
    void showDisplayGroups(const QString& storedDateFormat);
    void showRemovalGroup();
    void showPopupGroup();
    void showFilterLists(const std::optional<Dictionary>& stored);

    QString chosenDateFormat() const;
    void writeSettings(const QString& newDateFormat);
    void updateRuntime(const QString& newDateFormat);

    void openFilterEditor();
    void storeFilter(const Dictionary& record);
    void removeSelectedFilter(QTableView& table, FilterListModel& list);
    void enableSave();
};

} // namespace velmora
