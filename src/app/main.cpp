#include "core/Version.h"

#include <QApplication>
#include <QMainWindow>

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Velmora"));
    QApplication::setApplicationVersion(QString::fromLatin1(velmora::kVersion));
    QMainWindow window;
    window.setWindowTitle(QStringLiteral("Velmora"));
    window.setMinimumSize(900, 600);
    window.show();
    return QApplication::exec();
}
