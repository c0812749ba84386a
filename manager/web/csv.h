// Tables as CSV (RFC 4180) for spreadsheets.
#pragma once

#include "web/livePicture.h"

#include <optional>
#include <string>
#include <string_view>

namespace manager {

// The table with a name: "pids", "programs", "events", or a data stream. Its first line names the columns, as
// the JSON does; of a table that has not come it is the only one. Times are UTC. A text that a spreadsheet
// would take for a formula has an apostrophe before it. Nothing for a name that no table has.
std::optional<std::string> csvTable(const LivePicture& live, std::string_view name);

} // namespace manager
