#pragma once

#include <memory>

#include "app/SettingsPage.h"

namespace Ui {
class ToolsViewOptions;
}

namespace velmora {

// Page 4, the options: display, event removal, popups, include and exclude filters.
class ToolsViewOptions : public SettingsPage {
    Q_OBJECT

public:
    explicit ToolsViewOptions(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ToolsViewOptions() override;

private:
    std::unique_ptr<Ui::ToolsViewOptions> m_ui;
};

} // namespace velmora
