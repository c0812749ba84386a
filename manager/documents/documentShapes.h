// The members of each document in their order on the wire, with the kind of each value and where it is kept.
// describe(visitor, object) calls the visitor once a member, and stops at the first that it refuses.
#pragma once

#include "documents/documentValues.h"

namespace manager::shape {

template <typename Visitor>
bool describe(Visitor& visit, ListedPid& pid) {
    return visit.number("patIndex", pid.patIndex) && visit.number("pidOrder", pid.place) &&
           visit.number("pidNum", pid.pid) && visit.number("pidType", pid.type) &&
           visit.number("referencePID", pid.pmtPid) && visit.number("pgmNum", pid.programNumber) &&
           visit.rate("pidRate", pid.rateBitPerSecond) && visit.number("scrambled", pid.scrambled) &&
           visit.text("description", pid.description);
}

template <typename Visitor>
bool describe(Visitor& visit, PidList& list) {
    return visit.number("pidCount", list.pidCount) && visit.rate("aggStreamRate", list.rateBitPerSecond) &&
           visit.list("pids", list.pids);
}

template <typename Visitor>
bool describe(Visitor& visit, ListedProgram& program) {
    return visit.number("pgmNum", program.programNumber) && visit.number("patIndex", program.patIndex) &&
           visit.number("svcType", program.serviceType) && visit.number("referencePID", program.pmtPid) &&
           visit.number("pidCount", program.pidCount) && visit.rate("pgmRate", program.rateBitPerSecond) &&
           visit.number("caFlag", program.freeCaMode) && visit.number("allScrambled", program.allScrambled) &&
           visit.text("svcProvider", program.provider) && visit.text("svcName", program.name);
}

template <typename Visitor>
bool describe(Visitor& visit, ProgramList& list) {
    return visit.number("svcCount", list.serviceCount) && visit.number("derived", list.derived) &&
           visit.rate("aggStreamRate", list.rateBitPerSecond) &&
           visit.number("scrambledCount", list.scrambledCount) && visit.list("pgms", list.programs);
}

// The elements of a program detail, behind the "pidType" that tells them apart.

template <typename Visitor>
bool describe(Visitor& visit, PmtElement& pmt) {
    return visit.number("pidNum", pmt.pid) && visit.number("pgmNum", pmt.programNumber);
}

template <typename Visitor>
bool describe(Visitor& visit, VideoElement& video) {
    return visit.number("pidNum", video.pid) && visit.word("videoType", video.coding) &&
           visit.word("entropy", video.entropyCoding) && visit.number("horizRes", video.widthPixels) &&
           visit.number("vertRes", video.heightLines) && visit.decimal("pictRate", video.picturesPerSecond) &&
           visit.word("aspectRatio", video.aspectRatio) && visit.word("profile", video.profile) &&
           visit.number("level", video.level) && visit.word("scrambled", video.scrambling);
}

template <typename Visitor>
bool describe(Visitor& visit, AudioElement& audio) {
    return visit.number("pidNum", audio.pid) && visit.word("audioType", audio.coding) &&
           visit.text("language", audio.language) && visit.bitRate("bitRate", audio.bitRateBitPerSecond) &&
           visit.sampleRate("sampleRate", audio.sampleRateHertz) && visit.word("mode", audio.mode) &&
           visit.word("scrambled", audio.scrambling);
}

template <typename Visitor>
bool describe(Visitor& visit, PidElement& element) {
    return visit.number("pidNum", element.pid);
}

template <typename Visitor>
bool describe(Visitor& visit, ProgramDetail& detail) {
    return visit.number("pidCount", detail.pidCount) && visit.elements("details", [&](auto& part) {
        return part.element("PMT", detail.pmt) && part.optionalElement("VIDEO", detail.video) &&
               part.manyElements("AUDIO", detail.audio) && part.manyElements("PRIVATE", detail.privateData) &&
               part.manyElements("ECM", detail.ecm);
    });
}

template <typename Visitor>
bool describe(Visitor& visit, PatProgram& program) {
    return visit.number("pgmNum", program.programNumber) && visit.number("referencePID", program.pmtPid);
}

template <typename Visitor>
bool describe(Visitor& visit, Pat& pat) {
    return visit.number("pgms", pat.programCount) && visit.rate("pidRate", pat.rateBitPerSecond) &&
           visit.list("details", pat.programs);
}

template <typename Visitor>
bool describe(Visitor& visit, CaSystem& system) {
    return visit.hex("systemID", system.systemId) && visit.number("pidNum", system.emmPid);
}

template <typename Visitor>
bool describe(Visitor& visit, Cat& cat) {
    return visit.number("pidCount", cat.systemCount) && visit.hex("tableID", cat.tableId) &&
           visit.rate("pidRate", cat.rateBitPerSecond) && visit.list("details", cat.systems, "noServices");
}

template <typename Visitor>
bool describe(Visitor& visit, NetworkDescriptor& descriptor) {
    return visit.hex("descriptorType", descriptor.tag) && visit.text("descriptors", descriptor.text);
}

template <typename Visitor>
bool describe(Visitor& visit, Nit& nit) {
    return visit.number("descriptorCount", nit.descriptorCount) && visit.hex("tableID", nit.tableId) &&
           visit.hex("netID", nit.networkId) && visit.hex("streamID", nit.transportStreamId) &&
           visit.hex("origNetID", nit.originalNetworkId) && describe(visit, nit.network) &&
           visit.rate("pidRate", nit.rateBitPerSecond) &&
           visit.list("details", nit.descriptors, "noServices");
}

template <typename Visitor>
bool describe(Visitor& visit, Service& service) {
    return visit.text("svcName", service.name) && visit.text("svcProvider", service.provider) &&
           visit.word("caFlag", service.freeCaMode);
}

template <typename Visitor>
bool describe(Visitor& visit, Sdt& sdt) {
    return visit.number("pgms", sdt.serviceCount) && visit.hex("tableID", sdt.tableId) &&
           visit.hex("systemID", sdt.transportStreamId) && visit.hex("netID", sdt.originalNetworkId) &&
           visit.rate("pidRate", sdt.rateBitPerSecond) && visit.word("sdtData", sdt.source) &&
           visit.list("details", sdt.services, "noServices");
}

template <typename Visitor>
bool describe(Visitor& visit, Event& event) {
    return visit.hex("eventID", event.eventId) && visit.number("Date:MJD", event.dateMjd) &&
           visit.text("TOD", event.startTime) && visit.text("duration", event.duration) &&
           visit.text("language", event.language) && visit.text("event", event.name) &&
           visit.text("description", event.description);
}

template <typename Visitor>
bool describe(Visitor& visit, Eit& eit) {
    return visit.number("eventCount", eit.eventCount) && visit.hex("tableID", eit.tableId) &&
           visit.hex("netID", eit.originalNetworkId) && visit.hex("pgmNum", eit.serviceId) &&
           visit.hex("systemID", eit.transportStreamId) && visit.rate("pidRate", eit.rateBitPerSecond) &&
           visit.list("details", eit.events, "NoEvents");
}

template <typename Visitor>
bool describe(Visitor& visit, Tdt& tdt) {
    return visit.hex("tableID", tdt.tableId) && visit.number("Date:MJD", tdt.dateMjd) &&
           visit.text("TOD", tdt.timeOfDay) && visit.rate("pidRate", tdt.rateBitPerSecond);
}

} // namespace manager::shape
