#pragma once

#include <optional>

#include <QString>
#include <QStringList>

class QWidget;

namespace velmora {

// A file type a chooser offers: its description and its extensions without the dot
// ({"Text", {"txt"}}). The first extension is the one added to a name typed without one.
struct FileType {
    QString description;
    QStringList extensions;
};

// The save and open panels of the pages. The message, which tells the user what to choose,
// is the panel's title. Both return the chosen path, or nothing when the user cancels.
std::optional<QString> chooseFileToSave(QWidget* parent, const QString& message,
                                        const QList<FileType>& types,
                                        const QString& startDirectory = {});
std::optional<QString> chooseFileToOpen(QWidget* parent, const QString& message,
                                        const QList<FileType>& types,
                                        const QString& startDirectory = {});

} // namespace velmora
