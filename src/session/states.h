// The states of a session, one step each.
#pragma once

#include "feed/feedChannels.h"
#include "feed/reception.h"
#include "mpegSession.h"

#include <cstdint>

namespace mpegfe {

// Update passes and ticks that go by between two documents.
inline constexpr std::int32_t passesPerUpdate = 2;

// One call of sendMpegData.
struct Run {
    MpegSession* session;
    FeedContext* feed;
    CaptureStatus captureStatus; // of the last reception
};

// Where the machine goes after a state's step.
enum class Next {
    stepEnd,      // a new stream is handled; a resting state ends the call
    anotherState, // straight on to the session's state
};

// Runs the step of the session's state, which sets the state to go on with. A state outside 1 to 10 is
// reported and becomes stateInitFeed.
Next runStep(Run& run);

} // namespace mpegfe
