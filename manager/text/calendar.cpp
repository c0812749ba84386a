#include "text/calendar.h"

#include <array>
#include <chrono>
#include <cstdio>

namespace manager {

std::string calendarDate(int modifiedJulianDay) {
    constexpr int lastDay = 65535;
    constexpr int unixEpoch = 40587;
    if (modifiedJulianDay < 0 || modifiedJulianDay > lastDay) {
        return std::to_string(modifiedJulianDay);
    }
    const std::chrono::sys_days day{std::chrono::days{modifiedJulianDay - unixEpoch}};
    const std::chrono::year_month_day date{day};
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
    return text.data();
}

} // namespace manager
