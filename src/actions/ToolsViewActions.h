#pragma once

#include <memory>
#include <optional>

#include "app/SettingsPage.h"
#include "core/archive/Value.h"

class QDialog;

namespace Ui {
class ToolsViewActions;
}

namespace velmora {

class ActionListModel;

// Page 5, the automatic actions: the list of action rules, edited in the action editor and
// stored in the settings on Save, and the links to the e-mail server, format and test sheets,
// which store their own settings.
class ToolsViewActions : public SettingsPage {
    Q_OBJECT

public:
    explicit ToolsViewActions(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ToolsViewActions() override;

public slots:
    // automaticActionsTable: (the selection changed)
    void automaticActionsTable();
    // automaticActions: of the Add button: a new action, whatever row was selected.
    void addAction();
    // automaticActions: of the Edit button: the selected action.
    void automaticActions();
    // removeActions:, emailServer:, emailFormat:, emailTest:, onSave:
    void removeActions();
    void emailServer();
    void emailFormat();
    void emailTest();
    void onSave();

    // What the action editor saved: it replaces the selected action, or is appended.
    void storeAction(const velmora::Dictionary& action);

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::ToolsViewActions> m_ui;
    ActionListModel* m_actions;
    Dictionary m_settings;

    void viewWillAppear();
    std::optional<int> selectedRow() const;
    void deselectAll();
    void openSheet(QDialog* sheet);
};

} // namespace velmora
