#pragma once

#include <QDir>
#include <QObject>

namespace velmora {

class WindowController;

// For the demonstration (--screenshots DIR): after a pause that lets live events come in, shows
// the main pages one after the other, saves a picture of the window on each into DIR
// (1-home.png, 2-scan.png, ...), and of a popup when one is on screen, then quits.
class PageScreenshots : public QObject {
    Q_OBJECT

public:
    PageScreenshots(WindowController& window, QDir directory, QObject* parent = nullptr);

    void start(int delayMs);

private:
    WindowController& m_window;
    QDir m_directory;
    int m_next = 0;

    void takeNext();
};

} // namespace velmora
