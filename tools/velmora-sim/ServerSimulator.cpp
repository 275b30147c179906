#include "ServerSimulator.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <QDBusMessage>
#include <QDateTime>
#include <QVariantMap>

#include "core/presentation/PriorityNames.h"

namespace velmora::sim {

namespace {

constexpr const char* kPath = "/com/kestrix/Velmora";
constexpr const char* kInterface = "com.kestrix.Velmora";
constexpr const char* kMember = "Velmora";

constexpr std::array kHosts = {"10.0.0.1",     "10.0.0.12",  "10.0.1.7", "192.168.1.20",
                               "192.168.1.21", "172.16.4.2", "gateway",  "db-primary",
                               "mail-relay",   "build-03"};

struct Template {
    int priority; // facility × 8 + severity
    const char* message;
};

// A day's mix on a small network: mostly routine, now and then something that needs a look.
constexpr std::array kTemplates = {
    Template{30, "sshd[2211]: Accepted publickey for deploy from 10.0.0.5 port 52144"},
    Template{30, "systemd[1]: Started Daily apt upgrade and clean activities."},
    Template{86, "CRON[4410]: (root) CMD (run-parts /etc/cron.hourly)"},
    Template{22, "postfix/smtpd[991]: connect from mail.example.org[203.0.113.9]"},
    Template{191, "app[77]: cache refreshed, 1,024 entries, 3 ms"},
    Template{190, "app[77]: user alice signed in"},
    Template{189, "app[77]: slow request, GET /reports took 2.4 s"},
    Template{188, "app[77]: retrying upstream, attempt 2 of 5"},
    Template{3, "kernel: EXT4-fs warning (device sda1): ext4_dx_add_entry: directory index full"},
    Template{84, "sshd[3120]: Failed password for invalid user admin from 198.51.100.7"},
    Template{187, "app[77]: payment gateway returned 502, order 18244 queued"},
    Template{2, "kernel: Out of memory: Killed process 8812 (java)"},
    Template{33, "sudo: pam_unix(sudo:auth): authentication failure; user=guest"},
    Template{0, "kernel: RAID1 conf printout: disk 1 failed, array degraded"},
};

} // namespace

QByteArray SimEvent::logLine() const {
    return (date + ',' + priority + ',' + host + ',' + message).toUtf8() + '\n';
}

ServerSimulator::ServerSimulator(QDBusConnection bus, QString logPath, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_log(std::move(logPath)) {
    connect(&m_timer, &QTimer::timeout, this, &ServerSimulator::tick);
}

bool ServerSimulator::open(QString* error) {
    if (!m_log.open(QIODevice::Append | QIODevice::WriteOnly)) {
        *error = m_log.fileName() + ": " + m_log.errorString();
        return false;
    }
    return true;
}

bool ServerSimulator::post(const char* type, const SimEvent& event) {
    QDBusMessage signal = QDBusMessage::createSignal(kPath, kInterface, kMember);
    signal << QVariantMap{{"Type", QString::fromLatin1(type)},
                          {"Date", event.date},
                          {"Priority", event.priority},
                          {"Host", event.host},
                          {"Message", event.message}};
    return m_bus.send(signal);
}

void ServerSimulator::log(const SimEvent& event) {
    m_log.write(event.logLine());
    m_log.flush();
    post("Set", event);
}

bool ServerSimulator::postRemove(const SimEvent& event) {
    return post("Remove", event);
}

SimEvent ServerSimulator::madeUpEvent() {
    const Template& pick = kTemplates[m_random() % kTemplates.size()];
    return {QString::number(QDateTime::currentSecsSinceEpoch()),
            QString::fromStdString(priorityText(pick.priority).value_or("User.Notice")),
            QString::fromLatin1(kHosts[m_random() % kHosts.size()]),
            QString::fromUtf8(pick.message)};
}

void ServerSimulator::generate(double perSecond, std::uint64_t count, std::uint64_t seed) {
    m_random.seed(seed);
    m_perSecond = perSecond;
    m_left = count;
    m_endless = count == 0;
    m_made = 0;
    if (perSecond <= 0) {
        return;
    }
    m_started.start();
    // Beyond a thousand a second each tick makes every event that is due by then.
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.start(std::max(1, static_cast<int>(std::lround(1000.0 / perSecond))));
}

void ServerSimulator::tick() {
    const auto due = static_cast<std::uint64_t>(static_cast<double>(m_started.elapsed()) / 1000.0 *
                                                m_perSecond) +
                     1;
    while (m_made < due) {
        log(madeUpEvent());
        ++m_made;
        if (!m_endless && --m_left == 0) {
            m_timer.stop();
            emit finished();
            return;
        }
    }
}

} // namespace velmora::sim
