#pragma once

#include <memory>

#include <QDialog>

#include "core/archive/Value.h"

namespace Ui {
class ActionsEmailServer;
}

namespace velmora {

class AppDelegate;

// The outgoing mail server through which the server's e-mail actions and the test mail are
// sent: address, port, sender, log-in, security and time-out. The sheet edits its copy of the
// whole settings, taken when it is shown, and writes that copy back whole on Save.
class ActionsEmailServer : public QDialog {
    Q_OBJECT

public:
    ActionsEmailServer(AppDelegate& delegate, QWidget* parent);
    ~ActionsEmailServer() override;

public slots:
    // timeoutChanged:, onSave:, onCancel:
    void timeoutChanged(int minutes);
    void onSave();
    void onCancel();

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::ActionsEmailServer> m_ui;
    AppDelegate& m_delegate;
    Dictionary m_settings;

    void viewWillAppear();
};

} // namespace velmora
