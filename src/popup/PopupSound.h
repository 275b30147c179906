#pragma once

#include <QObject>
#include <QString>

namespace velmora {

// Plays the popup sound: each play starts the file anew and returns at once; several sounds may
// overlap. A file that cannot be played gives no sound and no message. Runs on the main thread.
//
// Accepts what the media framework decodes: with the packages scripts/setup-deps.sh installs,
// AIFF, WAV, Ogg (.ogg, .oga) and FLAC.
class PopupSound : public QObject {
    Q_OBJECT

public:
    explicit PopupSound(QObject* parent = nullptr);

    void play(const QString& path);
    // Sounds loading or playing now.
    int playing() const;

signals:
    // The file decoded and started; or it could not be played.
    void started(const QString& path);
    void failed(const QString& path);
};

} // namespace velmora
