#pragma once

#include <memory>

#include <QDialog>

namespace Ui {
class ActionsEmailTest;
}

namespace velmora {

class AppDelegate;
class RecipientList;

// Asks the server for one test mail to the listed recipients, through the configured mail
// server and with the configured templates filled with test values. The console sends no mail:
// it writes the request into the command pipe and closes, without waiting for an answer; the
// user judges by the mail's arrival. The recipients are not kept.
class ActionsEmailTest : public QDialog {
    Q_OBJECT

public:
    ActionsEmailTest(AppDelegate& delegate, QWidget* parent);
    ~ActionsEmailTest() override;

public slots:
    // onSave: (the send button), onCancel:
    void onSave();
    void onCancel();

protected:
    void showEvent(QShowEvent* event) override;

private:
    std::unique_ptr<Ui::ActionsEmailTest> m_ui;
    AppDelegate& m_delegate;
    RecipientList* m_recipients = nullptr;
};

} // namespace velmora
