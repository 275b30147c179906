#include "app/FileDialogs.h"

#include <QFileDialog>

namespace velmora {

namespace {

QString nameFilter(const FileType& type) {
    QStringList patterns;
    for (const QString& extension : type.extensions) {
        patterns << QStringLiteral("*.") + extension;
    }
    return QStringLiteral("%1 (%2)").arg(type.description, patterns.join(QLatin1Char(' ')));
}

std::optional<QString> choose(QWidget* parent, const QString& message, const QList<FileType>& types,
                              const QString& startDirectory, QFileDialog::AcceptMode mode) {
    QFileDialog dialog(parent, message, startDirectory);
    dialog.setObjectName(QStringLiteral("fileChooser"));
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptSave ? QFileDialog::AnyFile
                                                       : QFileDialog::ExistingFile);
    QStringList filters;
    for (const FileType& type : types) {
        filters << nameFilter(type);
    }
    dialog.setNameFilters(filters);
    if (!types.isEmpty() && !types.front().extensions.isEmpty()) {
        dialog.setDefaultSuffix(types.front().extensions.front());
    }
    // A name typed without an extension takes the one of the type shown.
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&](const QString& filter) {
        const qsizetype index = filters.indexOf(filter);
        if (index >= 0 && !types[index].extensions.isEmpty()) {
            dialog.setDefaultSuffix(types[index].extensions.front());
        }
    });
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return std::nullopt;
    }
    return dialog.selectedFiles().front();
}

} // namespace

std::optional<QString> chooseFileToSave(QWidget* parent, const QString& message,
                                        const QList<FileType>& types,
                                        const QString& startDirectory) {
    return choose(parent, message, types, startDirectory, QFileDialog::AcceptSave);
}

std::optional<QString> chooseFileToOpen(QWidget* parent, const QString& message,
                                        const QList<FileType>& types,
                                        const QString& startDirectory) {
    return choose(parent, message, types, startDirectory, QFileDialog::AcceptOpen);
}

} // namespace velmora
