// Prints the records as JSON, for people and scripts.
#pragma once

#include "rateMeter.h"

#include "feed/topics.h"

#include <string>

namespace board {

// One JSON object with one member a record, in the records' own terms, and "window": the stretch of stream
// that the rates were measured over. Texts are as the records hold them; rates are in bit/s.
std::string recordsAsJson(const RecordSet& records, const RateWindow& window);

} // namespace board
