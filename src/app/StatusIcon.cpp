#include "app/StatusIcon.h"

#include <QIcon>
#include <QMenu>

#include "app/AppDelegate.h"

namespace velmora {

bool StatusIcon::available() {
    return QSystemTrayIcon::isSystemTrayAvailable();
}

StatusIcon::StatusIcon(AppDelegate& delegate, QObject* parent)
    : QSystemTrayIcon(QIcon(QStringLiteral(":/icons/velmora.svg")), parent)
    , m_menu(std::make_unique<QMenu>()) {
    setObjectName(QStringLiteral("statusIcon"));
    // Two consoles on two data directories are told apart by the directory.
    setToolTip(tr("Velmora: %1").arg(QString::fromStdString(delegate.dataDirectory())));
    delegate.addApplicationCommands(*m_menu);
    setContextMenu(m_menu.get());
    connect(this, &QSystemTrayIcon::activated, &delegate, [&delegate](ActivationReason reason) {
        if (reason == Trigger || reason == DoubleClick) {
            delegate.showWindow();
        }
    });
}

StatusIcon::~StatusIcon() = default;

} // namespace velmora
