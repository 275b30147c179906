#pragma once

#include <functional>

#include <QApplication>
#include <QElapsedTimer>
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

} // namespace velmora::test
