#pragma once

#include <optional>

#include <QObject>
#include <QUdpSocket>

#include "ServerSimulator.h"

namespace velmora::sim {

// Receives syslog datagrams as the server does and hands each on as an event: the priority
// number "<PRI>" at the start becomes "Facility.Severity" text (<191> is Local7.Debug; none, or
// one out of range, counts as <13>, User.Notice), the sender's address is the host and the
// rest of the datagram, line breaks made spaces, is the message.
class SyslogReceiver : public QObject {
    Q_OBJECT

public:
    SyslogReceiver(ServerSimulator& server, QObject* parent = nullptr);

    bool listen(quint16 port);
    quint16 port() const { return m_socket.localPort(); }

    static SimEvent eventOf(const QByteArray& datagram, const QString& host, qint64 seconds);

private:
    ServerSimulator& m_server;
    QUdpSocket m_socket;

    void receive();
};

} // namespace velmora::sim
