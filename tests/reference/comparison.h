// One record set, answered by the service and by the reference, and what differs.
#pragma once

#include "feed/recordStore.h"
#include "streamModel.h"

#include <array>
#include <cstdint>
#include <string>

namespace reference {

// What a record set is asked for, besides what every set is.
struct Questions {
    std::int32_t programCount;
    std::array<int, 3> programIndexes; // each a slot of the PMT record
    int psiPid;                        // of any PID, mostly one without a document
};

// Takes the service's record store, PID table and rates back to the process's start.
void clearService();

// Gives the reference the records that the service has.
void copyRecords(StreamModel& model);

// Runs collection, summary and all documents of both, from the records and tables that they have: return
// values, console lines, PID table, rates, every byte of the nine records, and each document, which must be
// terminated where its length says and inside its buffer. Empty when all is equal; else what differs first,
// and how.
std::string firstDifference(StreamModel& model, const Questions& questions);

} // namespace reference
