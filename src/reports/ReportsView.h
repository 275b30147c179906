#pragma once

#include <memory>

#include <QWidget>

namespace Ui {
class ReportsView;
}

namespace velmora {

class AppDelegate;

// Page 2: grouped reports over the log files.
class ReportsView : public QWidget {
    Q_OBJECT

public:
    explicit ReportsView(AppDelegate& delegate, QWidget* parent = nullptr);
    ~ReportsView() override;

private:
    std::unique_ptr<Ui::ReportsView> m_ui;
    AppDelegate& m_delegate;
};

} // namespace velmora
