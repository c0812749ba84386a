// Prints the records as JSON, for people and scripts.
#pragma once

#include "timing/rateMeter.h"

#include "wire/topics.h"

#include <string>

namespace board {

// One JSON object with one member a record, in the records' own terms, and "window": the stretch of stream
// that the rates were measured over. Texts are as the records hold them; rates are in bit/s.
std::string recordsAsJson(const wire::RecordSet& records, const RateWindow& window);

} // namespace board
