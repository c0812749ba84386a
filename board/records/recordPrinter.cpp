#include "records/recordPrinter.h"

#include "records/errorPrinter.h"

#include "companions/json.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace board {

namespace {

// A text field up to its zero.
json_t* textOf(std::span<const char> field) {
    const std::string_view text(field.data(), field.size());
    const std::string_view shown = text.substr(0, text.find('\0'));
    return json_stringn(shown.data(), shown.size());
}

// An array with one element an item of a counted field.
template <class Items, class Make>
json_t* arrayOf(const Items& all, std::size_t count, Make make) {
    json_t* array = json_array();
    for (std::size_t k = 0; k < count; ++k) {
        json_array_append_new(array, make(all[k]));
    }
    return array;
}

json_t* number(std::uint16_t value) {
    return json_integer(value);
}

json_t* programOf(const wire::ProgramEntry& entry) {
    return json_pack("{s:i, s:i}", "pgmNum", entry.pgmNum, "pmtPid", entry.pmtPid);
}

json_t* patOf(const wire::PatRecord& pat) {
    return json_pack("{s:i, s:o, s:o, s:o, s:i}", "transportStreamId", pat.transportStreamId, "pidList",
                     arrayOf(pat.pidList, pat.pidListCount, number), "programs",
                     arrayOf(pat.programs, static_cast<std::size_t>(pat.programCount), programOf),
                     "sectionPrograms", arrayOf(pat.sectionPrograms, pat.sectionProgramCount, programOf),
                     "newStreamFlag", pat.newStreamFlag);
}

json_t* pmtOf(const wire::PmtEntry& slot) {
    return json_pack("{s:i, s:i, s:i, s:o, s:i, s:i, s:o, s:o, s:o, s:o}", "pgmNum", slot.pgmNum, "pmtPid",
                     slot.pmtPid, "pcrPid", slot.pcrPid, "ecmPids",
                     arrayOf(slot.ecmPids, slot.ecmCount, number), "videoPid", slot.videoPid,
                     "videoStreamType", slot.videoStreamType, "audioPids",
                     arrayOf(slot.audioPids, slot.audioCount, number), "audioCodings",
                     arrayOf(slot.audioCodings, slot.audioCount, number), "audioLanguages",
                     arrayOf(slot.audioLanguages, slot.audioCount,
                             [](std::span<const char> language) { return textOf(language); }),
                     "pvtPids", arrayOf(slot.pvtPids, slot.privateCount, number));
}

json_t* trackOf(const wire::AvAudioTrack& track) {
    return json_pack("{s:i, s:i, s:i, s:i, s:i}", "pid", track.pid, "bitRateIndex", track.bitRateIndex,
                     "sampleRateIndex", track.sampleRateIndex, "modeIndex", track.modeIndex, "scrambled",
                     track.scrambled);
}

json_t* avPgmOf(const wire::AvPgmEntry& slot) {
    return json_pack("{s:i, s:i, s:i, s:i, s:i, s:f, s:I, s:i, s:I, s:I, s:i, s:o, s:o, s:i}", "pgmNum",
                     slot.pgmNum, "pmtPid", slot.pmtPid, "videoPid", slot.videoPid, "horizRes", slot.horizRes,
                     "vertRes", slot.vertRes, "pictRate", static_cast<double>(slot.pictRate), "entropyFlag",
                     json_int_t{slot.entropyFlag}, "aspectRatio", slot.aspectRatio, "profile",
                     json_int_t{slot.profile}, "level", json_int_t{slot.level}, "videoScrambled",
                     slot.videoScrambled, "audio", arrayOf(slot.audio, slot.audioCount, trackOf),
                     "privatePids",
                     arrayOf(slot.privatePids, slot.privateCount,
                             [](const wire::AvPrivatePid& entry) { return number(entry.pid); }),
                     "allScrambled", slot.allScrambled);
}

json_t* serviceOf(const wire::SdtService& service) {
    return json_pack("{s:i, s:i, s:i, s:i, s:i, s:i, s:o, s:o}", "serviceId", service.serviceId,
                     "serviceType", service.serviceType, "pmtPid", service.pmtPid, "caFlag", service.caFlag,
                     "pidCount", service.pidCount, "patIndex", service.patIndex, "providerName",
                     textOf(service.providerName), "serviceName", textOf(service.serviceName));
}

json_t* sdtOf(const wire::SdtRecord& sdt) {
    return json_pack("{s:i, s:i, s:i, s:i, s:i, s:o}", "pid", sdt.pid, "tableId", sdt.tableId,
                     "transportStreamId", sdt.transportStreamId, "originalNetworkId", sdt.originalNetworkId,
                     "actual", sdt.actual, "services", arrayOf(sdt.services, sdt.serviceCount, serviceOf));
}

json_t* catOf(const wire::CatRecord& cat) {
    return json_pack("{s:i, s:o}", "tableId", cat.tableId, "caEntries",
                     arrayOf(cat.caEntries, cat.caCount, [](const wire::CaEntry& entry) {
                         return json_pack("{s:i, s:i}", "caSystemId", entry.caSystemId, "caPid", entry.caPid);
                     }));
}

json_t* nitOf(const wire::NitRecord& nit) {
    return json_pack(
        "{s:i, s:i, s:i, s:i, s:i, s:o, s:o}", "tableId", nit.tableId, "networkId", nit.networkId,
        "transportStreamId", nit.transportStreamId, "originalNetworkId", nit.originalNetworkId,
        "descriptorType", nit.descriptorType, "descriptorText", textOf(nit.descriptorText),
        "descriptorEntries",
        arrayOf(nit.descriptorEntries, nit.descriptorCount, [](const wire::NitDescriptor& entry) {
            return json_pack("{s:i, s:o}", "descriptorType", entry.descriptorType, "descriptorText",
                             textOf(entry.descriptorText));
        }));
}

json_t* eventOf(const wire::EitEvent& event) {
    return json_pack("{s:i, s:i, s:o, s:o, s:o, s:o, s:o}", "eventId", event.eventId, "startDateMjd",
                     event.startDateMjd, "startTime", textOf(event.startTime), "duration",
                     textOf(event.duration), "language", textOf(event.language), "eventName",
                     textOf(event.eventName), "description", textOf(event.description));
}

json_t* eitOf(const wire::EitRecord& eit) {
    return json_pack("{s:i, s:i, s:i, s:i, s:o}", "tableId", eit.tableId, "serviceId", eit.serviceId,
                     "transportStreamId", eit.transportStreamId, "originalNetworkId", eit.originalNetworkId,
                     "events", arrayOf(eit.events, eit.eventCount, eventOf));
}

json_t* tdtOf(const wire::TdtRecord& tdt) {
    return json_pack("{s:i, s:i, s:o}", "tableId", tdt.tableId, "dateMjd", tdt.dateMjd, "timeOfDay",
                     textOf(tdt.timeOfDay));
}

json_t* windowOf(const RateWindow& window) {
    return json_pack("{s:I, s:I, s:f}", "firstPacket", static_cast<json_int_t>(window.firstPacket),
                     "endPacket", static_cast<json_int_t>(window.endPacket), "seconds",
                     std::chrono::duration<double>(window.elapsed).count());
}

} // namespace

