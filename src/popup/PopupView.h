#pragma once

#include <cstdint>
#include <memory>

#include <QPointer>
#include <QWidget>

#include "core/eventlog/EventStore.h"
#include "core/popup/PopupCondition.h"
#include "core/presentation/Severity.h"

class QPropertyAnimation;

namespace Ui {
class PopupView;
}

namespace velmora {

class PopupViewTitle;

// One popup alert for one new event: a small frameless window above all others that grows
// upward out of the bottom right corner of the primary screen's available area over a second,
// stays fully open `popupTime` seconds, shrinks back over a second and closes. It shows the
// picture of the event's level, its severity, its date, priority, host and message as the event
// list holds them when it appears, and a link to the event's details.
//
// When the window goes away, by its timeout, by being closed early or by being destroyed as the
// program quits, it signals its condition exactly once: the popup queue waits for that to go on.
class PopupView : public QWidget {
    Q_OBJECT

public:
    static constexpr QSize kSize{340, 220};
    static constexpr int kAnimationMs = 1000;

    PopupView(const EventStore& store, EventId event, std::int64_t popupTime,
              std::shared_ptr<PopupCondition> condition, QWidget* detailsOwner = nullptr);
    ~PopupView() override;

    EventId event() const { return m_event; }
    std::int64_t popupTime() const { return m_popupTime; }
    const SeverityLevels& levels() const { return m_levels; }

    // The levels of the popups, from the user settings "Velmora": the built-in levels when they
    // hold an entry "AppName", else their nine level entries (a missing one reads as 0).
    static SeverityLevels userLevels();

    // Fills the picture, header and details from the event as the list holds it now.
    void setDetails();

public slots:
    // The exit: shrinks onto the bottom edge over a second, then closes.
    void popupTimeout();
    // Opens the event's details sheet without its stepping buttons.
    void popupAbout();

signals:
    // Emitted once, together with the condition's signal.
    void gone();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::unique_ptr<Ui::PopupView> m_ui;
    const EventStore& m_store;
    const EventId m_event;
    const std::int64_t m_popupTime;
    const std::shared_ptr<PopupCondition> m_condition;
    QPointer<QWidget> m_detailsOwner;
    SeverityLevels m_levels;
    PopupViewTitle* m_background;
    QWidget* m_content;
    QPropertyAnimation* m_animation;
    bool m_signalled = false;

    void viewWillAppear();
    void scheduleTimeout();
    void signalGone();
};

} // namespace velmora
