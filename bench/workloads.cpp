#include "workloads.h"

#include "feed/recordStore.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

constexpr std::uint16_t firstPmtPid = 0x100;
constexpr std::uint16_t pidsPerProgram = 64;
constexpr std::uint16_t mjd = 60000; // of the EIT and the TDT

std::uint16_t componentPid(int program, int component) {
    return static_cast<std::uint16_t>(firstPmtPid + program * pidsPerProgram + component);
}

template <std::size_t width>
void setText(char (&field)[width], const char* format, int number) {
    std::snprintf(field, sizeof field, format, number);
}

// Appends a PID to the list while there is room for it and the null PID.
void listPid(const StreamShape& shape, std::uint16_t pid) {
    PatRecord& pat = newestRecords.pat;
    if (pat.pidListCount < shape.pids - 1) {
        pat.pidList[pat.pidListCount++] = pid;
    }
}

void loadProgram(const StreamShape& shape, int patIndex) {
    PmtEntry& pmt = newestRecords.pmt.slots[patIndex];
    AvPgmEntry& av = newestRecords.avPgm.slots[patIndex];
    int component = 0;
    const auto nextPid = [&] {
        const std::uint16_t pid = componentPid(patIndex, component++);
        if (shape.listsComponents) {
            listPid(shape, pid);
        }
        return pid;
    };
    pmt.pgmNum = av.pgmNum = static_cast<std::uint16_t>(1000 + patIndex);
    pmt.pmtPid = av.pmtPid = nextPid();
    pmt.videoPid = av.videoPid = pmt.pcrPid = nextPid();
    pmt.videoStreamType = 27;
    pmt.audioCount = av.audioCount = static_cast<std::uint16_t>(shape.audioTracks);
    for (int t = 0; t < shape.audioTracks; ++t) {
        pmt.audioPids[t] = av.audio[t].pid = nextPid();
        pmt.audioCodings[t] = 3;
        av.audio[t].bitRateIndex = 10;
        av.audio[t].sampleRateIndex = 1;
        std::strcpy(pmt.audioLanguages[t], "eng");
    }
    pmt.privateCount = av.privateCount = static_cast<std::uint16_t>(shape.privatePids);
    for (int p = 0; p < shape.privatePids; ++p) {
        pmt.pvtPids[p] = av.privatePids[p].pid = nextPid();
    }
    pmt.ecmCount = static_cast<std::uint16_t>(shape.ecmPids);
    for (int e = 0; e < shape.ecmPids; ++e) {
        pmt.ecmPids[e] = nextPid();
    }
    av.horizRes = 1920;
    av.vertRes = 1080;
    av.pictRate = 25.0F;
    av.entropyFlag = 1;
    av.aspectRatio = 1;
    av.profile = 100;
    av.level = 40;
}

} // namespace

void loadStream(const StreamShape& shape) {
    newestRecords = {};
    PatRecord& pat = newestRecords.pat;
    for (const std::uint16_t pid : {patPid, catPid, nitPid, sdtPid, eitPid, tdtPid}) {
        listPid(shape, pid);
    }
    pat.programs[0] = {0, nitPid};
    const int first = shape.programs < maxPmtSlots ? 1 : 0;
    pat.programCount = first + std::max(shape.programs, 0);
    for (int patIndex = first; patIndex < pat.programCount; ++patIndex) {
        loadProgram(shape, patIndex);
        pat.programs[patIndex] = {newestRecords.pmt.slots[patIndex].pgmNum,
                                  newestRecords.pmt.slots[patIndex].pmtPid};
    }
    while (pat.pidListCount < shape.pids - 1) {
        pat.pidList[pat.pidListCount] = static_cast<std::uint16_t>(0x1800 + pat.pidListCount);
        ++pat.pidListCount;
    }
    pat.pidList[pat.pidListCount++] = nullPid;
    for (int position = 0; position < std::min(shape.pids, maxPidStats); ++position) {
        newestRecords.tsStatus.pidStats[position].rate = static_cast<float>(position * position) * 777.25F;
    }
    newestRecords.sdt.actual = 2; // a real SDT, which the collection leaves alone
    std::copy(std::begin(pat.programs), std::end(pat.programs), std::begin(pat.sectionPrograms));
    pat.sectionProgramCount = static_cast<std::uint16_t>(pat.programCount);
}

void loadFullTables() {
    loadStream({108, 20, 2, 1, 1, true});
    SdtRecord& sdt = newestRecords.sdt;
    sdt.tableId = 0x42;
    sdt.transportStreamId = 0x3f9;
    sdt.originalNetworkId = 0x2;
    sdt.serviceCount = maxServices;
    sdt.aggregateRate = 38014706.0F;
    for (int k = 0; k < maxServices; ++k) {
        SdtService& service = sdt.services[k];
        service.serviceId = static_cast<std::uint16_t>(1000 + k);
        service.serviceType = 1;
        service.pmtPid = componentPid(k, 0);
        service.pidCount = 3;
        service.patIndex = static_cast<std::uint8_t>(k);
        service.rate = static_cast<float>(k) * 61234.5F;
        setText(service.providerName, "Provider of service %d", k);
        setText(service.serviceName, "Service %d", k);
    }
    EitRecord& eit = newestRecords.eit;
    eit.tableId = 0x4e;
    eit.eventCount = maxEvents;
    for (int k = 0; k < maxEvents; ++k) {
        eit.events[k] = {static_cast<std::uint16_t>(4096 + k), mjd, "20:15:00", "01:30:00", "eng", "", ""};
        setText(eit.events[k].eventName, "Evening News, edition %d", k);
        setText(eit.events[k].description, "Headlines of day %d", k);
    }
    CatRecord& cat = newestRecords.cat;
    cat.tableId = 1;
    cat.caCount = maxCaEntries;
    for (int k = 0; k < maxCaEntries; ++k) {
        cat.caEntries[k] = {static_cast<std::uint16_t>(0x500 + k), static_cast<std::uint16_t>(1000 + k)};
    }
    NitRecord& nit = newestRecords.nit;
    nit.tableId = 0x40;
    nit.networkId = 0x3001;
    nit.descriptorType = 0x40;
    std::strcpy(nit.descriptorText, "Home Network");
    nit.descriptorCount = maxNitDescriptors;
    for (int k = 0; k < maxNitDescriptors; ++k) {
        nit.descriptorEntries[k].descriptorType = 0x41;
        setText(nit.descriptorEntries[k].descriptorText, "0x01F5/1 0x01F6/1 0x01F7/1 entry %d", k);
    }
    newestRecords.tdt = {{}, mjd, "12:34:56", 0x70, {}, 0.0F};
}

void loadFullPat() {
    loadFullTables();
    newestRecords.pat.programCount = maxPrograms;
    for (int k = 0; k < maxPrograms; ++k) {
        newestRecords.pat.programs[k] = {static_cast<std::uint16_t>(1000 + k), componentPid(k, 0)};
    }
}

std::vector<PublishedRecord> publishedNow(std::span<const Topic> wanted) {
    std::vector<PublishedRecord> records;
    for (const Topic& topic : wanted) {
        const char* record = reinterpret_cast<const char*>(&newestRecords) + topic.offset;
        records.push_back({&topic, {record, record + topic.size}});
    }
    return records;
}

std::vector<PublishedRecord> twoRotations(bool changing) {
    std::vector<PublishedRecord> records = publishedNow(topics);
    for (const auto& [topic, bytes] : publishedNow(topics)) {
        records.push_back({topic, bytes});
        char& last = records.back().bytes.back();
        last = static_cast<char>(last ^ (changing ? 1 : 0));
    }
    return records;
}
