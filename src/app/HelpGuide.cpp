#include "app/HelpGuide.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

#include "app/Logging.h"

namespace velmora {

namespace {

const QString kGuideResource = QStringLiteral(":/help/index.html");

// The guide of an installation: the program lies in PREFIX/bin, the guide in the help folder
// of PREFIX. Empty when the program runs from a build tree.
QUrl installedGuide() {
    const QString path =
        QDir::cleanPath(QCoreApplication::applicationDirPath() +
                        QStringLiteral("/../" VELMORA_INSTALL_HELPDIR "/index.html"));
    return QFileInfo::exists(path) ? QUrl::fromLocalFile(path) : QUrl();
}

} // namespace

QUrl HelpGuide::writeLocalCopy() {
    QFile guide(kGuideResource);
    if (!guide.open(QIODevice::ReadOnly)) {
        qCWarning(lcApp) << "the user guide is missing from the resources";
        return {};
    }
    const QString folder =
        QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/help");
    QSaveFile copy(folder + QStringLiteral("/index.html"));
    if (!QDir().mkpath(folder) || !copy.open(QIODevice::WriteOnly) ||
        copy.write(guide.readAll()) < 0 || !copy.commit()) {
        qCWarning(lcApp) << "cannot write the user guide to" << folder << copy.errorString();
        return {};
    }
    return QUrl::fromLocalFile(copy.fileName());
}

bool HelpGuide::open() {
    QUrl guide = installedGuide();
    if (guide.isEmpty()) {
        guide = writeLocalCopy();
    }
    return !guide.isEmpty() && QDesktopServices::openUrl(guide);
}

} // namespace velmora
