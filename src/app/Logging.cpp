#include "app/Logging.h"

namespace velmora {

Q_LOGGING_CATEGORY(lcApp, "velmora.app", QtWarningMsg)
Q_LOGGING_CATEGORY(lcScan, "velmora.scan", QtWarningMsg)

} // namespace velmora
