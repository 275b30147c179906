#include "popup/PopupView.h"

#include <algorithm>
#include <climits>
#include <optional>
#include <string>
#include <string_view>

#include <QGuiApplication>
#include <QHideEvent>
#include <QIcon>
#include <QMouseEvent>
#include <QPropertyAnimation>
#include <QScreen>
#include <QSettings>
#include <QShowEvent>
#include <QTimer>

#include "app/LinkStyle.h"
#include "app/Logging.h"
#include "app/WholeText.h"
#include "core/popup/PopupText.h"
#include "popup/PopupViewTitle.h"
#include "scan/ScanViewEvent.h"
#include "ui_PopupView.h"

namespace velmora {

namespace {

constexpr int kPictureSize = 40;

QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

QPixmap picture(const QString& resource) {
    return QIcon(resource).pixmap(kPictureSize, kPictureSize);
}

QString levelPicture(Level level) {
    switch (level) {
    case Level::Normal:
        return QStringLiteral(":/icons/normal.svg");
    case Level::Moderate:
        return QStringLiteral(":/icons/moderate.svg");
    case Level::Severe:
        return QStringLiteral(":/icons/severe.svg");
    }
    return {};
}

// A window of no height is taken off the screen by the window system, so the popup starts and
// ends as a line one pixel high on the bottom edge.
constexpr int kCollapsedHeight = 1;

QRect collapsedOntoBottom(const QRect& frame) {
    return {frame.x(), frame.y() + frame.height() - kCollapsedHeight, frame.width(),
            kCollapsedHeight};
}

int timeoutMs(std::int64_t seconds) {
    return static_cast<int>(std::clamp<std::int64_t>(seconds, 0, INT_MAX / 1000) * 1000);
}

} // namespace

PopupView::PopupView(const EventStore& store, EventId event, std::int64_t popupTime,
                     std::shared_ptr<PopupCondition> condition, QWidget* detailsOwner)
    : QWidget(nullptr, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                           Qt::WindowDoesNotAcceptFocus)
    , m_ui(std::make_unique<Ui::PopupView>())
    , m_store(store)
    , m_event(event)
    , m_popupTime(popupTime)
    , m_condition(std::move(condition))
    , m_detailsOwner(detailsOwner)
    , m_levels(userLevels())
    , m_background(new PopupViewTitle(this))
    , m_content(new QWidget(m_background))
    , m_animation(new QPropertyAnimation(this, "geometry", this)) {
    setObjectName(QStringLiteral("popupWindow"));
    setWindowTitle(tr("Velmora Alert"));
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_ShowWithoutActivating);
    // Popups neither keep the program running nor end it when they close.
    setAttribute(Qt::WA_QuitOnClose, false);
    m_ui->setupUi(m_content);
    m_content->setFixedSize(kSize.width(), kSize.height() - PopupViewTitle::kBarHeight);
    resize(kSize);

    m_ui->popupImage->setPixmap(picture(QStringLiteral(":/icons/velmora.svg")));
    restyleAsLink(*m_ui->popupAbout);
    m_ui->popupAbout->setCursor(Qt::PointingHandCursor);
    m_ui->popupAbout->installEventFilter(this);
    m_animation->setDuration(kAnimationMs);
}

PopupView::~PopupView() {
    signalGone();
}

SeverityLevels PopupView::userLevels() {
    const QSettings defaults(QSettings::NativeFormat, QSettings::UserScope,
                             QStringLiteral("Velmora"));
    // The built-in levels apply only when the entry "AppName" is present, as they always have.
    if (defaults.contains(QStringLiteral("AppName"))) {
        return kDefaultSeverityLevels;
    }
    SeverityLevels levels;
    for (const Severity severity : kAllSeverities) {
        const QString key = QStringLiteral("severity") + toQString(severityKeySuffix(severity));
        levels[severity] = defaults.value(key).toLongLong();
    }
    return levels;
}

void PopupView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) {
        viewWillAppear();
    }
}

void PopupView::viewWillAppear() {
    // Without a screen every value is 0 and the popup opens off screen.
    const QScreen* screen = QGuiApplication::primaryScreen();
    const QRect visible = screen ? screen->availableGeometry() : QRect();
    // The visible width, not the visible right edge: the x origin is not added.
    const int x = visible.width() - kSize.width();
    const int bottom = visible.y() + visible.height();
    const QRect open(x, bottom - kSize.height(), kSize.width(), kSize.height());
    const QRect collapsed = collapsedOntoBottom(open);
    setGeometry(collapsed);

    m_animation->disconnect(this);
    m_animation->setStartValue(collapsed);
    m_animation->setEndValue(open);
    connect(m_animation, &QPropertyAnimation::finished, this, &PopupView::scheduleTimeout);
    m_animation->start();
    setDetails();
}

void PopupView::scheduleTimeout() {
    QTimer::singleShot(timeoutMs(m_popupTime), this, &PopupView::popupTimeout);
}

void PopupView::popupTimeout() {
    m_animation->stop();
    m_animation->disconnect(this);
    m_animation->setStartValue(geometry());
    m_animation->setEndValue(collapsedOntoBottom(geometry()));
    connect(m_animation, &QPropertyAnimation::finished, this, &QWidget::close);
    m_animation->start();
}

void PopupView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // The title bar stays on top; the content rises with the bottom edge as the popup grows.
    m_background->setGeometry(rect());
    m_content->move(0, height() - m_content->height());
}

void PopupView::setDetails() {
    const std::optional<std::string_view> priority = m_store.priority(m_event);
    const std::optional<Level> level =
        m_levels.levelOf(displayedSeverity(priority.value_or(std::string_view())));
    if (level) {
        m_ui->popupImage->setPixmap(picture(levelPicture(*level)));
    }
    m_background->setLevel(level);
    m_ui->popupHeader->setText(toQString(popupHeader(priority.value_or(std::string_view()))));

    const std::optional<std::string> date = m_store.date(m_event);
    const std::string details =
        popupDetails(date ? std::optional<std::string_view>(*date) : std::nullopt, priority,
                     m_store.host(m_event), m_store.message(m_event));
    showWholeText(*m_ui->popupDetails, QString::fromStdString(details));
}

void PopupView::popupAbout() {
    auto* details = new ScanViewEvent(m_store, m_event, nullptr, m_detailsOwner);
    details->setAttribute(Qt::WA_DeleteOnClose);
    details->setHideButtons(true);
    // Over the popup, which stays above other windows, and modal for the whole program.
    details->setWindowFlag(Qt::WindowStaysOnTopHint);
    details->setWindowModality(Qt::ApplicationModal);
    QRect frame(QPoint(), details->size());
    frame.moveCenter(geometry().center());
    if (const QScreen* screen = QGuiApplication::primaryScreen()) {
        const QRect visible = screen->availableGeometry();
        frame.moveRight(std::min(frame.right(), visible.right()));
        frame.moveBottom(std::min(frame.bottom(), visible.bottom()));
    }
    details->move(frame.topLeft());
    details->show();
}

bool PopupView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_ui->popupAbout && event->type() == QEvent::MouseButtonRelease &&
        static_cast<QMouseEvent*>(event)->button() == Qt::LeftButton) {
        popupAbout();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void PopupView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) {
        signalGone();
    }
}

void PopupView::signalGone() {
    if (m_signalled) {
        return;
    }
    m_signalled = true;
    qCDebug(lcPopup) << "popup of event" << static_cast<quint32>(m_event) << "gone";
    if (m_condition) {
        m_condition->signal();
    }
    emit gone();
}

} // namespace velmora
