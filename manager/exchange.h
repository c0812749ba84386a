// One request and what answers it.
#pragma once

#include "commandLine.h"
#include "endpoints.h"

#include <functional>
#include <string_view>

namespace manager {

// What the exchange tells while it runs. A document counts when it comes after the acknowledgement and
// belongs to the data stream asked for; others answer an earlier request, whose manager has gone.
struct Listener {
    std::function<void(std::string_view reply)> acknowledged;
    std::function<void(std::string_view document)> answered;
    std::function<void(std::string_view document)> strayed;
    std::function<void()> shared; // the first time that a second service is connected
};

// Sends the request and waits until it has been acknowledged and has brought its documents; acknowledges
// every document that arrives. Throws ManagerError when a message does not come in time (noAnswer,
// noDocument), when the reply is no acknowledgement (refused) or when a signal arrives (interrupted).
void runExchange(Endpoints& endpoints, const Options& options, const Listener& listener);

} // namespace manager
