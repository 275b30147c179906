#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "app/SettingsPage.h"
#include "core/archive/Value.h"

class QLineEdit;

namespace Ui {
class ToolsViewExport;
}

namespace velmora {

// Page 6: the periodic export of events that the server performs, to a text file and to a
// database file, each with its interval (0 is off) and its location.
//
// Every showing reads the settings afresh; Save writes the four keys over the dictionary as it
// was read and tells the server. No field is checked: what the page holds is what it stores.
class ToolsViewExport : public SettingsPage {
    Q_OBJECT

public:
    explicit ToolsViewExport(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ToolsViewExport() override;

    // Who runs a check box handler: the user's click, or the page's filling, which only sets
    // which controls are enabled.
    enum class Trigger { Filling, User };

public slots:
    // exportText:, exportDatabase:
    void exportText(Trigger trigger);
    void exportDatabase(Trigger trigger);
    // browseText:, browseDatabase:
    void browseText();
    void browseDatabase();
    // exportInterval: (an interval field or stepper changed)
    void exportInterval();
    void controlTextDidChange(const QLineEdit& field);
    void onSave();

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::ToolsViewExport> m_ui;

    // The working values of one showing.
    Dictionary m_settings;
    std::int64_t m_textInterval = 0;
    std::int64_t m_databaseInterval = 0;
    std::optional<std::string> m_textLocation;
    std::optional<std::string> m_databaseLocation;

    void connectControls();
    void viewWillAppear();
    void enableSave();
};

} // namespace velmora
