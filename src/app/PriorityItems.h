#pragma once

class QComboBox;

namespace velmora {

// The facility and severity combo boxes of the filter and action editors. Item 0, "Any",
// stands for any facility or severity; the other items are the names the server writes in an
// event's priority text ("Local7" in "Local7.Debug"), which is what it matches a filter's
// stored text against.
void fillFacilityItems(QComboBox& combo);
void fillSeverityItems(QComboBox& combo);

} // namespace velmora
