#include "exchange/request.h"

#include "managerError.h"

#include "companions/json.h"
#include "wire/records.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <system_error>

namespace manager {
namespace {

struct DataStream {
    std::string_view name;
    std::string_view key;
    std::string_view values;
    std::string_view help;
};

constexpr std::string_view onOff = "on or off";
constexpr std::string_view programIndex = "a program index from 0 to 58";
constexpr int lastProgram = wire::maxPmtSlots - 1; // that the service can answer
static_assert(lastProgram == 58);

constexpr std::array<DataStream, 9> dataStreams{{
    {"pidData", "status", onOff, "every PID with its type, program and rate"},
    {"pgmData", "status", onOff, "every program with its service name and rate"},
    {programDetail, "patIndex", programIndex, "one program's video, audio, private data and ECM (0 to 58)"},
    {"PAT", "status", onOff, "program association table"},
    {"CAT", "status", onOff, "conditional access table"},
    {"NIT", "status", onOff, "network information table"},
    {"SDT", "status", onOff, "service description table"},
    {"EIT", "status", onOff, "event information table"},
    {"TDT", "status", onOff, "time and date table"},
}};

std::string dataStreamNames() {
    std::string names;
    for (const DataStream& stream : dataStreams) {
        names += names.empty() ? "" : ", ";
        names += stream.name;
    }
    return names;
}

bool isIndex(std::string_view value) {
    int index = 0;
    const char* const end = value.data() + value.size();
    const auto [stop, failure] = std::from_chars(value.data(), end, index);
    return failure == std::errc{} && stop == end && index >= 0 && index <= lastProgram;
}

bool takesValue(const DataStream& stream, std::string_view value) {
    return stream.values == onOff ? value == "on" || value == "off" : isIndex(value);
}

} // namespace

Request makeRequest(std::string_view dataStream, std::string_view value) {
    const auto* const stream =
        std::find_if(dataStreams.begin(), dataStreams.end(),
                     [&](const DataStream& candidate) { return candidate.name == dataStream; });
    if (stream == dataStreams.end()) {
        throw ManagerError(ExitStatus::usage,
                           {"no such data stream", "one of " + dataStreamNames(),
                            '"' + std::string(dataStream) + '"', "capital and small letters count"});
    }
    if (!takesValue(*stream, value)) {
        throw ManagerError(ExitStatus::usage,
                           {"the request is incomplete",
                            std::string(stream->values) + " after " + std::string(stream->name),
                            '"' + std::string(value) + '"', "see mpegfe-manager --help"});
    }
    return {std::string(stream->name), std::string(stream->key), std::string(value)};
}

bool bringsDocument(const Request& request) {
    return request.value != "off";
}

std::string requestText(const Request& request) {
    const companions::Json object(json_pack("{s:s, s:s}", "dataStream", request.dataStream.c_str(),
                                            request.key.c_str(), request.value.c_str()));
    return dump(object);
}

std::string dataStreamHelp() {
    constexpr std::size_t wide = 28;
    std::string help;
    for (const DataStream& stream : dataStreams) {
        std::string call =
            "  " + std::string(stream.name) + ' ' + (stream.values == onOff ? "on|off" : "INDEX");
        call.resize(wide, ' ');
        help += call + std::string(stream.help) + '\n';
    }
    return help;
}

} // namespace manager
