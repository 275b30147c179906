#pragma once

#include <QObject>
#include <QString>

namespace velmora {

// Plays the popup sound: each play starts the file anew and returns at once; several sounds may
// overlap. A file that cannot be played gives no sound and no message. Runs on the main thread.
//
// Accepts what the media backend decodes; the console asks for the backend that decodes AIFF,
// WAV, Ogg (.ogg, .oga) and FLAC by itself, without further system packages.
class PopupSound : public QObject {
    Q_OBJECT

public:
    explicit PopupSound(QObject* parent = nullptr);

    // Call before the first sound (before the application object, as it reads the environment):
    // chooses the self-contained media backend unless QT_MEDIA_BACKEND says otherwise.
    static void preferSelfContainedBackend();

    void play(const QString& path);
    // Sounds loading or playing now.
    int playing() const;

signals:
    // The file decoded and started; or it could not be played.
    void started(const QString& path);
    void failed(const QString& path);
};

} // namespace velmora
