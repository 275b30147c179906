#pragma once

#include <memory>

#include "app/SettingsPage.h"

namespace Ui {
class ToolsViewExport;
}

namespace velmora {

// Page 6, the periodic export of events to a text file and a database file.
class ToolsViewExport : public SettingsPage {
    Q_OBJECT

public:
    explicit ToolsViewExport(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ToolsViewExport() override;

private:
    std::unique_ptr<Ui::ToolsViewExport> m_ui;
};

} // namespace velmora
