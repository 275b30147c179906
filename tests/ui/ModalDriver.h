#pragma once

#include <functional>

#include <QApplication>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QLineEdit>
#include <QTimer>
#include <QWidget>
#include <QtTest>

namespace velmora::test {

// Answers the next modal dialog of type Dialog (a QMessageBox, a QFileDialog, a sheet) from
// inside the event loop that the dialog runs: call it before the action that opens the dialog.
// The answer must close the dialog. A dialog that does not open within five seconds fails
// the test.
template <typename Dialog>
void whenModal(std::function<void(Dialog&)> answer) {
    auto* timer = new QTimer(qApp);
    auto* waited = new QElapsedTimer;
    waited->start();
    QObject::connect(timer, &QTimer::timeout, timer, [timer, waited, answer = std::move(answer)] {
        if (auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            dialog != nullptr && dialog->isVisible()) {
            timer->stop();
            timer->deleteLater();
            delete waited;
            answer(*dialog);
        } else if (waited->elapsed() > 5000) {
            timer->stop();
            timer->deleteLater();
            delete waited;
            QFAIL("no modal dialog of the expected type opened");
        }
    });
    timer->start(5);
}

// Chooses `path` in a file dialog as a user would: typed into the name field, then the default
// button. (QFileDialog::selectFile leaves the field alone while it has the focus, which the
// dialog gives it at a moment of its own.)
inline void chooseFile(QFileDialog& dialog, const QString& path) {
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    auto* name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
    QVERIFY(name != nullptr);
    name->setText(path);
    static_cast<QDialog&>(dialog).accept(); // QFileDialog::accept, as its default button
    QVERIFY2(!dialog.isVisible(), qPrintable(path));
}

} // namespace velmora::test
