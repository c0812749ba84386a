#include "web/csv.h"

#include "text/calendar.h"
#include "text/displayText.h"
#include "web/eventWords.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <variant>

namespace manager {
namespace {

struct Instant {
    PictureTime time;
};

// A line is written value by value.
class CsvText {
  public:
    explicit CsvText(std::initializer_list<std::string_view> columns) {
        for (const std::string_view column : columns) {
            put(column);
        }
        endLine();
    }

    template <typename... Values>
    void line(const Values&... values) {
        (add(values), ...);
        endLine();
    }

    std::string written() const {
        return text;
    }

  private:
    void add(const std::string& value) {
        constexpr std::string_view formulas = "=+-@\t\r\n";
        const bool isFormula = !value.empty() && formulas.find(value.front()) != std::string_view::npos;
        std::string quoted = isFormula ? "\"'" : "\"";
        std::string_view rest = value;
        while (!rest.empty()) {
            const Character character = takeCharacter(rest);
            quoted += character.codePoint < 0 ? std::string_view("\uFFFD") : character.bytes;
            quoted += character.bytes == "\"" ? "\"" : "";
        }
        put(quoted + '"');
    }
    void add(int value) {
        put(std::to_string(value));
    }
    void add(bool value) {
        put(value ? "true" : "false");
    }
    void add(double value) {
        constexpr std::size_t longest = 400;
        std::array<char, longest> number{};
        char* const end =
            std::isfinite(value)
                ? std::to_chars(number.data(), number.data() + longest, value, std::chars_format::fixed).ptr
                : number.data();
        put({number.data(), end});
    }
    void add(Instant instant) {
        // Not by time_t, which ends in 2038 on the board.
        const auto day = std::chrono::floor<std::chrono::days>(instant.time);
        const std::chrono::year_month_day date{std::chrono::sys_days(day)};
        const std::chrono::hh_mm_ss clock(instant.time - day);
        std::array<char, 64> shown{};
        std::snprintf(shown.data(), shown.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
                      static_cast<int>(clock.subseconds().count()));
        put(shown.data());
    }

    void put(std::string_view value) {
        text += isFirst ? "" : ",";
        text += value;
        isFirst = false;
    }
    void endLine() {
        text += "\r\n";
        isFirst = true;
    }

    std::string text;
    bool isFirst = true;
};

std::string pids(const LivePicture& live) {
    CsvText csv{"pid",           "place",    "type",      "description",
                "programNumber", "patIndex", "pmtPid",    "rateBitPerSecond",
                "least",         "most",     "scrambled", "firstSeen",
                "lastSeen",      "gone"};
    for (const auto& [number, row] : live.picture().pids()) {
        const ListedPid& pid = row.newest;
        csv.line(pid.pid, pid.place, pid.type, pid.description, pid.programNumber, pid.patIndex, pid.pmtPid,
                 pid.rateBitPerSecond, row.rates.least(), row.rates.most(), pid.scrambled != 0,
                 Instant{row.firstSeen}, Instant{row.lastSeen}, !row.isPresent);
    }
    return csv.written();
}

std::string programs(const LivePicture& live) {
    CsvText csv{"programNumber", "patIndex",         "name",  "provider", "serviceType", "pmtPid",
                "pidCount",      "rateBitPerSecond", "least", "most",     "freeCaMode",  "allScrambled",
                "firstSeen",     "lastSeen",         "gone"};
    for (const auto& [number, row] : live.picture().services()) {
        const ListedProgram& program = row.newest;
        csv.line(program.programNumber, program.patIndex, program.name, program.provider, program.serviceType,
                 program.pmtPid, program.pidCount, program.rateBitPerSecond, row.rates.least(),
                 row.rates.most(), program.freeCaMode != 0, program.allScrambled != 0, Instant{row.firstSeen},
                 Instant{row.lastSeen}, !row.isPresent);
    }
    return csv.written();
}

std::string events(const LivePicture& live) {
    CsvText csv{"time", "kind", "number", "was", "text"};
    for (const PictureEvent& event : live.picture().events()) {
        if (const EventWords& words = wordsFor(event.kind); words.word != nullptr) {
            csv.line(Instant{event.time}, std::string(words.word), event.about, event.before, event.after);
        }
    }
    return csv.written();
}

std::string pat(const LivePicture& live) {
    CsvText csv{"programNumber", "pmtPid"};
    if (const auto& newest = live.picture().newest<Pat>()) {
        for (const PatProgram& program : newest->body.programs) {
            csv.line(program.programNumber, program.pmtPid);
        }
    }
    return csv.written();
}

std::string cat(const LivePicture& live) {
    CsvText csv{"systemId", "emmPid"};
    if (const auto& newest = live.picture().newest<Cat>()) {
        for (const CaSystem& system : newest->body.systems) {
            csv.line(system.systemId, system.emmPid);
        }
    }
    return csv.written();
}

std::string nit(const LivePicture& live) {
    CsvText csv{"tag", "text"};
    if (const auto& newest = live.picture().newest<Nit>()) {
        csv.line(newest->body.network.tag, newest->body.network.text);
        for (const NetworkDescriptor& descriptor : newest->body.descriptors) {
            csv.line(descriptor.tag, descriptor.text);
        }
    }
    return csv.written();
}

std::string sdt(const LivePicture& live) {
    CsvText csv{"name", "provider", "freeCaMode"};
    if (const auto& newest = live.picture().newest<Sdt>()) {
        for (const Service& service : newest->body.services) {
            csv.line(service.name, service.provider, service.freeCaMode == "Set");
        }
    }
    return csv.written();
}

std::string eit(const LivePicture& live) {
    CsvText csv{"eventId", "dateMjd", "date", "startTime", "duration", "language", "name", "description"};
    if (const auto& newest = live.picture().newest<Eit>()) {
        for (const Event& event : newest->body.events) {
            csv.line(event.eventId, event.dateMjd, calendarDate(event.dateMjd), event.startTime,
                     event.duration, event.language, event.name, event.description);
        }
    }
    return csv.written();
}

std::string tdt(const LivePicture& live) {
    CsvText csv{"tableId", "dateMjd", "date", "timeOfDay", "rateBitPerSecond"};
    if (const auto& newest = live.picture().newest<Tdt>()) {
        const Tdt& table = newest->body;
        csv.line(table.tableId, table.dateMjd, calendarDate(table.dateMjd), table.timeOfDay,
                 table.rateBitPerSecond);
    }
    return csv.written();
}

struct Table {
    std::string_view name;
    std::string (*write)(const LivePicture& live);
};

constexpr std::array<Table, 9> tables{{
    {"pids", pids},
    {"programs", programs},
    {"events", events},
    {"PAT", pat},
    {"CAT", cat},
    {"NIT", nit},
    {"SDT", sdt},
    {"EIT", eit},
    {"TDT", tdt},
}};

} // namespace

std::optional<std::string> csvTable(const LivePicture& live, std::string_view name) {
    const auto* const table = std::ranges::find(tables, name, &Table::name);
    return table == tables.end() ? std::nullopt : std::optional(table->write(live));
}

} // namespace manager
