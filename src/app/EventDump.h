#pragma once

#include <QObject>
#include <QString>

class QAbstractItemModel;

namespace velmora {

// For tests and diagnostics (--debug-dump FILE): keeps FILE holding the rows of the events
// table as the table shows them, one line each, top row first, the cells separated by tabs
// (date, priority, host, message, image name). The file is replaced whole after every change of
// the table, at most once per turn of the event loop.
class EventDump : public QObject {
    Q_OBJECT

public:
    EventDump(const QAbstractItemModel& model, QString path, QObject* parent = nullptr);

    // Writes the rows now.
    void write();

private:
    const QAbstractItemModel& m_model;
    QString m_path;
    bool m_queued = false;

    void queueWrite();
};

} // namespace velmora
