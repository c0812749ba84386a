// Both peers of a session, playing from one input in the order in which the session asks them.
#pragma once

#include "fuzzInput.h"
#include "publishedParts.h"
#include "scriptedZmq.h"

// What Trufios does with a document; a byte of the input chooses.
enum class DocumentAnswer : std::uint8_t {
    ack,
    ackLate, // after u16 tries
    text,    // a text, as it stands
    silence,
    count
};

// The parser publishes from the input until it is used up and answers each instruction with that many bytes;
// Trufios acknowledges what is sent after that.
scriptedZmq::Peers sessionPeers(FuzzInput& input, PublishedParts& parts, std::size_t instructionReplyLength);
