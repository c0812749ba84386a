#include "text/documentJson.h"

#include "text/calendar.h"
#include "text/jsonText.h"

namespace manager {
namespace {

constexpr const char* rateKey = "rateBitPerSecond";

std::optional<bool> isScrambled(const std::string& word) {
    return word == "Unknown" ? std::nullopt : std::optional(word == "Scrambled");
}

void write(JsonText& /*json*/, const EmptyDocument& /*empty*/) {}

void write(JsonText& json, const PidList& list) {
    json.member("dataStream", "pidData")
        .member("pidCount", list.pidCount)
        .member(rateKey, list.rateBitPerSecond)
        .list("pids", list.pids, [&](const ListedPid& pid) { writeMembers(json, pid); });
}

void write(JsonText& json, const ProgramList& list) {
    json.member("dataStream", "pgmData")
        .member("serviceCount", list.serviceCount)
        .member("namesFromPat", list.derived == 1)
        .member(rateKey, list.rateBitPerSecond)
        .member("scrambledCount", list.scrambledCount)
        .list("programs", list.programs, [&](const ListedProgram& program) { writeMembers(json, program); });
}

void writeVideo(JsonText& json, const VideoElement& video) {
    json.member("pid", video.pid)
        .member("coding", video.coding)
        .member("entropyCoding", video.entropyCoding)
        .member("widthPixels", video.widthPixels)
        .member("heightLines", video.heightLines)
        .member("picturesPerSecond", video.picturesPerSecond)
        .member("aspectRatio", video.aspectRatio)
        .member("profile", video.profile)
        .member("level", video.level)
        .member("scrambled", isScrambled(video.scrambling));
}

void write(JsonText& json, const ProgramDetail& detail) {
    const auto writePid = [&](const PidElement& element) { json.member("pid", element.pid); };
    json.member("dataStream", "pgmDetail")
        .member("programNumber", detail.pmt.programNumber)
        .member("pmtPid", detail.pmt.pid)
        .member("pidCount", detail.pidCount);
    if (detail.video) {
        json.object("video", [&] { writeVideo(json, *detail.video); });
    } else {
        json.null("video");
    }
    json.list("audio", detail.audio,
              [&](const AudioElement& audio) {
                  json.member("pid", audio.pid)
                      .member("coding", audio.coding)
                      .member("language", audio.language)
                      .member("bitRateBitPerSecond", audio.bitRateBitPerSecond)
                      .member("sampleRateHertz", audio.sampleRateHertz)
                      .member("mode", audio.mode)
                      .member("scrambled", isScrambled(audio.scrambling));
              })
        .list("privateData", detail.privateData, writePid)
        .list("ecm", detail.ecm, writePid);
}

void write(JsonText& json, const Pat& pat) {
    json.member("dataStream", "PAT")
        .member("programCount", pat.programCount)
        .member(rateKey, pat.rateBitPerSecond)
        .list("programs", pat.programs, [&](const PatProgram& program) {
            json.member("programNumber", program.programNumber).member("pmtPid", program.pmtPid);
        });
}

void write(JsonText& json, const Cat& cat) {
    json.member("dataStream", "CAT")
        .member("systemCount", cat.systemCount)
        .member("tableId", cat.tableId)
        .member(rateKey, cat.rateBitPerSecond)
        .list("systems", cat.systems, [&](const CaSystem& system) {
            json.member("systemId", system.systemId).member("emmPid", system.emmPid);
        });
}

void write(JsonText& json, const Nit& nit) {
    const auto writeDescriptor = [&](const NetworkDescriptor& descriptor) {
        json.member("tag", descriptor.tag).member("text", descriptor.text);
    };
    json.member("dataStream", "NIT")
        .member("descriptorCount", nit.descriptorCount)
        .member("tableId", nit.tableId)
        .member("networkId", nit.networkId)
        .member("transportStreamId", nit.transportStreamId)
        .member("originalNetworkId", nit.originalNetworkId)
        .object("networkDescriptor", [&] { writeDescriptor(nit.network); })
        .member(rateKey, nit.rateBitPerSecond)
        .list("descriptors", nit.descriptors, writeDescriptor);
}

void write(JsonText& json, const Sdt& sdt) {
    json.member("dataStream", "SDT")
        .member("serviceCount", sdt.serviceCount)
        .member("tableId", sdt.tableId)
        .member("transportStreamId", sdt.transportStreamId)
        .member("originalNetworkId", sdt.originalNetworkId)
        .member(rateKey, sdt.rateBitPerSecond)
        .member("source", sdt.source)
        .list("services", sdt.services, [&](const Service& service) {
            json.member("name", service.name)
                .member("provider", service.provider)
                .member("freeCaMode", service.freeCaMode == "Set");
        });
}

void write(JsonText& json, const Eit& eit) {
    json.member("dataStream", "EIT")
        .member("eventCount", eit.eventCount)
        .member("tableId", eit.tableId)
        .member("originalNetworkId", eit.originalNetworkId)
        .member("programNumber", eit.serviceId)
        .member("transportStreamId", eit.transportStreamId)
        .member(rateKey, eit.rateBitPerSecond)
        .list("events", eit.events, [&](const Event& event) {
            json.member("eventId", event.eventId)
                .member("dateMjd", event.dateMjd)
                .member("date", calendarDate(event.dateMjd))
                .member("startTime", event.startTime)
                .member("duration", event.duration)
                .member("language", event.language)
                .member("name", event.name)
                .member("description", event.description);
        });
}

void write(JsonText& json, const Tdt& tdt) {
    json.member("dataStream", "TDT")
        .member("tableId", tdt.tableId)
        .member("dateMjd", tdt.dateMjd)
        .member("date", calendarDate(tdt.dateMjd))
        .member("timeOfDay", tdt.timeOfDay)
        .member(rateKey, tdt.rateBitPerSecond);
}

} // namespace

std::string documentJson(const Document& document) {
    JsonText json;
    json.object([&] { std::visit([&](const auto& body) { write(json, body); }, document); });
    return json.written();
}

void writeMembers(JsonText& json, const ListedPid& pid) {
    json.member("pid", pid.pid)
        .member("place", pid.place)
        .member("type", pid.type)
        .member("description", pid.description)
        .member("programNumber", pid.programNumber)
        .member("patIndex", pid.patIndex)
        .member("pmtPid", pid.pmtPid)
        .member(rateKey, pid.rateBitPerSecond)
        .member("scrambled", pid.scrambled != 0);
}

void writeMembers(JsonText& json, const ListedProgram& program) {
    json.member("programNumber", program.programNumber)
        .member("patIndex", program.patIndex)
        .member("name", program.name)
        .member("provider", program.provider)
        .member("serviceType", program.serviceType)
        .member("pmtPid", program.pmtPid)
        .member("pidCount", program.pidCount)
        .member(rateKey, program.rateBitPerSecond)
        .member("freeCaMode", program.freeCaMode != 0)
        .member("allScrambled", program.allScrambled != 0);
}

} // namespace manager
