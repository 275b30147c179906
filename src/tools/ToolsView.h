#pragma once

#include <memory>

#include <QWidget>

#include "app/Page.h"

namespace Ui {
class ToolsView;
}

namespace velmora {

// Page 3: three links to the settings pages Options, Actions and Export.
class ToolsView : public QWidget {
    Q_OBJECT

public:
    explicit ToolsView(QWidget* parent = nullptr);
    ~ToolsView() override;

public slots:
    // options:, actions:, export:
    void options();
    void actions();
    void exportSettings();

signals:
    // Asks the main window to open a settings page that returns to `parentTab`.
    void settingsPageRequested(velmora::Page page, velmora::Page parentTab);

private:
    std::unique_ptr<Ui::ToolsView> m_ui;
};

} // namespace velmora
