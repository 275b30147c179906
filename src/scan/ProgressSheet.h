#pragma once

#include <memory>

#include <QDialog>

namespace Ui {
class ProgressSheet;
}

namespace velmora {

// The sheet that covers the window while long work of the events page runs: a line of text and
// a bar in thousandths. It has no Cancel button and no key closes it: a deletion stopped
// halfway would leave some log files rewritten and others not. Its owner closes it when the
// work ends.
class ProgressSheet : public QDialog {
    Q_OBJECT

public:
    ProgressSheet(const QString& label, QWidget* parent);
    ~ProgressSheet() override;

    void setPermille(int permille);

    void reject() override {}

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    std::unique_ptr<Ui::ProgressSheet> m_ui;
};

} // namespace velmora
