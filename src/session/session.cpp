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

// The console line of a state in which a call ends; null for any other.
const char* restingLine(std::int32_t state) {
    switch (state) {
    case stateInitFeed:
        return "Exit MPEG Processing";
    case stateStabilise:
        return "Stabilize GUI/WEB MPEG Metadata";
    case stateUpdate:
        return "Update GUI/WEB MPEG Metadata";
    default:
        return nullptr;
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
        } else if (const char* line = restingLine(session->state); line != nullptr) {
            std::puts(line);
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
