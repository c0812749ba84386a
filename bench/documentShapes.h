// What each document says, told once to any writer. The peers of documentsBench all write these; the
// service's own builders are compared with them.
//
// A writer has
//   beginDocument(name), endDocument()
//   beginList(key), beginEntry(), endEntry(), endList()
//   number, hex, rate, kilobits, picture, text (key, value)
#pragma once

#include "documents/codedValues.h"
#include "model/pidTable.h"
#include "serviceNames.h"
#include "support/boundedText.h"
#include "wire/records.h"

#include <string_view>

// A key in the forms in which peers need it: by itself, and as the piece that opens the first or a further
// member.
struct Key {
    const char* name;
    const char* first;
    const char* further;
};
#define KEY(name)                                                                                            \
    Key {                                                                                                    \
        name, "\"" name "\":\"", ",\"" name "\":\""                                                          \
    }

template <typename Writer>
void writePidList(Writer& out, int count, float aggRate) {
    out.beginDocument("pidData");
    out.number(KEY("pidCount"), count);
    out.rate(KEY("aggStreamRate"), aggRate);
    out.beginList("pids");
    for (int i = 0; i < count; ++i) {
        const PidEntry& entry = pidTable[i];
        out.beginEntry();
        out.number(KEY("patIndex"), entry.patIndex);
        out.number(KEY("pidOrder"), entry.pidOrder);
        out.number(KEY("pidNum"), entry.pidNum);
        out.number(KEY("pidType"), entry.pidType);
        out.number(KEY("referencePID"), entry.referencePID);
        out.number(KEY("pgmNum"), entry.pgmNum);
        out.rate(KEY("pidRate"), entry.pidRate);
        out.number(KEY("scrambled"), entry.scrambled);
        out.text(KEY("description"), entry.description);
        out.endEntry();
    }
    out.endList();
    out.endDocument();
}

template <typename Writer>
void writePgmList(Writer& out, const SdtRecord& sdt) {
    out.beginDocument("pgmData");
    out.number(KEY("svcCount"), sdt.serviceCount);
    out.number(KEY("derived"), sdt.actual);
    out.rate(KEY("aggStreamRate"), sdt.aggregateRate);
    out.number(KEY("scrambledCount"), sdt.scrambledCount);
    out.beginList("pgms");
    for (int k = 0; k < sdt.serviceCount; ++k) {
        const SdtService& service = sdt.services[k];
        out.beginEntry();
        out.number(KEY("pgmNum"), service.serviceId);
        out.number(KEY("patIndex"), service.patIndex);
        out.number(KEY("svcType"), service.serviceType);
        out.number(KEY("referencePID"), service.pmtPid);
        out.number(KEY("pidCount"), service.pidCount);
        out.rate(KEY("pgmRate"), service.rate);
        out.number(KEY("caFlag"), service.caFlag);
        out.number(KEY("allScrambled"), service.allScrambled);
        out.text(KEY("svcProvider"), service.providerName);
        out.text(KEY("svcName"), service.serviceName);
        out.endEntry();
    }
    out.endList();
    out.endDocument();
}

// A program with video and audio, so that the commas between its blocks are regular but for the private
// one's.
template <typename Writer>
void writePgmDetail(Writer& out, const PmtEntry& pmt, const AvPgmEntry& av) {
    const auto named = [&](const Key& key, std::string_view name) { out.text(key, name.data()); };
    out.beginDocument("pgmDetail");
    out.number(KEY("pidCount"), 1 + av.audioCount);
    out.beginList("details");
    out.beginEntry();
    out.text(KEY("pidType"), "PMT");
    out.number(KEY("pidNum"), pmt.pmtPid);
    out.number(KEY("pgmNum"), pmt.pgmNum);
    out.endEntry();
    out.beginEntry();
    out.text(KEY("pidType"), "VIDEO");
    out.number(KEY("pidNum"), pmt.videoPid);
    named(KEY("videoType"), nameOf(videoTypeNames, pmt.videoStreamType, "UnkVidTyp"));
    named(KEY("entropy"), nameOf(entropyNames, av.entropyFlag));
    out.number(KEY("horizRes"), av.horizRes);
    out.number(KEY("vertRes"), av.vertRes);
    out.picture(KEY("pictRate"), av.pictRate);
    named(KEY("aspectRatio"), nameOf(aspectRatioNames, av.aspectRatio));
    out.number(KEY("profile"), static_cast<int>(av.profile));
    out.number(KEY("level"), static_cast<int>(av.level));
    named(KEY("scrambled"), nameOf(scramblingNames, av.videoScrambled));
    out.endEntry();
    for (int t = 0; t < av.audioCount; ++t) {
        out.beginEntry();
        out.text(KEY("pidType"), "AUDIO");
        out.number(KEY("pidNum"), pmt.audioPids[t]);
        named(KEY("audioType"), nameOf(audioTypeNames, pmt.audioCodings[t]));
        out.text(KEY("language"), pmt.audioLanguages[t]);
        named(KEY("bitRate"), nameOf(audioBitRateNames, av.audio[t].bitRateIndex));
        named(KEY("sampleRate"), nameOf(audioSampleRateNames, av.audio[t].sampleRateIndex));
        named(KEY("mode"), nameOf(audioModeNames, av.audio[t].modeIndex));
        named(KEY("scrambled"), nameOf(scramblingNames, av.audio[t].scrambled));
        out.endEntry();
    }
    const auto barePids = [&](const char* type, const std::uint16_t* pids, int count) {
        for (int k = 0; k < count; ++k) {
            out.beginEntry();
            out.text(KEY("pidType"), type);
            out.number(KEY("pidNum"), pids[k]);
            out.endEntry();
        }
    };
    barePids("PRIVATE", pmt.pvtPids, av.privateCount);
    barePids("ECM", pmt.ecmPids, pmt.ecmCount);
    out.endList();
    out.endDocument();
}

