#include "session/states.h"

#include "documents/sendDocument.h"
#include "feed/reception.h"
#include "feed/recordStore.h"
#include "model/pidTable.h"
#include "model/sdtSummary.h"
#include "model/topicNames.h"
#include "psiRequests.h"

#include <array>
#include <cstdio>

namespace mpegfe {

namespace {

bool hasAll(CaptureBits mask, CaptureBits wanted) {
    return (mask & wanted) == wanted;
}

CaptureStatus receiveOne(Run& run) {
    run.captureStatus = receiveMpegTopic(run.feed, &programCount);
    return run.captureStatus;
}

// Receives until all these have been captured. False when a new stream came instead.
bool captureAll(Run& run, CaptureBits wanted) {
    while (!hasAll(run.feed->receivedMask, wanted)) {
        if (receiveOne(run) == newStream) {
            return false;
        }
    }
    return true;
}

// An artificial SDT is as good as a captured one.
void collect(Run& run) {
    if (collectPids(programCount) != 0) {
        run.feed->receivedMask |= sdtCaptured;
    }
}

void requestTopics(FeedContext* feed, wire::TopicBits bits) {
    feed->requestedTopics = bits;
    feed->instructionWord = bits;
}

// Remembers the topic that the session waits for, where the next reception puts the one that came.
void expectTopic(FeedContext* feed, const wire::Topic& topic) {
    std::snprintf(feed->currentTopic, sizeof feed->currentTopic, "%s", topic.name);
}

Next initFeed(Run& run) {
    std::puts("Init MPEG Feed ZMQ channel");
    if (init_mpeg_zmq_sub_context(run.feed) == 0) {
        std::puts("Init MPEG Subscriber and Instruction Channels OK");
    }
    run.session->state = stateSubscribe;
    return Next::stepEnd;
}

// The PID list, the program list and the program details start alike; only the details need AVPGM at once.
Next subscribeForStream(Run& run) {
    FeedContext* feed = run.feed;
    subscribeTopics(feed, {wire::patTopic, wire::sdtTopic, wire::pmtTopic, wire::tsStatusTopic});
    wire::TopicBits wanted = wire::patBit | wire::sdtBit | wire::pmtBit | wire::tsStatusBit;
    if (run.session->requestCode == requestPgmDetail) {
        subscribeTopics(feed, {wire::avPgmTopic});
        wanted |= wire::avPgmBit;
    }
    requestTopics(feed, wanted);
    expectTopic(feed, wire::patTopic);
    run.captureStatus = captured;
    feed->receivedMask = 0;
    feed->changedTopics = 0;
    run.session->state = stateQuickWait;
    sendInstruction(feed);
    captureAll(run, patCaptured);
    return Next::stepEnd;
}

// Subscribes to the topic of the table on this PID. Returns its bit, or 0 for a PID without a table.
wire::TopicBits subscribePsiTable(FeedContext* feed, std::int32_t tablePid) {
    const PsiRequest* row = findPsiRequest(&PsiRequest::tablePid, tablePid);
    if (row == nullptr) {
        std::printf("Illegal PSI %d\n", tablePid);
        return 0;
    }
    subscribeTopics(feed, {row->topic});
    expectTopic(feed, row->topic);
    return row->topic.bit;
}

// The PAT counts as the PSI table too, so what is waited for is the PAT and TS-STATUS. A new stream does not
// end this wait: its own PAT will.
Next subscribeForPsi(Run& run) {
    FeedContext* feed = run.feed;
    feed->receivedMask = 0;
    feed->changedTopics = 0;
    const wire::TopicBits tableBit = subscribePsiTable(feed, run.session->requestParam);
    subscribeTopics(feed, {wire::patTopic, wire::tsStatusTopic});
    requestTopics(feed, tableBit | wire::patBit | wire::tsStatusBit);
    sendInstruction(feed);
    while (!hasAll(feed->receivedMask, patCaptured | psiCaptured | tsStatusCaptured)) {
        receiveOne(run);
    }
    run.session->state = stateQuickPsi;
    return Next::stepEnd;
}

Next subscribe(Run& run) {
    switch (run.session->requestCode) {
    case requestPidData:
    case requestPgmData:
    case requestPgmDetail:
        return subscribeForStream(run);
    default:
        return subscribeForPsi(run);
    }
}

Next quickWait(Run& run) {
    MpegSession* session = run.session;
    std::printf("Quick send MPEG data, cmd %d count %d\n", session->requestCode, programCount);
    do {
        const CaptureStatus status = receiveOne(run);
        std::printf("Quick Wait to Capture Loop, capt status %d\n", status);
        if (status == newStream) {
            return Next::stepEnd;
        }
    } while (!hasAll(run.feed->receivedMask, patCaptured | pmtCaptured | tsStatusCaptured));
    switch (session->requestCode) {
    case requestPidData:
        session->state = stateQuickPidList;
        return Next::anotherState;
    case requestPgmData:
        session->state = stateQuickProgramList;
        return Next::anotherState;
    case requestPgmDetail:
        session->state = stateQuickProgramDetail;
        return Next::anotherState;
    default:
        std::printf("Illegal Request in SMach %d\n", session->requestCode);
        return Next::stepEnd;
    }
}

// Subscribes to the topics of the passes behind the first document, if the SDT and the PAT have been
// captured. What is subscribed already counts twice then, and takes two unsubscriptions.
void widenSubscription(FeedContext* feed, std::initializer_list<wire::Topic> topics) {
    if (hasAll(feed->receivedMask, patCaptured | sdtCaptured)) {
        subscribeTopics(feed, topics);
        feed->receivedMask |= furtherTopicsSubscribed;
    }
}

Next quickPidList(Run& run) {
    FeedContext* feed = run.feed;
    std::printf("Quick capture PID data, count %d\n", programCount);
    collect(run);
    sendJsonToGUI(run.session);
    std::puts("PIDs sent to Client");
    requestTopics(feed, wire::allTopicBits);
    feed->changedTopics = wire::allTopicBits;
    feed->previousChanged = 0;
    std::printf("Send Instruction %x\n", feed->instructionWord);
    sendInstruction(feed);
    std::printf("Sent Instruction %x\n", feed->instructionWord);
    widenSubscription(feed, {wire::pmtTopic, wire::tsStatusTopic, wire::avPgmTopic, wire::catTopic,
                             wire::nitTopic, wire::eitTopic, wire::tdtTopic});
    // Printed whether or not both have been captured: operators know the line as the end of the PID list.
    std::puts("Error: one or both SDT and PAT not captured yet");
    run.session->state = stateStabilise;
    return Next::stepEnd;
}

Next quickProgramList(Run& run) {
    FeedContext* feed = run.feed;
    std::printf("Quick capture real SDT, retain %d pmtcnt %d\n", newestRecords.sdt.actual, programCount);
    collect(run);
    if (newestRecords.sdt.actual == 1) {
        feed->receivedMask |= sdtCaptured;
    } else if (!captureAll(run, sdtCaptured)) {
        return Next::stepEnd;
    }
    printSdtSummary();
    sendJsonToGUI(run.session);
    requestTopics(feed, wire::patBit | wire::pmtBit | wire::tsStatusBit | wire::sdtBit | wire::avPgmBit);
    widenSubscription(feed, {wire::pmtTopic, wire::tsStatusTopic, wire::avPgmTopic});
    sendInstruction(feed);
    run.session->state = stateStabilise;
    return Next::stepEnd;
}

Next quickProgramDetail(Run& run) {
    std::puts("Quick capture detail data");
    sendJsonToGUI(run.session);
    run.session->state = stateInitFeed;
    return Next::stepEnd;
}

void restInUpdate(MpegSession* session) {
    session->updateCountdown = passesPerUpdate;
    session->state = stateUpdate;
}

Next quickPsi(Run& run) {
    std::printf("Quick capture PSI data req %d parm %d\n", run.session->requestCode,
                run.session->requestParam);
    sendJsonToGUI(run.session);
    std::puts("PSI Sent to Client");
    restInUpdate(run.session);
    return Next::stepEnd;
}

// What did not change between two passes is of no further use to the client. The PAT always is.
void unsubscribeUnchanged(FeedContext* feed) {
    for (const wire::Topic& topic : wire::topics) {
        if (topic.bit != wire::patBit && (feed->changedTopics & topic.bit) == 0) {
            unsubscribeTopic(feed, topic);
        }
    }
}

Next stabilise(Run& run) {
    FeedContext* feed = run.feed;
    std::printf("Stabilize data\nSend Topic Instruction %x\n", feed->instructionWord);
    do {
        receiveOne(run);
        std::printf("MLC Stabilize capt %d count %d\n", run.captureStatus, programCount);
    } while (run.captureStatus == brokenMessage);
    if (run.captureStatus == newStream) {
        return Next::stepEnd;
    }
    collect(run);
    printSdtSummary();
    std::printf("Topics Chged %x: ", feed->changedTopics);
    printTopicNames(feed->changedTopics);
    if (feed->previousChanged != feed->changedTopics) {
        feed->previousChanged = feed->changedTopics;
        return Next::stepEnd;
    }
    std::puts((feed->changedTopics & wire::patBit) != 0 ? "Stable but PAT/PIDs Changing"
                                                        : "Stable and PAT/PIDs Not Changing");
    std::puts("Send Stablized Data to Client");
    sendJsonToGUI(run.session);
    unsubscribeUnchanged(feed);
    requestTopics(feed, feed->changedTopics | wire::patBit);
    feed->receivedMask |= streamStable;
    restInUpdate(run.session);
    return Next::stepEnd;
}

// The topics that this request's document is made from, besides those that every update needs.
wire::TopicBits ownTopics(std::int32_t requestCode) {
    switch (requestCode) {
    case requestPidData:
        return wire::pmtBit | wire::avPgmBit;
    case requestPgmData:
        return wire::pmtBit | wire::sdtBit;
    default:
        const PsiRequest* table = findPsiRequest(&PsiRequest::code, requestCode);
        return table != nullptr ? table->topic.bit : wire::TopicBits{0};
    }
}

// The topics that keep this request's document current. AVPGM is not asked for while it does not change.
wire::TopicBits topicsToUpdate(std::int32_t requestCode, wire::TopicBits changedTopics) {
    const wire::TopicBits bits = wire::patBit | wire::tsStatusBit | ownTopics(requestCode);
    const wire::TopicBits unchanged = wire::avPgmBit & ~changedTopics;
    return static_cast<wire::TopicBits>(bits & ~unchanged);
}

Next update(Run& run) {
    MpegSession* session = run.session;
    FeedContext* feed = run.feed;
    std::printf("Update: Chged MPEG Topics %x: ", feed->changedTopics);
    printTopicNames(feed->changedTopics);
    feed->instructionWord = topicsToUpdate(session->requestCode, feed->changedTopics);
    std::printf("Update: Parser Instructions %x: ", feed->instructionWord);
    printTopicNames(feed->instructionWord);
    sendInstruction(feed);
    if (--session->updateCountdown != 0) {
        return Next::stepEnd;
    }
    session->updateCountdown = passesPerUpdate;
    feed->receivedMask = 0;
    while (!hasAll(feed->receivedMask, patCaptured)) {
        switch (receiveOne(run)) {
        case brokenMessage:
            return Next::anotherState;
        case newStream:
            return Next::stepEnd;
        default:
            break;
        }
    }
    collect(run);
    if (session->requestCode == requestPgmData) {
        printSdtSummary();
    }
    sendJsonToGUI(session);
    return Next::stepEnd;
}

// With no feed open there is nobody to tell and nothing to close, but the client's "off" is still served.
Next stop(Run& run) {
    FeedContext* feed = run.feed;
    std::puts("Send MPEG Stop reply ACK to Client");
    feed->instructionWord = wire::patBit;
    std::printf("Send Stop Topics Instructions to Parser %x\n", feed->instructionWord);
    if (feedIsOpen(feed)) {
        sendInstruction(feed);
        mpeg_cleanup_zmq_sub_context(feed);
    }
    run.session->state = stateInitFeed;
    std::puts("Stop MPEG, Wait for new Command");
    return Next::stepEnd;
}

// The step of each state, by its number.
constexpr std::array<Next (*)(Run&), stateStop + 1> steps{
    nullptr,  initFeed,  subscribe, quickWait, quickPidList, quickProgramList, quickProgramDetail,
    quickPsi, stabilise, update,    stop};

} // namespace

Next runStep(Run& run) {
    MpegSession* session = run.session;
    if (session->state < stateInitFeed || session->state > stateStop) {
        std::printf("Illegal Client MPEG State %d\n", session->state);
        session->state = stateInitFeed;
        return Next::stepEnd;
    }
    return steps[static_cast<std::size_t>(session->state)](run);
}

} // namespace mpegfe
