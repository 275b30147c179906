#include "popup/PopupSound.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <utility>

#include <QAudioOutput>
#include <QFileInfo>
#include <QMediaPlayer>
#include <QTimer>
#include <QUrl>

#include "app/Logging.h"

namespace velmora {

namespace {

// A player that never reports its end (no audio device, a stalled stream) is let go after its
// sound's length and this much more, or after the second figure while its length is unknown.
constexpr int kEndSlackMs = 5'000;
constexpr int kUnknownLengthMs = 30'000;

} // namespace

PopupSound::PopupSound(QObject* parent)
    : QObject(parent) {}

int PopupSound::playing() const {
    return static_cast<int>(findChildren<QMediaPlayer*>(Qt::FindDirectChildrenOnly).size());
}

void PopupSound::play(const QString& path) {
    if (const QFileInfo file(path); !file.isFile() || file.size() == 0) {
        qCDebug(lcPopup) << "no sound file" << path;
        emit failed(path);
        return;
    }
    auto* player = new QMediaPlayer(this);
    player->setAudioOutput(new QAudioOutput(player));
    auto* deadline = new QTimer(player);
    deadline->setSingleShot(true);
    connect(deadline, &QTimer::timeout, player, &QObject::deleteLater);
    deadline->start(kUnknownLengthMs);

    connect(player, &QMediaPlayer::durationChanged, deadline, [deadline](qint64 duration) {
        if (duration > 0) {
            deadline->start(static_cast<int>(std::min<qint64>(duration, INT_MAX - kEndSlackMs)) +
                            kEndSlackMs);
        }
    });
    // Each sound reports once: started when it decoded, failed when it could not be played.
    auto reported = std::make_shared<bool>(false);
    const auto report = [this, path, reported](bool played) {
        if (!std::exchange(*reported, true)) {
            if (played) {
                emit started(path);
            } else {
                emit failed(path);
            }
        }
    };
    connect(player, &QMediaPlayer::errorOccurred, this,
            [player, path, report](QMediaPlayer::Error, const QString& reason) {
                qCDebug(lcPopup) << "sound" << path << "cannot be played:" << reason;
                report(false);
                player->deleteLater();
            });
    connect(player, &QMediaPlayer::mediaStatusChanged, this,
            [player, report](QMediaPlayer::MediaStatus status) {
                switch (status) {
                case QMediaPlayer::LoadedMedia:
                case QMediaPlayer::BufferedMedia:
                    report(true);
                    break;
                case QMediaPlayer::InvalidMedia:
                    report(false);
                    player->deleteLater();
                    break;
                case QMediaPlayer::EndOfMedia:
                    player->deleteLater();
                    break;
                default:
                    break;
                }
            });
    player->setSource(QUrl::fromLocalFile(path));
    player->play();
}

} // namespace velmora
