// Prints the records as JSON, for people and scripts.
#pragma once

#include "stream/streamErrors.h"
#include "stream/streamModel.h"
#include "timing/rateMeter.h"

#include "wire/topics.h"

#include <string>
#include <vector>

namespace board {

// One JSON object with one member a record, in the records' own terms, "window": the stretch of stream that
// the rates were measured over, and what is wrong with it: "indicators", and "errors" by PID, as errorPrinter
// tells them. Texts are as the records hold them; rates are in bit/s.
std::string recordsAsJson(const wire::RecordSet& records, const RateWindow& window,
                          const std::vector<PidState>& pids, const StreamErrors& errors);

} // namespace board
