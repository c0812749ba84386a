#include "disturbedExchange.h"

#include "../support/acknowledgement.h"

#include <sstream>
#include <stdexcept>

namespace serviceTest {
namespace {

RunOptions unrecorded() {
    RunOptions options;
    options.patience = std::chrono::seconds(10);
    options.recorded = false;
    return options;
}

std::string word(std::uint16_t bits) {
    return {static_cast<char>(bits & 0xFF), static_cast<char>(bits >> 8)};
}

template <typename Value>
void demand(const char* what, const Value& got, const Value& expected) {
    if (got != expected) {
        std::ostringstream text;
        text << what << ": expected " << expected << ", got " << got;
        throw std::runtime_error(text.str());
    }
}

} // namespace

DisturbedExchange::DisturbedExchange()
    : service(unrecorded()), records(readRecordBook(MPEGFE_SERVICE_RECORDS)) {
    peers.startAll();
    service.startService();
    awaitConsole("Connect Trufios REQ to mpegFE REP OK\n", 0);
}

std::string DisturbedExchange::serve(const std::optional<Disturbance>& disturbance) {
    current = disturbance;
    peers.forgetSubscriptions();
    const std::size_t start = service.console().size();
    awaitAnswer();
    awaitRecords();
    const std::string document = awaitAcknowledgement();
    awaitConsole("Update GUI/WEB MPEG Metadata\n", start);
    disturbIn(Wait::request);
    request(R"({"dataStream":"TDT","status":"off"})");
    takeInstruction(0x001);
    answer(0x001);
    awaitConsole("Exit MPEG Processing\n", start);
    return service.console().substr(start) + document;
}

void DisturbedExchange::takeInstruction(std::uint16_t expected) {
    const auto heard = await("an instruction", [&] { return peers.instruction(); });
    demand("an instruction", *heard, expected);
}

void DisturbedExchange::request(const std::string& text) {
    peers.sendRequest(text);
    const auto heard = await("an acknowledgement", [&] { return peers.acknowledgement(); });
    demand<std::string>("an acknowledgement", *heard, testSupport::ack);
}

void DisturbedExchange::publish(const std::string& name) {
    const Record& record = records.at(name);
    peers.publish({record.topic, "1", record.bytes});
}

void DisturbedExchange::answer(std::uint16_t bits) {
    testSupport::Parts parts{word(bits)};
    parts.insert(parts.end(), furtherParts.begin(), furtherParts.end());
    peers.answerInstruction(parts);
}

bool DisturbedExchange::disturbs(Wait wait, Channel channel) const {
    return current && current->wait == wait && current->channel == channel;
}

void DisturbedExchange::disturbIn(Wait wait) {
    if (current && current->wait == wait) {
        current->happens();
    }
}

// An instruction that no good peer has heard yet reaches the next one; one that was heard is told again.
void DisturbedExchange::awaitAnswer() {
    const bool unheard = disturbs(Wait::answer, Channel::instructions);
    if (unheard) {
        peers.stop(Channel::instructions);
    }
    request(R"({"dataStream":"TDT","status":"on"})");
    if (unheard) {
        current->happens();
    }
    takeInstruction(0x025);
    if (!unheard) {
        disturbIn(Wait::answer);
    }
    answer(0x025);
}

void DisturbedExchange::awaitRecords() {
    awaitSubscriptions();
    disturbIn(Wait::records);
    if (disturbs(Wait::records, Channel::instructions)) {
        takeInstruction(0x025);
        answer(0x025);
    }
    awaitSubscriptions();
    if (disturbs(Wait::acknowledgement, Channel::documents)) {
        stopNoticed(Channel::documents);
    }
    publish("TDT stream");
    publish("PAT stream");
    publish("TS-STATUS stream");
}

// The service has two I/O threads, one of them for the feed: a record that is sent behind the end of another
// connection may come before it, and a document that goes with a connection is lost.
void DisturbedExchange::stopNoticed(Channel channel) {
    const std::size_t before = service.descriptorCount();
    peers.stop(channel);
    service.watchUntil("an end of a connection", [&] { return service.descriptorCount() < before; });
}

void DisturbedExchange::awaitSubscriptions() {
    await("subscriptions", [&] { return peers.subscriptions() == 3; });
}

// The same holds for a document, but one that was heard is not told again.
std::string DisturbedExchange::awaitAcknowledgement() {
    const bool unheard = disturbs(Wait::acknowledgement, Channel::documents);
    if (unheard) {
        current->happens();
    }
    const std::string document = *await("a document", [&] { return peers.document(); });
    if (!unheard) {
        disturbIn(Wait::acknowledgement);
    }
    peers.answerDocument({testSupport::ack});
    return document;
}

void DisturbedExchange::awaitConsole(const std::string& line, std::size_t start) {
    service.waitUntil("the console line " + line,
                      [&] { return service.console().find(line, start) != std::string::npos; });
}

} // namespace serviceTest
