// Any bytes as Trufios's replies, after any number of empty tries, through both waits.
//
// Input: any number of u8 wait (an index of waits), u16 empty tries, u8 how much longer the reply was sent, a
// text.
#include "check.h"
#include "fuzzInput.h"
#include "serviceNames.h"
#include "target.h"
#include "trufios/trufiosReplies.h"

#include <array>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t mostTries = 501;
constexpr char unanswered[] = "nothing was copied";

ReplyResult waitForText(void* socket) {
    ReplyText out;
    std::memset(out, 0x7F, sizeof out);
    std::memcpy(out, unanswered, sizeof unanswered);
    const ReplyResult result = waitReplyText(socket, out);
    check(std::memchr(out, '\0', sizeof out) != nullptr, "the text is terminated");
    check(result == replyAck || std::strcmp(out, unanswered) == 0, "only an ack brings a text");
    return result;
}

ReplyResult notifyOfEvent(void* socket) {
    sendEvent(socket, "mpegFE", "changed", "PAT");
    return replyAck;
}

constexpr std::array<ReplyResult (*)(void*), 3> waits{waitReply, waitForText, notifyOfEvent};

// Bounded in tries, each followed by a sleep.
void waitOnce(FuzzInput& input) {
    const auto wait = waits[input.u8() % waits.size()];
    scriptedZmq::Reply reply{input.u16() % 1024U, {}, 0};
    const std::size_t cut = input.u8();
    const std::string text = input.text();
    const bool inTime = reply.emptyTries < mostTries;
    reply.bytes.assign(text.begin(), text.end());
    reply.sentLength = text.size() + cut;

    const std::size_t triesToCome = std::min(reply.emptyTries + 1, mostTries);
    beginRun({.publishPart = {}, .takeDocument = [&] { return reply; }});
    scriptedZmq::expectReply(reply);
    const int result = wait(scriptedZmq::documentSocket());
    check(result >= replyAck && result <= replyTimeout, "the result is one of three");
    check(wait == notifyOfEvent || (result == replyTimeout) == !inTime, "a reply in time is taken");
    check(scriptedZmq::tries() == triesToCome, "every try is made, and none too many");
    check(scriptedZmq::sleeps() == triesToCome, "each try is followed by a sleep");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    while (!input.empty()) {
        waitOnce(input);
    }
    return 0;
}
