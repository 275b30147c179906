#pragma once

#include "core/Result.h"
#include "server/ServerOptions.h"

namespace velmora::server {

// A socket bound to the address (and listening, for TCP), non-blocking and closed on exec. An
// IPv6 wildcard address ("::") receives IPv4 too; where the machine has no IPv6 it becomes
// the IPv4 wildcard. UDP sockets ask for a large receive buffer, so that a burst waits in the
// kernel rather than being lost while the thread is busy.
Result<int> openListenSocket(const ListenAddress& address);

} // namespace velmora::server
