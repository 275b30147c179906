#pragma once

#include <string>

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace velmora {

// The console's name on the session bus, which makes it one console per user and data
// directory. The first console on a data directory owns the name; one started later on the same
// directory finds it taken, asks the owner to bring its window forward, and ends.
//
// The name is "com.kestrix.Velmora.Console.d" followed by the first 16 hexadecimal digits of the
// SHA-256 of the data directory's absolute path, with symbolic links resolved as far as the path
// exists (so "/srv/velmora/", "/srv/./velmora" and a link to it are one directory, also before
// it exists). The owner answers at /com/kestrix/Velmora/Console, interface
// com.kestrix.Velmora.Console: the method Activate(a{sv}) and the property DataDirectory.
class ConsoleService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.kestrix.Velmora.Console")
    Q_PROPERTY(QString DataDirectory READ dataDirectory)

public:
    static constexpr const char* kPath = "/com/kestrix/Velmora/Console";
    static constexpr const char* kInterface = "com.kestrix.Velmora.Console";

    static QString busName(const std::string& dataDirectory);

    enum class Claim {
        Owned,   // this console is the one on the data directory
        Taken,   // another console owns the name
        Unknown, // no session bus: nothing tells whether another console runs
    };

    explicit ConsoleService(const std::string& dataDirectory, QObject* parent = nullptr);
    ~ConsoleService() override;

    Claim claim();
    // Asks the owner of the name to show its window; false when it does not answer.
    bool activateOwner() const;

    QString dataDirectory() const { return m_dataDirectory; }

public slots:
    // The D-Bus method: the window comes forward. `platformData` is not read.
    Q_SCRIPTABLE void Activate(const QVariantMap& platformData);

signals:
    void activated();

private:
    QString m_dataDirectory;
    QString m_busName;
    bool m_owned = false;
};

} // namespace velmora
