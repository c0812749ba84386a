// One request of the command line and what answers it.
#pragma once

#include "commandLine.h"
#include "endpoints.h"

#include "exchange/exchange.h"

namespace manager {

// Sends the request and waits until it has been acknowledged and has brought its documents; the listener
// needs nothing for a refusal. Throws ManagerError when a message does not come in time (noAnswer,
// noDocument), when the reply is no acknowledgement (refused) or when a signal arrives (interrupted).
void runRequest(Endpoints& endpoints, const Options& options, Listener listener);

} // namespace manager
