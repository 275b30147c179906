#include "home/HomeView.h"

#include <string_view>

#include <QIcon>
#include <QLabel>
#include <QShowEvent>

#include "app/AppDelegate.h"
#include "core/Version.h"
#include "core/presentation/OverallLevel.h"
#include "core/settings/ServerStatus.h"
#include "core/system/ProcessTable.h"
#include "ui_HomeView.h"

namespace velmora {

namespace {

// How each overall level looks: the frames' borders, the start of the bar's gradient, the image.
struct LevelLook {
    QColor box;
    QColor innerBox;
    QColor barStart;
    const char* image;
};

const LevelLook& lookOf(Level level) {
    static const std::array<LevelLook, 3> looks = {{
        {QColor::fromRgbF(0.57f, 0.89f, 0.46f), QColor::fromRgbF(0.78f, 0.95f, 0.73f),
         QColor::fromRgbF(0.70f, 0.92f, 0.70f), ":/icons/normal.svg"},
        {QColor::fromRgbF(0.99f, 0.89f, 0.67f), QColor::fromRgbF(0.99f, 0.94f, 0.83f),
         QColor::fromRgbF(0.99f, 0.93f, 0.41f), ":/icons/moderate.svg"},
        {QColor::fromRgbF(0.98f, 0.73f, 0.76f), QColor::fromRgbF(0.98f, 0.84f, 0.83f),
         QColor::fromRgbF(0.96f, 0.62f, 0.60f), ":/icons/severe.svg"},
    }};
    return looks[static_cast<std::size_t>(level)];
}

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

HomeView::HomeView(AppDelegate& delegate, QWidget* parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::HomeView>())
    , m_delegate(delegate) {
    m_ui->setupUi(this);
    setAutoFillBackground(true);
    QPalette white = palette();
    white.setColor(QPalette::Window, Qt::white);
    setPalette(white);
    m_counts = {m_ui->eventsEmergency,   m_ui->eventsAlerting, m_ui->eventsCritical,
                m_ui->eventsError,       m_ui->eventsWarning,  m_ui->eventsNotice,
                m_ui->eventsInformation, m_ui->eventsDebug,    m_ui->eventsUnknown};
    fixCountSizes();
    m_ui->statusVersion->setText(tr("Linux program %1").arg(QLatin1String(kVersion)));
}

HomeView::~HomeView() = default;

void HomeView::fixCountSizes() {
    // A label of fixed size does not ask its layout to recompute when its text changes, so a
    // burst of events costs one repaint of the numbers per turn of the event loop, no layout.
    // The width holds any count of fifteen digits.
    for (QLabel* count : m_counts) {
        const QFontMetrics metrics(count->font());
        count->setFixedSize(metrics.horizontalAdvance(QString(15, QLatin1Char('0'))),
                            count->sizeHint().height());
    }
}

void HomeView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void HomeView::viewWillAppear() {
    setEventsStatus();
    displayEventsStatus();
    setActionsStatus();
    setExportStatus();
    setMonitorStatus();
}

void HomeView::setEventsStatus() {
    // The level is followed event by event, because a level of 3 or more keeps the previous one:
    // what the page shows after a burst depends on the order the events came in.
    m_severityStatus =
        nextSeverityStatus(m_severityStatus, overallLevel(m_delegate.eventStore().counters(),
                                                          m_delegate.runtime().levels));
    if (!m_eventsDisplayPending) {
        m_eventsDisplayPending = true;
        QMetaObject::invokeMethod(this, &HomeView::displayPendingEventsStatus,
                                  Qt::QueuedConnection);
    }
}

void HomeView::displayPendingEventsStatus() {
    if (m_eventsDisplayPending) {
        displayEventsStatus();
    }
}

void HomeView::displayEventsStatus() {
    m_eventsDisplayPending = false;
    const SeverityCounters& counters = m_delegate.eventStore().counters();
    for (const Severity severity : kAllSeverities) {
        m_counts[severityIndex(severity)]->setText(QString::number(counters[severity]));
    }
    displayLevel(m_severityStatus);
}

void HomeView::displayLevel(Level level) {
    if (m_displayedLevel == level) {
        return;
    }
    m_displayedLevel = level;
    const LevelLook& look = lookOf(level);
    m_ui->eventsBox->setBorderColor(look.box);
    m_ui->eventsInnerBox->setBorderColor(look.innerBox);
    m_ui->eventsBar->setStartColor(look.barStart);
    m_ui->eventsTitle->setText(toQString(overallLevelSentence(level)));
    m_ui->eventsImage->setPixmap(
        QIcon(look.image).pixmap(m_ui->eventsImage->size(), devicePixelRatioF()));
    m_ui->eventsImage->setAccessibleName(toQString(levelImageName(level)));
}

void HomeView::setActionsStatus() {
    const bool enabled = actionsEnabled(m_delegate.settingsStore().readDictionary());
    m_ui->statusActions->setText(toQString(actionsStatusText(enabled)));
}

void HomeView::setExportStatus() {
    const bool enabled = exportEnabled(m_delegate.settingsStore().readDictionary());
    m_ui->statusExport->setText(toQString(exportStatusText(enabled)));
}

void HomeView::setMonitorStatus() {
    m_ui->statusMonitor->setText(
        toQString(monitorStatusText(isProcessRunning(kServerProcessName))));
}

} // namespace velmora
