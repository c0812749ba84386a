// Dates of the stream.
#pragma once

#include <string>

namespace manager {

// A Modified Julian Day (EN 300 468 annex C) as a date: 60000 is "2023-02-25". The day is 0 to 65535; any
// other is the day's number.
std::string calendarDate(int modifiedJulianDay);

} // namespace manager
