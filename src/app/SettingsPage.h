#pragma once

#include <QWidget>

#include "app/Page.h"

namespace velmora {

class AppDelegate;

// A settings page of the main window (Options, Actions, Export). It is opened from Tools or
// from the links of the Scan page, remembers in parentTab the page it was opened from, and
// goes back there on Cancel, and on Save once it has saved. Every showing re-reads the
// settings; nothing is kept from one showing to the next but what was saved.
class SettingsPage : public QWidget {
    Q_OBJECT

public:
    Page parentTab() const { return m_parentTab; }
    void setParentTab(Page page) { m_parentTab = page; }

public slots:
    // onCancel: back to parentTab; nothing is written.
    void onCancel();

signals:
    // Asks the main window to show this page.
    void returnRequested(velmora::Page page);

protected:
    SettingsPage(AppDelegate& delegate, QWidget* parent);
    AppDelegate& delegate() const { return m_delegate; }

private:
    AppDelegate& m_delegate;
    Page m_parentTab = Page::Tools;
};

} // namespace velmora
