#include "sessionPeers.h"
#include "serviceNames.h"

#include <optional>
#include <string>

namespace {

scriptedZmq::Reply replyOf(const std::string& text, std::size_t emptyTries = 0) {
    return {emptyTries, {text.begin(), text.end()}, text.size()};
}

std::optional<scriptedZmq::Reply> answerDocument(FuzzInput& input) {
    const std::string ack = R"({"reply": "ack"})";
    const auto answers = static_cast<unsigned>(DocumentAnswer::count);
    switch (static_cast<DocumentAnswer>(input.u8() % answers)) {
    case DocumentAnswer::ack:
        return replyOf(ack);
    case DocumentAnswer::ackLate:
        return replyOf(ack, input.u16() % 1024U);
    case DocumentAnswer::text:
        return replyOf(input.text());
    default:
        return std::nullopt;
    }
}

} // namespace

scriptedZmq::Peers sessionPeers(FuzzInput& input, PublishedParts& parts, std::size_t instructionReplyLength) {
    return {.publishPart = [&] { return parts.next(); },
            .takeDocument = [&] { return answerDocument(input); },
            .instructionReplyLength = instructionReplyLength};
}
