#pragma once

#include "app/Page.h"

#include <memory>

#include <QWidget>

namespace Ui {
class ToolsViewExport;
}

namespace velmora {

// Page 6, the periodic export of events. It is opened from Tools and goes back, on Cancel, to the
// page it was opened from.
class ToolsViewExport : public QWidget {
    Q_OBJECT

public:
    explicit ToolsViewExport(QWidget* parent = nullptr);
    ~ToolsViewExport() override;

    Page parentTab() const { return m_parentTab; }
    void setParentTab(Page page) { m_parentTab = page; }

public slots:
    void onCancel();

signals:
    // Asks the main window to show the page this one was opened from.
    void returnRequested(velmora::Page page);

private:
    std::unique_ptr<Ui::ToolsViewExport> m_ui;
    Page m_parentTab = Page::Tools;
};

} // namespace velmora
