#pragma once

#include <memory>

#include <QDialog>

namespace Ui {
class ProgressSheet;
}

namespace velmora {

// The sheet that covers the window while long work of the events page runs: a line of text, a
// bar in thousandths and a Cancel button. Cancel (or Escape) only asks the work to stop; the
// sheet stays until its owner closes it when the work ends, and work that can no longer be
// stopped (a deletion rewriting the log files) turns the button off.
class ProgressSheet : public QDialog {
    Q_OBJECT

public:
    ProgressSheet(const QString& label, QWidget* parent);
    ~ProgressSheet() override;

    void setPermille(int permille);
    void setCancellable(bool cancellable);

    void reject() override;

signals:
    void cancelRequested();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<Ui::ProgressSheet> m_ui;
};

} // namespace velmora
