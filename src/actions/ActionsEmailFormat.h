#pragma once

#include <memory>

#include <QDialog>

#include "core/archive/Value.h"

namespace Ui {
class ActionsEmailFormat;
}

namespace velmora {

class AppDelegate;

// The subject and body templates of the mails that the e-mail actions send, in which "$date",
// "$priority", "$host" and "$message" stand for the event's fields. An empty template is not
// sent; turning a template's check box off discards its text at once. The sheet edits its copy
// of the whole settings, taken when it is shown, and writes that copy back whole on Save.
class ActionsEmailFormat : public QDialog {
    Q_OBJECT

public:
    ActionsEmailFormat(AppDelegate& delegate, QWidget* parent);
    ~ActionsEmailFormat() override;

public slots:
    // sendSubject:, sendBody:, onSave:, onCancel:
    void sendSubject();
    void sendBody();
    void onSave();
    void onCancel();

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::ActionsEmailFormat> m_ui;
    AppDelegate& m_delegate;
    Dictionary m_settings;
    QString m_bodyLineEnd;

    void viewWillAppear();
};

} // namespace velmora
