#pragma once

#include <QComboBox>
#include <QLineEdit>
#include <QTest>
#include <QWidget>

#include "core/archive/Value.h"

namespace velmora::test {

// A control of a page or sheet, found by its objectName. A form without it is broken: the test
// program stops at once, naming the control.
template <typename Control>
Control& control(const QObject& root, const char* name) {
    auto* found = root.findChild<Control*>(QLatin1String(name));
    if (found == nullptr) {
        qFatal("no control %s", name);
    }
    return *found;
}

// The user picks an item of a combo box.
inline void choose(QComboBox& combo, const QString& item) {
    const int index = combo.findText(item);
    QVERIFY2(index >= 0, qPrintable(item));
    combo.setCurrentIndex(index);
    emit combo.activated(index);
}

// The user replaces a field's text by typing.
inline void retype(QLineEdit& field, const QString& text) {
    field.selectAll();
    QTest::keyClick(&field, Qt::Key_Backspace);
    QTest::keyClicks(&field, text);
}

// Settings of the other pages and of the server, in every kind a settings file can hold, for
// checking that a page writes back what it does not own exactly as it read it.
inline Dictionary settingsOfOtherPages() {
    Dictionary filter{{"Name", "keep"},    {"IP", "10.0.0.0"},  {"Mask", "8"},
                      {"Facility", "Any"}, {"Severity", "Any"}, {"Message", "*"}};
    Dictionary action = filter;
    action.set("runCommand", Dictionary{{"Command", "/usr/bin/true"}});
    return Dictionary{
        {"hostsDisplay", true},
        {"dateFormat", "dd.MM.yyyy HH:mm"},
        {"severityError", 2},
        {"removalError", 3},
        {"removalErrorUnits", 4},
        {"popupEvents", 7},
        {"popupSound", "/sounds/bell.oga"},
        {"popupDisplayArray", Array{"Error", 5}},
        {"popupPlayArray", Array{"Debug"}},
        {"includeFiltersArray", Array{filter, "not a record"}},
        {"excludeFiltersArray", Array{}},
        {"actionsArray", Array{action}},
        {"actionsEmailServer", "mail.example.org"},
        {"actionsEmailPort", 0},
        {"actionsEmailPassword", "s3cret"},
        {"actionsFormatBody", "Date:$date\r\n"},
        {"textInterval", 15},
        {"textLocation", "/srv/export.csv"},
        {"databaseInterval", 30},
        {"databaseLocation", "/srv/export.db"},
        {"serverOnlyReal", 2.5},
        {"serverOnlyData", Data{{0x00, 0xff, 0x10}}},
        {"serverOnlyDate", Date{7.25e8}},
        {"serverOnlyNested", Dictionary{{"list", Array{Array{1, true}}}}},
    };
}

} // namespace velmora::test
