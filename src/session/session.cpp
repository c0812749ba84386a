#include "session/session.h"

#include "feed/reception.h"
#include "session/states.h"

#include <cstdio>

namespace mpegfe {

namespace {

// Passes of sessionTick until the next update. Process-wide, as the session is.
std::int32_t tickCountdown = passesPerUpdate;

void startAgain(Run& run) {
    std::puts("New Stream Encountered");
    for (const wire::Topic& topic : wire::topics) {
        unsubscribeTopic(run.feed, topic);
    }
    run.session->state = stateSubscribe;
}

// Whether the call ends in this state, said on the console.
bool rests(std::int32_t state) {
    switch (state) {
    case stateInitFeed:
        std::puts("Exit MPEG Processing");
        return true;
    case stateStabilise:
        std::puts("Stabilize GUI/WEB MPEG Metadata");
        return true;
    case stateUpdate:
        std::puts("Update GUI/WEB MPEG Metadata");
        return true;
    default:
        return false;
    }
}

} // namespace

void sendMpegData(MpegSession* session, FeedContext* feed) {
    std::puts("sendMpegData Entered");
    Run run{session, feed, captured};
    for (;;) {
        if (runStep(run) == Next::anotherState) {
            continue;
        }
        if (run.captureStatus == newStream) {
            startAgain(run);
        } else if (rests(session->state)) {
            return;
        }
    }
}

void sessionTick(MpegSession* session, FeedContext* feed) {
    if (session->state == stateUpdate) {
        if (--tickCountdown == 0) {
            tickCountdown = passesPerUpdate;
            sendMpegData(session, feed);
        }
    } else if (session->state == stateStabilise) {
        sendMpegData(session, feed);
    }
}

} // namespace mpegfe