template <typename Writer>
void writePat(Writer& out, const PatRecord& pat) {
    out.beginDocument("PAT");
    out.number(KEY("pgms"), pat.programCount);
    out.kilobits(KEY("pidRate"), pat.pidRate);
    out.beginList("details");
    for (int k = 0; k < pat.programCount; ++k) {
        out.beginEntry();
        out.number(KEY("pgmNum"), pat.programs[k].pgmNum);
        out.number(KEY("referencePID"), pat.programs[k].pmtPid);
        out.endEntry();
    }
    out.endList();
    out.endDocument();
}

template <typename Writer>
void writeCat(Writer& out, const CatRecord& cat) {
    out.beginDocument("CAT");
    out.number(KEY("pidCount"), cat.caCount);
    out.hex(KEY("tableID"), cat.tableId);
    out.kilobits(KEY("pidRate"), cat.pidRate);
    out.beginList("details");
    for (int k = 0; k < cat.caCount; ++k) {
        out.beginEntry();
        out.hex(KEY("systemID"), cat.caEntries[k].caSystemId);
        out.number(KEY("pidNum"), cat.caEntries[k].caPid);
        out.endEntry();
    }
    out.endList();
    out.endDocument();
}

template <typename Writer>
void writeNit(Writer& out, const NitRecord& nit) {
    out.beginDocument("NIT");
    out.number(KEY("descriptorCount"), nit.descriptorCount);
    out.hex(KEY("tableID"), nit.tableId);
    out.hex(KEY("netID"), nit.networkId);
    out.hex(KEY("streamID"), nit.transportStreamId);
    out.hex(KEY("origNetID"), nit.originalNetworkId);
    out.hex(KEY("descriptorType"), nit.descriptorType);
    out.text(KEY("descriptors"), nit.descriptorText);
    out.kilobits(KEY("pidRate"), nit.pidRate);
    out.beginList("details");
    for (int k = 0; k < nit.descriptorCount; ++k) {
        out.beginEntry();
        out.hex(KEY("descriptorType"), nit.descriptorEntries[k].descriptorType);
        out.text(KEY("descriptors"), nit.descriptorEntries[k].descriptorText);
        out.endEntry();
    }
    out.endList();
    out.endDocument();
}

template <typename Writer>
void writeSdt(Writer& out, const SdtRecord& sdt) {
    out.beginDocument("SDT");
    out.number(KEY("pgms"), sdt.serviceCount);
    out.hex(KEY("tableID"), sdt.tableId);
    out.hex(KEY("systemID"), sdt.transportStreamId);
    out.hex(KEY("netID"), sdt.originalNetworkId);
    out.kilobits(KEY("pidRate"), sdt.pidRate);
    out.text(KEY("sdtData"), sdt.actual != 0 ? "Actual" : "Derived");
    out.beginList("details");
    for (int k = 0; k < sdt.serviceCount; ++k) {
        const SdtService& service = sdt.services[k];
        out.beginEntry();
        out.text(KEY("svcName"), service.serviceName);
        out.text(KEY("svcProvider"), service.providerName);
        out.text(KEY("caFlag"), service.caFlag == 0 ? "Clear" : "Set");
        out.endEntry();
    }
    out.endList();
    out.endDocument();
}

template <typename Writer>
void writeEit(Writer& out, const EitRecord& eit) {
    out.beginDocument("EIT");
    out.number(KEY("eventCount"), eit.eventCount);
    out.hex(KEY("tableID"), eit.tableId);
    out.hex(KEY("netID"), eit.originalNetworkId);
    out.hex(KEY("pgmNum"), eit.serviceId);
    out.hex(KEY("systemID"), eit.transportStreamId);
    out.kilobits(KEY("pidRate"), eit.pidRate);
    out.beginList("details");
    for (int k = 0; k < eit.eventCount; ++k) {
        const EitEvent& event = eit.events[k];
        out.beginEntry();
        out.hex(KEY("eventID"), event.eventId);
        out.number(KEY("Date:MJD"), event.startDateMjd);
        out.text(KEY("TOD"), event.startTime);
        out.text(KEY("duration"), event.duration);
        out.text(KEY("language"), event.language);
        out.text(KEY("event"), event.eventName);
        out.text(KEY("description"), event.description);
        out.endEntry();
    }
    out.endList();
    out.endDocument();
}

template <typename Writer>
void writeTdt(Writer& out, const TdtRecord& tdt) {
    out.beginDocument("TDT");
    out.hex(KEY("tableID"), tdt.tableId);
    out.number(KEY("Date:MJD"), tdt.dateMjd);
    out.text(KEY("TOD"), tdt.timeOfDay);
    out.kilobits(KEY("pidRate"), tdt.pidRate);
    out.endDocument();
}
