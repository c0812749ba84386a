// Sessions in every state, and in states that there are not, with any records and statuses.
//
// Input: u16 length of the parser's replies, i32 program count, then any number of steps. A step is a u8: its
// lowest bit says whether the session is run or ticked, the next whether it is set anew before (takeSession).
// What the session asks its peers for (sessionPeers.h) stands behind the step.
#include "check.h"
#include "fuzzInput.h"
#include "serviceNames.h"
#include "session/session.h"
#include "sessionPeers.h"
#include "target.h"

#include <array>

namespace {

// A small number, or any.
std::int32_t takeNumber(FuzzInput& input, std::uint8_t small) {
    const std::uint8_t number = input.u8();
    return number < small ? number : input.i32();
}

void takeSession(FuzzInput& input, MpegSession& session, FeedContext& feed) {
    session.state = takeNumber(input, 13);
    session.requestCode = takeNumber(input, 13);
    session.requestParam = takeNumber(input, 64);
    session.updateCountdown = input.u8(); // only ever counts down from 2, and starts at 0
    feed.receivedMask = input.u8();
    feed.requestedTopics = input.u16();
    feed.changedTopics = input.u16();
    feed.previousChanged = input.u16();
    feed.instructionWord = input.u16();
}

// No client and no tick brings a session into these states without its feed.
bool needsFeed(std::int32_t state) {
    return state >= stateSubscribe && state <= stateUpdate;
}

// A tick is every second one's turn while the session is in stateUpdate, by a count of the process's own.
// This many have been made: an even number at the start of a run makes runs repeatable.
unsigned updateTicks = 0;

void tick(MpegSession& session, FeedContext& feed) {
    updateTicks += session.state == stateUpdate ? 1 : 0;
    sessionTick(&session, &feed);
}

void evenTicks() {
    if (updateTicks % 2 == 1) {
        MpegSession session{stateUpdate, 0, 0, nullptr, 2};
        FeedContext feed{};
        init_mpeg_zmq_sub_context(&feed);
        tick(session, feed);
        mpeg_cleanup_zmq_sub_context(&feed);
    }
}

void takeStep(FuzzInput& input, MpegSession& session, FeedContext& feed) {
    const unsigned step = input.u8();
    if ((step & 2) != 0) {
        takeSession(input, session, feed);
    }
    if (needsFeed(session.state) && !feedIsOpen(&feed)) {
        init_mpeg_zmq_sub_context(&feed);
    }
    if ((step & 1) != 0) {
        tick(session, feed);
        return;
    }
    sendMpegData(&session, &feed);
    check(session.state == stateInitFeed || session.state == stateStabilise || session.state == stateUpdate,
          "a session rests in one of three states");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    beginRun({});
    evenTicks();
    FuzzInput input(data, size);
    PublishedParts parts(input);
    beginRun(sessionPeers(input, parts, input.u16()));
    programCount = input.i32();
    FeedContext feed{};
    MpegSession session{};
    session.docSocket = scriptedZmq::documentSocket();
    try {
        while (!input.empty()) {
            takeStep(input, session, feed);
        }
    } catch (const scriptedZmq::PeersAreSilent&) {
    }
    return 0;
}
