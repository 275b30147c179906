#pragma once

#include <QLoggingCategory>

namespace velmora {

// Diagnostics of the console, off below warnings unless switched on, for example with
// QT_LOGGING_RULES="velmora.*.debug=true".
Q_DECLARE_LOGGING_CATEGORY(lcApp)
Q_DECLARE_LOGGING_CATEGORY(lcScan)
Q_DECLARE_LOGGING_CATEGORY(lcPopup)
Q_DECLARE_LOGGING_CATEGORY(lcNotify)
Q_DECLARE_LOGGING_CATEGORY(lcReports)
Q_DECLARE_LOGGING_CATEGORY(lcStats)

} // namespace velmora
