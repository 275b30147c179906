#include "app/Alert.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

namespace velmora {

namespace {

void describe(QMessageBox& box, const QString& message, const QString& informativeText) {
    box.setWindowTitle(QStringLiteral("Velmora"));
    box.setIcon(QMessageBox::Information);
    box.setText(message);
    box.setInformativeText(informativeText);
}

} // namespace

bool showAlert(QWidget* parent, const QString& message, const QString& informativeText,
               const QString& suppressionTitle) {
    QMessageBox box(parent);
    describe(box, message, informativeText);
    box.setStandardButtons(QMessageBox::Ok);
    if (!suppressionTitle.isEmpty()) {
        box.setCheckBox(new QCheckBox(suppressionTitle, &box));
    }
    box.exec();
    return box.checkBox() != nullptr && box.checkBox()->isChecked();
}

bool askYesNo(QWidget* parent, const QString& message, const QString& informativeText) {
    QMessageBox box(parent);
    describe(box, message, informativeText);
    QPushButton* yes = box.addButton(QObject::tr("Yes"), QMessageBox::YesRole);
    QPushButton* no = box.addButton(QObject::tr("No"), QMessageBox::NoRole);
    box.setDefaultButton(yes);
    box.setEscapeButton(no);
    box.exec();
    return box.clickedButton() == yes;
}

} // namespace velmora