std::string recordsAsJson(const wire::RecordSet& records, const RateWindow& window,
                          const std::vector<PidState>& pids, const StreamErrors& errors) {
    const auto programs = static_cast<std::size_t>(records.pat.programCount);
    const std::size_t rates = std::min<std::size_t>(records.pat.pidListCount, wire::maxPidStats);
    const companions::Json root(json_pack(
        "{s:o, s:o, s:o, s:o, s:o, s:o, s:o, s:o, s:o, s:o, s:o, s:o}", "window", windowOf(window), "pat",
        patOf(records.pat), "pmt", arrayOf(records.pmt.slots, programs, pmtOf), "tsStatus",
        arrayOf(records.tsStatus.pidStats, rates,
                [](const wire::PidStatEntry& entry) { return json_real(static_cast<double>(entry.rate)); }),
        "avPgm", arrayOf(records.avPgm.slots, programs, avPgmOf), "sdt", sdtOf(records.sdt), "cat",
        catOf(records.cat), "nit", nitOf(records.nit), "eit", eitOf(records.eit), "tdt", tdtOf(records.tdt),
        "indicators", indicatorsAsJson(errors), "errors", pidErrorsAsJson(errors, pids)));
    const std::string text = companions::dump(root, JSON_INDENT(1));
    return text.empty() ? text : text + "\n";
}

} // namespace board
