#include "app/ConsoleService.h"

#include <filesystem>
#include <system_error>

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusMessage>

#include "app/Logging.h"

namespace velmora {

namespace {

constexpr int kActivateTimeoutMs = 60'000; // the owner may still be loading a large event list

std::string absoluteResolved(const std::string& directory) {
    std::error_code error;
    std::filesystem::path path = std::filesystem::absolute(directory, error);
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    path = error ? path.lexically_normal() : resolved;
    std::string text = path.string();
    while (text.size() > 1 && text.back() == '/') {
        text.pop_back();
    }
    return text;
}

} // namespace

QString ConsoleService::busName(const std::string& dataDirectory) {
    const std::string path = absoluteResolved(dataDirectory);
    const QByteArray digest =
        QCryptographicHash::hash(QByteArray::fromStdString(path), QCryptographicHash::Sha256);
    return QStringLiteral("com.kestrix.Velmora.Console.d") +
           QString::fromLatin1(digest.left(8).toHex());
}

ConsoleService::ConsoleService(const std::string& dataDirectory, QObject* parent)
    : QObject(parent)
    , m_dataDirectory(QString::fromStdString(absoluteResolved(dataDirectory)))
    , m_busName(busName(dataDirectory)) {}

ConsoleService::~ConsoleService() {
    if (m_owned) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.unregisterService(m_busName);
        bus.unregisterObject(QString::fromLatin1(kPath));
    }
}

ConsoleService::Claim ConsoleService::claim() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return Claim::Unknown;
    }
    // The object first, so that whoever finds the name finds it answering.
    if (!bus.registerObject(QString::fromLatin1(kPath), this,
                            QDBusConnection::ExportScriptableSlots |
                                QDBusConnection::ExportAllProperties)) {
        return Claim::Unknown;
    }
    m_owned = bus.registerService(m_busName);
    if (!m_owned) {
        bus.unregisterObject(QString::fromLatin1(kPath));
        return Claim::Taken;
    }
    qCInfo(lcApp) << "on the session bus as" << m_busName;
    return Claim::Owned;
}

bool ConsoleService::activateOwner() const {
    QDBusMessage call =
        QDBusMessage::createMethodCall(m_busName, QString::fromLatin1(kPath),
                                       QString::fromLatin1(kInterface), QStringLiteral("Activate"));
    call << QVariantMap();
    const QDBusMessage reply =
        QDBusConnection::sessionBus().call(call, QDBus::Block, kActivateTimeoutMs);
    return reply.type() == QDBusMessage::ReplyMessage;
}

void ConsoleService::Activate(const QVariantMap& /*platformData*/) {
    emit activated();
}

} // namespace velmora
