#include "app/NotificationObserver.h"

#include <cstdint>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <QByteArray>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusSignature>
#include <QDBusVariant>
#include <QStringList>

#include "app/Logging.h"

namespace velmora {

namespace {

// D-Bus nests containers at most 64 deep; this bounds the recursion whatever a peer sends.
constexpr int kMaxDepth = 64;

std::optional<Value> toValue(const QVariant& variant, int depth);

// Keys in the order first sent, each with its last value.
class DictionaryBuilder {
public:
    void set(std::string key, Value value) {
        const auto [it, added] = m_index.try_emplace(key, m_entries.size());
        if (added) {
            m_entries.emplace_back(std::move(key), std::move(value));
        } else {
            m_entries[it->second].second = std::move(value);
        }
    }
    Dictionary build() && {
        Dictionary dictionary;
        for (auto& [key, value] : m_entries) {
            dictionary.appendUnchecked(std::move(key), std::move(value));
        }
        return dictionary;
    }

private:
    std::vector<std::pair<std::string, Value>> m_entries;
    std::unordered_map<std::string, std::size_t> m_index;
};

std::optional<Value> fromArray(const QDBusArgument& argument, int depth) {
    Array array;
    argument.beginArray();
    while (!argument.atEnd()) {
        if (std::optional<Value> element = toValue(argument.asVariant(), depth + 1)) {
            array.push_back(std::move(*element));
        }
    }
    argument.endArray();
    return Value(std::move(array));
}

std::optional<Value> fromStructure(const QDBusArgument& argument, int depth) {
    Array fields;
    argument.beginStructure();
    while (!argument.atEnd()) {
        if (std::optional<Value> field = toValue(argument.asVariant(), depth + 1)) {
            fields.push_back(std::move(*field));
        }
    }
    argument.endStructure();
    return Value(std::move(fields));
}

Dictionary fromMap(const QDBusArgument& argument, int depth) {
    DictionaryBuilder builder;
    argument.beginMap();
    while (!argument.atEnd()) {
        argument.beginMapEntry();
        const QVariant key = argument.asVariant();
        const QVariant value = argument.asVariant();
        argument.endMapEntry();
        if (std::optional<Value> converted = toValue(value, depth + 1)) {
            builder.set(key.toString().toStdString(), std::move(*converted));
        }
    }
    argument.endMap();
    return std::move(builder).build();
}

std::optional<Value> fromArgument(const QDBusArgument& argument, int depth) {
    switch (argument.currentType()) {
    case QDBusArgument::ArrayType:
        return fromArray(argument, depth);
    case QDBusArgument::StructureType:
        return fromStructure(argument, depth);
    case QDBusArgument::MapType:
        return Value(fromMap(argument, depth));
    case QDBusArgument::BasicType:
    case QDBusArgument::VariantType:
        return toValue(argument.asVariant(), depth + 1);
    default:
        return std::nullopt;
    }
}

std::optional<Value> fromUnsigned(qulonglong value) {
    if (value > static_cast<qulonglong>(std::numeric_limits<std::int64_t>::max())) {
        return Value(static_cast<double>(value));
    }
    return Value(static_cast<std::int64_t>(value));
}

std::optional<Value> toValue(const QVariant& variant, int depth) {
    if (depth > kMaxDepth) {
        return std::nullopt;
    }
    switch (variant.metaType().id()) {
    case QMetaType::QString:
        return Value(variant.toString().toStdString());
    case QMetaType::Bool:
        return Value(variant.toBool());
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return Value(static_cast<std::int64_t>(variant.toLongLong()));
    case QMetaType::ULongLong:
        return fromUnsigned(variant.toULongLong());
    case QMetaType::Double:
        return Value(variant.toDouble());
    case QMetaType::QByteArray: {
        const QByteArray bytes = variant.toByteArray();
        return Value(Data{{bytes.begin(), bytes.end()}});
    }
    case QMetaType::QStringList: {
        Array array;
        for (const QString& text : variant.toStringList()) {
            array.emplace_back(text.toStdString());
        }
        return Value(std::move(array));
    }
    default:
        break;
    }
    if (variant.metaType() == QMetaType::fromType<QDBusVariant>()) {
        return toValue(variant.value<QDBusVariant>().variant(), depth + 1);
    }
    if (variant.metaType() == QMetaType::fromType<QDBusObjectPath>()) {
        return Value(variant.value<QDBusObjectPath>().path().toStdString());
    }
    if (variant.metaType() == QMetaType::fromType<QDBusSignature>()) {
        return Value(variant.value<QDBusSignature>().signature().toStdString());
    }
    if (variant.metaType() == QMetaType::fromType<QDBusArgument>()) {
        return fromArgument(variant.value<QDBusArgument>(), depth);
    }
    return std::nullopt;
}

} // namespace

NotificationObserver::NotificationObserver(Handler handler, QObject* parent)
    : QObject(parent)
    , m_handler(std::move(handler)) {}

bool NotificationObserver::observe(QDBusConnection connection) {
    if (!connection.isConnected()) {
        return false;
    }
    // A slot that takes the message itself receives the signal whatever its arguments are, so
    // that a malformed one is seen, and dropped, here.
    const bool subscribed =
        connection.connect(QString(), QString::fromLatin1(kPath), QString::fromLatin1(kInterface),
                           QString::fromLatin1(kMember), this, SLOT(receive(QDBusMessage)));
    qCInfo(lcNotify) << "listening on" << connection.name() << subscribed;
    return subscribed;
}

std::optional<Dictionary> NotificationObserver::userInformation(const QDBusMessage& message) {
    if (message.signature() != QLatin1String("a{sv}") || message.arguments().size() != 1) {
        return std::nullopt;
    }
    const QVariant argument = message.arguments().constFirst();
    if (argument.metaType() != QMetaType::fromType<QDBusArgument>()) {
        return std::nullopt;
    }
    return fromMap(argument.value<QDBusArgument>(), 0);
}

void NotificationObserver::receive(const QDBusMessage& message) {
    const std::optional<Dictionary> information = userInformation(message);
    if (!information) {
        qCDebug(lcNotify) << "dropped a notification of signature" << message.signature();
        return;
    }
    m_handler(*information);
}

} // namespace velmora
