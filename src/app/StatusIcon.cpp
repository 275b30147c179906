#include "app/StatusIcon.h"

#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

#include "app/AppDelegate.h"

namespace velmora {

bool StatusIcon::available() {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

StatusIcon::StatusIcon(AppDelegate& delegate, QObject* parent)
    : QObject(parent)
    , m_menu(std::make_unique<QMenu>())
    , m_icon(std::make_unique<QSystemTrayIcon>(QIcon(QStringLiteral(":/icons/velmora.svg")))) {
    // Two consoles on two data directories are told apart by the directory.
    m_icon->setToolTip(tr("Velmora: %1").arg(QString::fromStdString(delegate.dataDirectory())));
    delegate.addApplicationCommands(*m_menu);
    m_icon->setContextMenu(m_menu.get());
    connect(m_icon.get(), &QSystemTrayIcon::activated, &delegate,
            [&delegate](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) {
                    delegate.showWindow();
                }
            });
    m_icon->show();
}

StatusIcon::~StatusIcon() = default;

} // namespace velmora
