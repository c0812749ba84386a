// Prints what is wrong with the stream: as JSON, for scripts, and in words.
#pragma once

#include "stream/streamErrors.h"
#include "stream/streamModel.h"
#include "timing/rateMeter.h"

#include <cstdint>
#include <jansson.h>
#include <string>
#include <vector>

namespace board {

// A new array with one object an indicator, in the order of indicatorRows: "name", "priority", "clause",
// "count"; where the accuracy of PCRs is, "measured" as well, without a count that would say nothing. With
// the counts of an earlier time, "countOfPeriod" is what has come since.
json_t* indicatorsAsJson(const StreamErrors& errors, const IndicatorCounts* before = nullptr);

// A new array with one object a PID, those of the list first, then those that only have errors: "pid",
// "packets", with rates "bitsPerSecond", "payloadPackets", "scrambledPackets", "scrambledShare" (0 to 1),
// "continuityErrors", "transportErrors", "badSections", and "indicators" with those that are not 0, by name.
json_t* pidErrorsAsJson(const StreamErrors& errors, const std::vector<PidState>& pids,
                        const RateMeter* rates = nullptr);

// What a document of statistics tells.
struct Statistics {
    Ticks time;            // of the stream's clock, since the first packet
    std::uint32_t stream;  // how many streams have begun
    std::uint64_t packets; // since the first stream began
    const StreamErrors* errors;
    IndicatorCounts before; // at the last document
    const std::vector<PidState>* pids;
    const RateMeter* rates;
};

// The document, one line with its end.
std::string statisticsAsJson(const Statistics& statistics);

// The indicators that are not 0 and the PIDs that have errors: "; PAT_error_2 2, CRC_error 1; PIDs with
// errors: 0, 257". Empty when nothing is wrong. Of many PIDs the first are named, and how many more there
// are.
std::string errorsInWords(const StreamErrors& errors);

} // namespace board
