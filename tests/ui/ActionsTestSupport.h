#pragma once

#include <string>

#include <QDialog>
#include <QObject>
#include <QWidget>

#include "core/archive/Value.h"

namespace velmora::test {

// The sheet of type Sheet that is open over `parent`. Closed sheets are deleted later, so a
// closed one may still be a child for a moment.
template <typename Sheet = QDialog>
Sheet* openSheet(const QObject& parent, const char* className = nullptr) {
    const QList<Sheet*> sheets = parent.findChildren<Sheet*>();
    for (auto it = sheets.rbegin(); it != sheets.rend(); ++it) {
        if ((*it)->isVisible() &&
            (className == nullptr || qstrcmp((*it)->metaObject()->className(), className) == 0)) {
            return *it;
        }
    }
    return nullptr;
}

// An action as the action editor stores it, with the given commands.
inline Dictionary actionRecord(const std::string& name, Dictionary runCommand = {},
                               Dictionary sendEmail = {}, Dictionary setEvent = {}) {
    return {{"Name", name},
            {"IP", "10.0.0.0"},
            {"Message", "sshd"},
            {"Mask", "8"},
            {"Facility", "Auth"},
            {"Severity", "Error"},
            {"runCommand", runCommand},
            {"sendEmail", sendEmail},
            {"setEvent", setEvent}};
}

} // namespace velmora::test
