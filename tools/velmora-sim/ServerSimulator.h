#pragma once

#include <cstdint>
#include <random>

#include <QDBusConnection>
#include <QElapsedTimer>
#include <QFile>
#include <QObject>
#include <QString>
#include <QTimer>

namespace velmora::sim {

// One event as the server logs and announces it.
struct SimEvent {
    QString date; // seconds since 1970, as the server writes them
    QString priority;
    QString host;
    QString message;

    // "date,priority,host,message"; the message may hold commas, never a line break.
    QByteArray logLine() const;
};

// Stands in for the server: appends each event as a line to a log file of the data directory,
// then posts its "Set" notification; can post a "Remove"; makes up events at a steady rate.
class ServerSimulator : public QObject {
    Q_OBJECT

public:
    ServerSimulator(QDBusConnection bus, QString logPath, QObject* parent = nullptr);

    bool open(QString* error);
    void log(const SimEvent& event);
    bool postRemove(const SimEvent& event);

    // Makes up `count` events (0: without end), `perSecond` a second, then emits finished().
    void generate(double perSecond, std::uint64_t count, std::uint64_t seed);
    SimEvent madeUpEvent();

signals:
    void finished();

private:
    QDBusConnection m_bus;
    QFile m_log;
    QTimer m_timer;
    QElapsedTimer m_started;
    std::mt19937_64 m_random;
    double m_perSecond = 0;
    std::uint64_t m_made = 0;
    std::uint64_t m_left = 0;
    bool m_endless = true;

    bool post(const char* type, const SimEvent& event);
    void tick();
};

} // namespace velmora::sim
