#pragma once

#include "app/Page.h"

#include <memory>

#include <QWidget>

namespace Ui {
class ToolsViewOptions;
}

namespace velmora {

// Page 4, the options: display, event removal, popups, include and exclude filters. It is opened
// from Tools and from the Scan page and goes back, on Cancel, to the page it was opened from.
class ToolsViewOptions : public QWidget {
    Q_OBJECT

public:
    explicit ToolsViewOptions(QWidget* parent = nullptr);
    ~ToolsViewOptions() override;

    Page parentTab() const { return m_parentTab; }
    void setParentTab(Page page) { m_parentTab = page; }

public slots:
    void onCancel();

signals:
    // Asks the main window to show the page this one was opened from.
    void returnRequested(velmora::Page page);

private:
    std::unique_ptr<Ui::ToolsViewOptions> m_ui;
    Page m_parentTab = Page::Tools;
};

} // namespace velmora
