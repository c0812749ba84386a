// The state machine that runs one client request against the parser.
#pragma once

#include "feed/feedChannels.h"
#include "mpegSession.h"

namespace mpegfe {

// Runs the session from its state. From stateInitFeed: opens the feed, subscribes and instructs the parser,
// waits for records without a time limit, sends the document, and for a list instructs the parser to publish
// more. From stateStop: has the parser publish only the PAT, and closes the feed. Returns once the session
// rests in stateInitFeed (idle), stateStabilise or stateUpdate. A state outside 1 to 10 is reported and ends
// in stateInitFeed. A new stream starts the request again from stateSubscribe within the same call, except
// during the first wait of a PSI request, which goes on.
void sendMpegData(MpegSession* session, FeedContext* feed);

// Advances a session that rests: each call in stateStabilise, every second call in stateUpdate. The main loop
// does not call it, so a session advances only with a client's request.
void sessionTick(MpegSession* session, FeedContext* feed);

} // namespace mpegfe
