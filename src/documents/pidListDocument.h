// The PID list: "pidData".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "model/pidTable.h"

namespace mpegfe {

// Writes the document for the first count entries (at most the 256 that there are; "pidCount" shows count as
// it stands), with the whole stream's rate in bit/s. When one more entry as long as the last would pass
// listTextLimit characters, prints "JSON PID Overflow" and leaves the rest out. Returns the text's length
// without its terminator.
std::size_t buildPidListJson(const PidEntry* entries, int count, float aggRate, DocumentBuffer& out);

namespace shape {

inline constexpr auto listedPid = [](const PidEntry& entry) {
    return object(number<"patIndex">(entry.patIndex),
                  number<"pidOrder">(entry.pidOrder),
                  number<"pidNum">(entry.pidNum),
                  number<"pidType">(entry.pidType),
                  number<"referencePID">(entry.referencePID),
                  number<"pgmNum">(entry.pgmNum),
                  rate<"pidRate">(entry.pidRate),
                  number<"scrambled">(entry.scrambled),
                  field<"description">(entry.description));
};

// The rate is referred to, as the entries are.
constexpr auto pidList(const PidEntry* entries, int count, const float& aggRate) {
    return document<"pidData">(
        number<"pidCount">(int{count}),
        rate<"aggStreamRate">(aggRate),
        limitedList<"pids">(entries, clampCount(count, wire::maxPids), "JSON PID Overflow", listedPid));
}

} // namespace shape

} // namespace mpegfe
