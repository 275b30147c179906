#include "app/PageScreenshots.h"

#include <array>
#include <utility>

#include <QCoreApplication>
#include <QPixmap>
#include <QTimer>

#include "app/Logging.h"
#include "app/Page.h"
#include "app/WindowController.h"
#include "popup/PopupThread.h"
#include "popup/PopupView.h"

namespace velmora {

namespace {

struct Shot {
    Page page;
    const char* file;
};

constexpr std::array<Shot, 4> kShots = {{{Page::Home, "1-home.png"},
                                         {Page::Scan, "2-scan.png"},
                                         {Page::Reports, "3-reports.png"},
                                         {Page::Tools, "4-tools.png"}}};

// Time for a page to lay itself out and paint before it is taken.
constexpr int kSettleMs = 400;

} // namespace

PageScreenshots::PageScreenshots(WindowController& window, QDir directory, QObject* parent)
    : QObject(parent)
    , m_window(window)
    , m_directory(std::move(directory)) {}

void PageScreenshots::start(int delayMs) {
    m_directory.mkpath(QStringLiteral("."));
    QTimer::singleShot(delayMs, this, [this] {
        m_window.showPage(kShots[0].page);
        QTimer::singleShot(kSettleMs, this, &PageScreenshots::takeNext);
    });
}

void PageScreenshots::takeNext() {
    const Shot& shot = kShots[static_cast<std::size_t>(m_next)];
    const QString path = m_directory.filePath(QString::fromLatin1(shot.file));
    if (!m_window.grab().save(path)) {
        qCWarning(lcApp) << "cannot save" << path;
    }
    if (PopupView* popup = m_window.popupThread().currentPopup(); popup && popup->isVisible()) {
        popup->grab().save(m_directory.filePath(QStringLiteral("5-popup.png")));
    }
    if (++m_next == static_cast<int>(kShots.size())) {
        QCoreApplication::quit();
        return;
    }
    m_window.showPage(kShots[static_cast<std::size_t>(m_next)].page);
    QTimer::singleShot(kSettleMs, this, &PageScreenshots::takeNext);
}

} // namespace velmora
