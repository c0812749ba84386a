// Client requests: which handler, session state and request code a request selects.
#pragma once

#include "feed/feedChannels.h"
#include "mpegSession.h"

#include <jansson.h>

namespace mpegfe {

// Runs the session for one parsed request, an object with "dataStream" and "status" or "patIndex"; null is a
// request that could not be parsed. A request that is not recognised, whose "status" is neither "on" nor
// "off", or that lacks the "patIndex" it needs is refused with console lines and starts nothing. Returns 0
// when the session ran, 1 when the request was refused.
int dispatchClientRequest(json_t* request, MpegSession* session, FeedContext* feed);

} // namespace mpegfe
