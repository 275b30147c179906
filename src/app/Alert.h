#pragma once

#include <QString>

class QWidget;

namespace velmora {

// The console tells the user of a failure, or asks a question, only through modal
// informational alerts titled "Velmora": a message line and an explanatory line.

// An alert with one button. With a suppression title it also shows a check box of that title
// (the way to ask for "all events"); returns whether the box was checked when it closed.
bool showAlert(QWidget* parent, const QString& message, const QString& informativeText,
               const QString& suppressionTitle = {});

// A question with the buttons "Yes" (the first, and the only one that proceeds) and "No".
// Returns true for "Yes"; "No" and closing the alert are false.
bool askYesNo(QWidget* parent, const QString& message, const QString& informativeText);

} // namespace velmora
