// Any bytes as the nine records: through the reception, the collection, the summary and every document, whose
// texts must be terminated inside the buffer at the returned length, and equal to those of the reference.
//
// Input: for each of at most two rounds u8 messages, i32 programs (0: as the PAT record says), three u8
// program indexes, u16 PID of a PSI table; the published parts (publishedParts.h) of each round follow it.
#include "check.h"
#include "comparison.h"
#include "feed/reception.h"
#include "fuzzInput.h"
#include "publishedParts.h"
#include "serviceNames.h"
#include "target.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

constexpr int mostRounds = 2;

reference::Questions takeQuestions(FuzzInput& input) {
    reference::Questions questions{input.i32(), {}, 0};
    std::ranges::generate(questions.programIndexes, [&] { return input.u8() % maxPmtSlots; });
    questions.psiPid = input.u16();
    return questions;
}

void runRound(FuzzInput& input, FeedContext& feed, reference::StreamModel& model) {
    const unsigned messages = input.u8() % 32;
    reference::Questions questions = takeQuestions(input);
    try {
        for (unsigned message = 0; message < messages; ++message) {
            receiveMpegTopic(&feed, &programCount);
        }
    } catch (const scriptedZmq::PeersAreSilent&) {
    }
    if (questions.programCount == 0) {
        questions.programCount = programCount;
    }
    copyRecords(model);
    const std::string difference = reference::firstDifference(model, questions);
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
    }
    check(difference.empty(), "service and reference agree");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    PublishedParts parts(input);
    beginRun({.publishPart = [&] { return parts.next(); }, .takeDocument = {}});
    FeedContext feed{};
    init_mpeg_zmq_sub_context(&feed);
    reference::StreamModel model;
    for (int round = 0; round < mostRounds && !input.empty(); ++round) {
        runRound(input, feed, model);
    }
    mpeg_cleanup_zmq_sub_context(&feed);
    return 0;
}
