#pragma once

#include <memory>

#include "app/SettingsPage.h"

namespace Ui {
class ToolsViewActions;
}

namespace velmora {

// Page 5, the action rules and the e-mail settings.
class ToolsViewActions : public SettingsPage {
    Q_OBJECT

public:
    explicit ToolsViewActions(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ToolsViewActions() override;

private:
    std::unique_ptr<Ui::ToolsViewActions> m_ui;
};

} // namespace velmora
