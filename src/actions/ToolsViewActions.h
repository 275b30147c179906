#pragma once

#include "app/Page.h"

#include <memory>

#include <QWidget>

namespace Ui {
class ToolsViewActions;
}

namespace velmora {

// Page 5, the action rules and the e-mail settings. It is opened from Tools and from the Scan page
// and goes back, on Cancel, to the page it was opened from.
class ToolsViewActions : public QWidget {
    Q_OBJECT

public:
    explicit ToolsViewActions(QWidget* parent = nullptr);
    ~ToolsViewActions() override;

    Page parentTab() const { return m_parentTab; }
    void setParentTab(Page page) { m_parentTab = page; }

public slots:
    void onCancel();

signals:
    // Asks the main window to show the page this one was opened from.
    void returnRequested(velmora::Page page);

private:
    std::unique_ptr<Ui::ToolsViewActions> m_ui;
    Page m_parentTab = Page::Tools;
};

} // namespace velmora
