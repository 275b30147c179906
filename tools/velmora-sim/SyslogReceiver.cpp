#include "SyslogReceiver.h"

#include <QDateTime>
#include <QHostAddress>
#include <QNetworkDatagram>

#include "core/presentation/PriorityNames.h"

namespace velmora::sim {

namespace {

constexpr int kDefaultPriority = 13; // user.notice, for a datagram without one

// "<PRI>" at the start: the number and the length of the part, or nothing.
std::optional<std::pair<int, qsizetype>> leadingPriority(const QByteArray& datagram) {
    if (!datagram.startsWith('<')) {
        return std::nullopt;
    }
    const qsizetype close = datagram.indexOf('>');
    if (close < 2 || close > 4) {
        return std::nullopt;
    }
    bool ok = false;
    const int number = datagram.mid(1, close - 1).toInt(&ok);
    if (!ok) {
        return std::nullopt;
    }
    return std::pair{number, close + 1};
}

} // namespace

SyslogReceiver::SyslogReceiver(ServerSimulator& server, QObject* parent)
    : QObject(parent)
    , m_server(server) {
    connect(&m_socket, &QUdpSocket::readyRead, this, &SyslogReceiver::receive);
}

bool SyslogReceiver::listen(quint16 port) {
    return m_socket.bind(QHostAddress::AnyIPv4, port);
}

SimEvent SyslogReceiver::eventOf(const QByteArray& datagram, const QString& host, qint64 seconds) {
    int number = kDefaultPriority;
    QByteArray text = datagram;
    if (const auto priority = leadingPriority(datagram)) {
        number = priority->first;
        text = datagram.mid(priority->second);
    }
    std::optional<std::string> priority = priorityText(number);
    if (!priority) {
        priority = priorityText(kDefaultPriority);
    }
    QString message = QString::fromUtf8(text).trimmed();
    message.replace(QLatin1Char('\r'), QLatin1Char(' '))
        .replace(QLatin1Char('\n'), QLatin1Char(' '));
    return {QString::number(seconds), QString::fromStdString(*priority), host, message};
}

void SyslogReceiver::receive() {
    while (m_socket.hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket.receiveDatagram();
        QHostAddress sender = datagram.senderAddress();
        if (const QHostAddress v4(sender.toIPv4Address()); !v4.isNull()) {
            sender = v4;
        }
        m_server.log(
            eventOf(datagram.data(), sender.toString(), QDateTime::currentSecsSinceEpoch()));
    }
}

} // namespace velmora::sim
