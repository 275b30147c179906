#pragma once

#include <memory>
#include <vector>

#include "core/syslog/LogEvent.h"

namespace velmora::server {

// Events already in the log files, shared by everything that acts on them afterwards.
using EventBatch = std::shared_ptr<const std::vector<LogEvent>>;

// What happens to each event once it is written: the notification, the forwarding to a
// collector, and, later, the per-event actions. A sink takes a batch at once and does its work
// on a thread of its own, so that it never holds back the log files.
class EventSink {
public:
    virtual ~EventSink() = default;
    virtual void accept(const EventBatch& batch) = 0;
};

} // namespace velmora::server
