#pragma once

#include <memory>

#include <QWidget>

namespace Ui {
class HomeView;
}

namespace velmora {

class AppDelegate;

// Page 0, the dashboard: counts by severity, the overall state, and the status of server,
// actions and export.
class HomeView : public QWidget {
    Q_OBJECT

public:
    explicit HomeView(AppDelegate& delegate, QWidget* parent = nullptr);
    ~HomeView() override;

    // Recounts the events by severity (setEventsStatus); called for every new event while the
    // page is on screen.
    void setEventsStatus();

private:
    std::unique_ptr<Ui::HomeView> m_ui;
    AppDelegate& m_delegate;
};

} // namespace velmora
