// Reception of published records into the record store, and what changed.
#pragma once

#include "feed/feedChannels.h"

#include <cstdint>

namespace mpegfe {

// What one call of receiveMpegTopic met.
enum CaptureStatus : std::int32_t {
    captured = 0,       // the record is stored, or its topic is unknown
    brokenMessage = -1, // a part, or what follows it, could not be had
    newStream = -2,     // the PAT announces a new stream
};

// Receives one published message (topic, a part that is not used, record) from the active channel, blocking
// as long as it takes. The record goes into newestRecords, at most its size; a shorter one leaves the bytes
// behind it as they were. Sets or clears the topic's bit in ptx->changedTopics by comparing the received
// bytes with previousRecords, and sets its capture bits in ptx->receivedMask. A PAT that is no new stream
// also stores its program count through programCountOut. Prints the console lines of the topic. Returns
// captured, brokenMessage or newStream (which clears ptx->receivedMask and takes no part in change
// detection). The record of an unknown topic stays queued, and the next call takes it for a topic.
CaptureStatus receiveMpegTopic(FeedContext* ptx, std::int32_t* programCountOut);

} // namespace mpegfe
