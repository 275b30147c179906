#include "app/EventDump.h"

#include <QAbstractItemModel>
#include <QSaveFile>

#include "app/Logging.h"
#include "scan/EventTableModel.h"

namespace velmora {

EventDump::EventDump(const QAbstractItemModel& model, QString path, QObject* parent)
    : QObject(parent)
    , m_model(model)
    , m_path(std::move(path)) {
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, &EventDump::queueWrite);
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, &EventDump::queueWrite);
    connect(&m_model, &QAbstractItemModel::dataChanged, this, &EventDump::queueWrite);
    connect(&m_model, &QAbstractItemModel::modelReset, this, &EventDump::queueWrite);
}

void EventDump::queueWrite() {
    if (!m_queued) {
        m_queued = true;
        QMetaObject::invokeMethod(this, &EventDump::write, Qt::QueuedConnection);
    }
}

void EventDump::write() {
    m_queued = false;
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        qCWarning(lcApp) << "cannot write the event dump" << m_path;
        return;
    }
    constexpr int kTextColumns[] = {EventTableModel::DateColumn, EventTableModel::PriorityColumn,
                                    EventTableModel::HostColumn, EventTableModel::MessageColumn};
    for (int row = 0; row < m_model.rowCount(); ++row) {
        QString line;
        for (const int column : kTextColumns) {
            line += m_model.index(row, column).data().toString() + QLatin1Char('\t');
        }
        line += m_model.index(row, EventTableModel::ImageColumn)
                    .data(EventTableModel::ImageNameRole)
                    .toString();
        file.write(line.toUtf8().append('\n'));
    }
    file.commit();
}

} // namespace velmora
