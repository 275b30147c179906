#include "app/Logging.h"

namespace velmora {

Q_LOGGING_CATEGORY(lcApp, "velmora.app", QtWarningMsg)
Q_LOGGING_CATEGORY(lcScan, "velmora.scan", QtWarningMsg)
Q_LOGGING_CATEGORY(lcPopup, "velmora.popup", QtWarningMsg)
Q_LOGGING_CATEGORY(lcNotify, "velmora.notify", QtWarningMsg)
Q_LOGGING_CATEGORY(lcReports, "velmora.reports", QtWarningMsg)
Q_LOGGING_CATEGORY(lcStats, "velmora.stats", QtWarningMsg)

} // namespace velmora
