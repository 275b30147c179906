#pragma once

#include <functional>
#include <optional>

#include <QObject>

#include "core/archive/Value.h"

class QDBusConnection;
class QDBusMessage;

namespace velmora {

// Receives the server's notification "Velmora": the D-Bus signal of member Velmora on the
// interface com.kestrix.Velmora at the path /com/kestrix/Velmora, from any sender, with one
// argument of type a{sv}, the notification's user information. Signals are delivered on the
// main thread; each one's user information goes to the handler as a dictionary. A signal of
// another form is dropped.
class NotificationObserver : public QObject {
    Q_OBJECT

public:
    static constexpr const char* kPath = "/com/kestrix/Velmora";
    static constexpr const char* kInterface = "com.kestrix.Velmora";
    static constexpr const char* kMember = "Velmora";

    using Handler = std::function<void(const Dictionary& userInformation)>;

    explicit NotificationObserver(Handler handler, QObject* parent = nullptr);

    // Subscribes on a bus; false when the bus is not connected or refused the subscription.
    bool observe(QDBusConnection connection);

    // A message's one a{sv} argument as a dictionary. Texts, numbers, booleans, byte arrays,
    // lists, dictionaries and structures are kept as the nearest kind of value (a structure as a
    // list of its fields); values of other kinds, such as file descriptors, are left out. A
    // key sent twice keeps its last value. nullopt for a message with other arguments.
    static std::optional<Dictionary> userInformation(const QDBusMessage& message);

private slots:
    void receive(const QDBusMessage& message);

private:
    Handler m_handler;
};

} // namespace velmora
