#include "terminal/documentTable.h"

#include "terminal/textTable.h"
#include "text/calendar.h"
#include "text/displayText.h"

#include <array>
#include <cstdio>
#include <utility>
#include <vector>

namespace manager {
namespace {

constexpr const char* none = "-";

template <typename... Values>
std::string formatted(const char* format, Values... values) {
    constexpr std::size_t longest = 400; // a number of 309 digits among them
    std::array<char, longest> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string number(int value) {
    return std::to_string(value);
}

std::string hexadecimal(int value) {
    return formatted("0x%04X", static_cast<unsigned>(value));
}

std::string rate(double bitPerSecond) {
    constexpr double mega = 1e6;
    return bitPerSecond >= mega ? formatted("%.3fMbps", bitPerSecond / mega)
                                : formatted("%.3fKbps", bitPerSecond / 1000);
}

// A number of 0 stands for "none" in the references of a PID; an empty name is shown as none, too.
std::string orNone(int value) {
    return value == 0 ? none : number(value);
}

std::string orNone(const std::string& text) {
    return text.empty() ? none : text;
}

std::string yesNo(int value) {
    return value == 0 ? "no" : value == 1 ? "yes" : number(value);
}

// A text of the stream in a heading.
std::string inHeading(const std::string& text) {
    return cutToWidth(displayable(text), widestCell);
}

// EN 300 468, service_type of the service descriptor; a type without a row is shown as its number.
std::string serviceType(int code) {
    constexpr std::array<std::pair<int, const char*>, 16> names{{
        {1, "TV"},
        {2, "radio"},
        {3, "teletext"},
        {4, "NVOD reference"},
        {5, "NVOD"},
        {6, "mosaic"},
        {7, "FM radio"},
        {10, "radio"},
        {12, "data"},
        {16, "DVB MHP"},
        {17, "TV HD"},
        {22, "TV SD"},
        {25, "TV HD"},
        {28, "TV HD 3D"},
        {31, "TV HEVC"},
        {32, "TV HEVC UHD"},
    }};
    for (const auto& [type, name] : names) {
        if (type == code) {
            return name;
        }
    }
    return number(code);
}

// "3 programs", and how many of them the document holds when it was too long for all.
template <typename Entry>
std::string counted(const std::vector<Entry>& list, int count, const std::string& thing) {
    const std::string all = number(count) + ' ' + thing + (count == 1 ? "" : "s");
    const std::string shown = std::to_string(list.size());
    return shown == number(count) ? all : all + " (the document has room for " + shown + ')';
}

DocumentTable bodyTable(const EmptyDocument& /*empty*/) {
    return {"An empty document", TextTable({})};
}

DocumentTable bodyTable(const PidList& list) {
    TextTable table({{"PID", Align::right},
                     {"hex", Align::left},
                     {"type", Align::left},
                     {"program", Align::right},
                     {"index", Align::right},
                     {"PMT PID", Align::right},
                     {"rate", Align::right},
                     {"scrambled", Align::left}});
    for (const ListedPid& pid : list.pids) {
        table.addRow({number(pid.pid), hexadecimal(pid.pid), orNone(pid.description),
                      orNone(pid.programNumber), pid.programNumber == 0 ? none : number(pid.patIndex),
                      orNone(pid.pmtPid), rate(pid.rateBitPerSecond), yesNo(pid.scrambled)});
    }
    return {"PID list: " + counted(list.pids, list.pidCount, "PID") + ", " + rate(list.rateBitPerSecond),
            table};
}

DocumentTable bodyTable(const ProgramList& list) {
    TextTable table({{"program", Align::right},
                     {"index", Align::right},
                     {"service", Align::left},
                     {"provider", Align::left},
                     {"type", Align::left},
                     {"PMT PID", Align::right},
                     {"PIDs", Align::right},
                     {"rate", Align::right},
                     {"CA", Align::left},
                     {"scrambled", Align::left}});
    for (const ListedProgram& program : list.programs) {
        table.addRow({number(program.programNumber), number(program.patIndex), orNone(program.name),
                      orNone(program.provider), serviceType(program.serviceType), number(program.pmtPid),
                      number(program.pidCount), rate(program.rateBitPerSecond), yesNo(program.freeCaMode),
                      yesNo(program.allScrambled)});
    }
    return {"Program list: " + counted(list.programs, list.serviceCount, "program") + ", " +
                number(list.scrambledCount) + " scrambled, " + rate(list.rateBitPerSecond) +
                (list.derived == 1 ? " (the stream has no SDT: the names are made from the PAT)" : ""),
            table};
}

std::string attributes(const VideoElement& video) {
    return number(video.widthPixels) + 'x' + number(video.heightLines) + ", " +
           formatted("%.2f", video.picturesPerSecond) + " pictures/s, " + video.aspectRatio + ", profile " +
           video.profile + ", level " + number(video.level) + ", " + video.entropyCoding;
}

std::string attributes(const AudioElement& audio) {
    const std::string bitRate = !audio.bitRateBitPerSecond        ? "unknown rate"
                                : *audio.bitRateBitPerSecond == 0 ? "free rate"
                                                                  : rate(*audio.bitRateBitPerSecond);
    const std::string sampleRate = audio.sampleRateHertz
                                       ? formatted("%.1fkHz", *audio.sampleRateHertz / 1000.0)
                                       : "unknown sampling rate";
    return bitRate + ", " + sampleRate + ", " + audio.mode;
}

DocumentTable bodyTable(const ProgramDetail& detail) {
    TextTable table({{"PID", Align::right},
                     {"hex", Align::left},
                     {"type", Align::left},
                     {"coding", Align::left},
                     {"language", Align::left},
                     {"attributes", Align::left},
                     {"scrambled", Align::left}});
    const auto addPid = [&](int pid, const std::string& type, std::vector<std::string> more = {}) {
        more.insert(more.begin(), {number(pid), hexadecimal(pid), type});
        table.addRow(more);
    };
    addPid(detail.pmt.pid, "PMT");
    if (detail.video) {
        addPid(detail.video->pid, "VIDEO",
               {detail.video->coding, none, attributes(*detail.video), detail.video->scrambling});
    }
    for (const AudioElement& audio : detail.audio) {
        addPid(audio.pid, "AUDIO",
               {audio.coding, orNone(audio.language), attributes(audio), audio.scrambling});
    }
    for (const PidElement& element : detail.privateData) {
        addPid(element.pid, "PRIVATE");
    }
    for (const PidElement& element : detail.ecm) {
        addPid(element.pid, "ECM");
    }
    return {"Program " + number(detail.pmt.programNumber) + ": " + number(detail.pidCount) +
                " video and audio PID" + (detail.pidCount == 1 ? "" : "s"),
            table};
}

DocumentTable bodyTable(const Pat& pat) {
    TextTable table({{"index", Align::right},
                     {"program", Align::right},
                     {"PMT PID", Align::right},
                     {"hex", Align::left}});
    int index = 0;
    for (const PatProgram& program : pat.programs) {
        table.addRow({number(index++), program.programNumber == 0 ? "network" : number(program.programNumber),
                      number(program.pmtPid), hexadecimal(program.pmtPid)});
    }
    return {"PAT: " + counted(pat.programs, pat.programCount, "program") + ", " + rate(pat.rateBitPerSecond),
            table};
}

DocumentTable bodyTable(const Cat& cat) {
    TextTable table({{"CA system", Align::left}, {"EMM PID", Align::right}, {"hex", Align::left}});
    for (const CaSystem& system : cat.systems) {
        table.addRow({hexadecimal(system.systemId), number(system.emmPid), hexadecimal(system.emmPid)});
    }
    return {"CAT: " + counted(cat.systems, cat.systemCount, "CA system") + ", " + rate(cat.rateBitPerSecond),
            table};
}

DocumentTable bodyTable(const Nit& nit) {
    TextTable table({{"descriptor", Align::left}, {"content", Align::left}});
    const auto addDescriptor = [&](const NetworkDescriptor& descriptor) {
        table.addRow({hexadecimal(descriptor.tag), descriptor.text});
    };
    addDescriptor(nit.network);
    for (const NetworkDescriptor& descriptor : nit.descriptors) {
        addDescriptor(descriptor);
    }
    return {"NIT: network " + hexadecimal(nit.networkId) + ", original network " +
                hexadecimal(nit.originalNetworkId) + ", transport stream " +
                hexadecimal(nit.transportStreamId) + ", " +
                counted(nit.descriptors, nit.descriptorCount, "further descriptor") + ", " +
                rate(nit.rateBitPerSecond),
            table};
}

DocumentTable bodyTable(const Sdt& sdt) {
    TextTable table({{"service", Align::left}, {"provider", Align::left}, {"CA", Align::left}});
    for (const Service& service : sdt.services) {
        table.addRow(
            {orNone(service.name), orNone(service.provider), yesNo(service.freeCaMode == "Set" ? 1 : 0)});
    }
    return {"SDT: " + counted(sdt.services, sdt.serviceCount, "service") + " (" + inHeading(sdt.source) +
                "), original network " + hexadecimal(sdt.originalNetworkId) + ", transport stream " +
                hexadecimal(sdt.transportStreamId) + ", " + rate(sdt.rateBitPerSecond),
            table};
}

DocumentTable bodyTable(const Eit& eit) {
    TextTable table({{"event", Align::left},
                     {"date", Align::left},
                     {"start", Align::left},
                     {"duration", Align::left},
                     {"language", Align::left},
                     {"name", Align::left},
                     {"description", Align::left}});
    for (const Event& event : eit.events) {
        table.addRow({hexadecimal(event.eventId), calendarDate(event.dateMjd), event.startTime,
                      event.duration, orNone(event.language), orNone(event.name), orNone(event.description)});
    }
    return {"EIT: " + counted(eit.events, eit.eventCount, "event") + " of program " + number(eit.serviceId) +
                ", original network " + hexadecimal(eit.originalNetworkId) + ", transport stream " +
                hexadecimal(eit.transportStreamId) + ", " + rate(eit.rateBitPerSecond),
            table};
}

DocumentTable bodyTable(const Tdt& tdt) {
    return {"TDT: " + calendarDate(tdt.dateMjd) + ' ' + inHeading(tdt.timeOfDay) + " UTC, " +
                rate(tdt.rateBitPerSecond),
            TextTable({})};
}

} // namespace

DocumentTable tableOf(const Document& document) {
    return std::visit([](const auto& body) { return bodyTable(body); }, document);
}

std::string documentTable(const Document& document) {
    const DocumentTable shown = tableOf(document);
    return shown.heading + '\n' + (shown.table.titles().empty() ? "" : '\n' + shown.table.text());
}

} // namespace manager
