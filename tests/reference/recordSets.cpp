#include "recordSets.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>
#include <vector>

namespace reference {
namespace {

using namespace wire;
using std::size;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr std::array extremeRates{
    0.0F,       -0.0F,  1.0F,   -1.0F,    999.9996F, 1000.0F,  200000.0F, 200000.02F, 1000000.0F, 1000000.1F,
    1234567.0F, 4.2e9F, 1e-40F, -3.4e38F, 3.4e38F,   infinity, -infinity, notANumber, -notANumber};
constexpr std::array<std::uint16_t, 14> extremeCounts{0, 1, 2, 6, 7, 10, 12, 13, 59, 60, 61, 256, 257, 65535};

std::uint16_t u16(unsigned value) {
    return static_cast<std::uint16_t>(value);
}

std::uint8_t u8(unsigned value) {
    return static_cast<std::uint8_t>(value);
}

void fillWithNoise(RecordSet& set, Random& random) {
    auto* bytes = reinterpret_cast<unsigned char*>(&set);
    for (std::size_t at = 0; at < sizeof set; at += sizeof(std::uint64_t)) {
        const std::uint64_t noise = random.bits();
        std::memcpy(bytes + at, &noise, std::min(sizeof noise, sizeof set - at));
    }
}

// From 0 to about 20 Mbit/s, small rates as likely as large ones.
float plausibleRate(Random& random) {
    return random.oneIn(8) ? 0.0F
                           : static_cast<float>(random.below(20000)) *
                                 std::pow(10.0F, static_cast<float>(random.below(4)));
}

float extremeRate(Random& random) {
    return extremeRates[random.below(size(extremeRates))];
}

// Any characters but zero, quotation marks and UTF-8 bytes among them.
template <std::size_t width>
void fillText(char (&field)[width], Random& random, std::size_t length) {
    for (std::size_t i = 0; i < width; ++i) {
        field[i] = static_cast<char>(i < length ? 1 + random.below(255) : 0);
    }
}

template <std::size_t width>
void fillTerminatedText(char (&field)[width], Random& random) {
    fillText(field, random, random.below(width));
}

// The PIDs of one stream, each handed out once.
class PidSource {
  public:
    explicit PidSource(Random& random) : next(random.below(range)), step(1 + random.below(40)) {}

    std::uint16_t take() {
        next = (next + step) % range;
        pids.push_back(u16(32 + next));
        return pids.back();
    }
    void list(std::uint16_t pid) {
        pids.push_back(pid);
    }
    bool full() const {
        return pids.size() > maxPidStats - mostOfOneProgram - mostOfNoProgram;
    }
    std::vector<std::uint16_t>& listed() {
        return pids;
    }

  private:
    static constexpr unsigned range = 8191 - 32; // prime to every step
    static constexpr unsigned mostOfOneProgram = 3 + maxAudioTracks + maxPrivatePids + maxEcmPids;
    static constexpr unsigned mostOfNoProgram = maxCaEntries + 13;
    unsigned next;
    unsigned step;
    std::vector<std::uint16_t> pids;
};

void fillTrack(PmtEntry& pmt, AvPgmEntry& av, unsigned t, PidSource& pids, Random& random) {
    av.audio[t].pid = pmt.audioPids[t] = pids.take();
    av.audio[t].bitRateIndex = u8(random.below(15));
    av.audio[t].sampleRateIndex = u8(random.below(3));
    av.audio[t].modeIndex = u8(random.below(4));
    av.audio[t].scrambled = u16(random.below(2));
    pmt.audioCodings[t] = u16(random.below(6));
    fillText(pmt.audioLanguages[t], random, 3);
}

void fillVideo(PmtEntry& pmt, AvPgmEntry& av, PidSource& pids, Random& random) {
    pmt.videoPid = av.videoPid = random.oneIn(8) ? u16(0) : pids.take();
    pmt.videoStreamType = random.oneIn(3) ? u16(2) : u16(27);
    av.horizRes = u16(random.below(1921));
    av.vertRes = u16(random.below(1081));
    av.pictRate = static_cast<float>(random.below(6000)) / 100.0F;
    av.entropyFlag = random.below(2);
    av.aspectRatio = u16(random.below(17));
    av.profile = std::array{0U, 66U, 77U, 88U, 100U}[random.below(5)];
    av.level = random.below(60);
    av.videoScrambled = u16(random.below(2));
    pmt.pcrPid = av.videoPid != 0 && !random.oneIn(4) ? av.videoPid : pids.take();
}

void fillProgram(PmtEntry& pmt, AvPgmEntry& av, ProgramEntry program, PidSource& pids, Random& random) {
    pmt.pgmNum = av.pgmNum = program.pgmNum;
    pmt.pmtPid = av.pmtPid = program.pmtPid;
    fillVideo(pmt, av, pids, random);
    pmt.audioCount = av.audioCount = u16(random.below(random.oneIn(8) ? 13 : 4));
    for (unsigned t = 0; t < av.audioCount; ++t) {
        fillTrack(pmt, av, t, pids, random);
    }
    pmt.privateCount = av.privateCount = u16(random.below(random.oneIn(8) ? 13 : 3));
    for (unsigned p = 0; p < av.privateCount; ++p) {
        av.privatePids[p].pid = pmt.pvtPids[p] = pids.take();
    }
    pmt.ecmCount = u16(random.below(random.oneIn(8) ? 7 : 2));
    for (unsigned e = 0; e < pmt.ecmCount; ++e) {
        pmt.ecmPids[e] = random.oneIn(6) ? program.pmtPid : pids.take();
    }
    av.allScrambled = u16(random.oneIn(3) ? 1 : 0);
}

void fillPrograms(RecordSet& set, PidSource& pids, Random& random) {
    const unsigned wanted = random.below(random.oneIn(8) ? maxPmtSlots + 1 : 9);
    unsigned count = 0;
    if (wanted > 0 && random.oneIn(2)) {
        const ProgramEntry network{0, nitPid};
        set.pat.programs[count] = network;
        set.pmt.slots[count].pgmNum = set.avPgm.slots[count].pgmNum = 0;
        ++count;
    }
    for (; count < wanted && !pids.full(); ++count) {
        const ProgramEntry program{u16(1 + count), pids.take()};
        set.pat.programs[count] = program;
        fillProgram(set.pmt.slots[count], set.avPgm.slots[count], program, pids, random);
    }
    set.pat.programCount = static_cast<std::int32_t>(count);
    set.pat.sectionProgramCount = u16(count);
    std::copy_n(set.pat.programs, count, set.pat.sectionPrograms);
}

void fillCat(CatRecord& cat, PidSource& pids, Random& random) {
    cat.caCount = u16(random.below(random.oneIn(4) ? maxCaEntries + 1 : 2));
    for (unsigned k = 0; k < cat.caCount; ++k) {
        cat.caEntries[k] = {u16(random.below(65536)), pids.take()};
    }
}

// PSI and SI, null packets, and a few PIDs that no table names.
void listFurtherPids(PidSource& pids, Random& random) {
    pids.list(patPid);
    for (const std::uint16_t pid :
         {catPid, nitPid, sdtPid, eitPid, tdtPid, nullPid, u16(2), u16(30), u16(31)}) {
        if (!random.oneIn(3)) {
            pids.list(pid);
        }
    }
    for (unsigned unknown = random.below(4); unknown > 0; --unknown) {
        pids.take();
    }
}

// In an order of the parser's, with the three bits above a PID as they come.
void fillPidList(RecordSet& set, std::vector<std::uint16_t>& pids, Random& random) {
    for (std::size_t i = pids.size() - 1; i > 0; --i) {
        std::swap(pids[i], pids[random.below(static_cast<unsigned>(i) + 1)]);
    }
    if (random.oneIn(2)) {
        std::ranges::sort(pids);
    }
    set.pat.pidListCount = u16(static_cast<unsigned>(pids.size()));
    for (std::size_t i = 0; i < pids.size(); ++i) {
        set.pat.pidList[i] = u16(pids[i] | (random.oneIn(4) ? random.below(8) << 13 : 0));
        set.tsStatus.pidStats[i].rate = plausibleRate(random);
    }
}

void fillSdt(RecordSet& set, Random& random) {
    const unsigned first = set.pat.programs[0].pgmNum == 0 ? 1 : 0;
    const unsigned programs = static_cast<unsigned>(set.pat.programCount);
    set.sdt.actual = u16(random.below(3));
    set.sdt.serviceCount = u16(programs > first ? programs - first : 0);
    for (unsigned k = 0; k < set.sdt.serviceCount; ++k) {
        SdtService& service = set.sdt.services[k];
        service.serviceId = set.pat.programs[first + k].pgmNum;
        service.pmtPid = set.pat.programs[first + k].pmtPid;
        service.caFlag = u8(random.below(2));
        service.patIndex = u8(first + k);
        fillTerminatedText(service.providerName, random);
        fillTerminatedText(service.serviceName, random);
    }
}

void fillNit(NitRecord& nit, Random& random) {
    fillTerminatedText(nit.descriptorText, random);
    nit.descriptorCount = u16(random.below(maxNitDescriptors + 1));
    for (unsigned k = 0; k < nit.descriptorCount; ++k) {
        fillTerminatedText(nit.descriptorEntries[k].descriptorText, random);
    }
}

void fillEit(EitRecord& eit, Random& random) {
    eit.eventCount = u16(random.below(random.oneIn(8) ? maxEvents + 1 : 4));
    for (unsigned k = 0; k < eit.eventCount; ++k) {
        EitEvent& event = eit.events[k];
        fillTerminatedText(event.startTime, random);
        fillTerminatedText(event.duration, random);
        fillTerminatedText(event.language, random);
        fillTerminatedText(event.eventName, random);
        fillTerminatedText(event.description, random);
    }
}

std::uint16_t extremeCount(Random& random) {
    return extremeCounts[random.below(size(extremeCounts))];
}

std::int32_t extremeProgramCount(Random& random) {
    switch (random.below(4)) {
    case 0:
        return static_cast<std::int32_t>(random.bits());
    case 1:
        return std::numeric_limits<std::int32_t>::max();
    default:
        return static_cast<std::int32_t>(random.below(64)) - 2;
    }
}

void spoilCounts(RecordSet& set, Random& random) {
    set.pat.programCount = extremeProgramCount(random);
    for (std::uint16_t* count : {&set.pat.sectionProgramCount, &set.pat.pidListCount, &set.sdt.serviceCount,
                                 &set.cat.caCount, &set.nit.descriptorCount, &set.eit.eventCount}) {
        *count = random.oneIn(8) ? u16(random.below(65536)) : extremeCount(random);
    }
    for (PmtEntry& pmt : set.pmt.slots) {
        pmt.audioCount = extremeCount(random);
        pmt.privateCount = extremeCount(random);
        pmt.ecmCount = extremeCount(random);
    }
    for (AvPgmEntry& av : set.avPgm.slots) {
        av.audioCount = extremeCount(random);
        av.privateCount = extremeCount(random);
    }
}

// A few words anywhere, and now and then a count.
void spoilSomething(RecordSet& set, Random& random) {
    auto* bytes = reinterpret_cast<unsigned char*>(&set);
    for (unsigned word = random.below(60); word > 0; --word) {
        const std::uint16_t value = random.oneIn(2) ? extremeCount(random) : u16(random.below(65536));
        std::memcpy(bytes + 2 * random.below(sizeof set / 2), &value, sizeof value);
    }
    if (random.oneIn(4)) {
        spoilCounts(set, random);
    }
}

// Few enough PIDs and program numbers that every lookup finds something, and often the wrong thing.
void collide(RecordSet& set, Random& random) {
    const auto pid = [&] {
        return random.oneIn(16) ? nullPid : u16(random.below(random.oneIn(2) ? 36 : 200));
    };
    const auto programNumber = [&] { return u16(random.below(8)); };
    for (std::uint16_t& listed : set.pat.pidList) {
        listed = pid();
    }
    for (unsigned k = 0; k < maxPrograms; ++k) {
        set.pat.programs[k] = {programNumber(), pid()};
        set.pat.sectionPrograms[k] = {programNumber(), pid()};
        AvPgmEntry& av = set.avPgm.slots[k];
        av.pgmNum = programNumber();
        av.pmtPid = pid();
        av.videoPid = pid();
        av.audioCount = u16(random.below(13));
        for (AvAudioTrack& track : av.audio) {
            track.pid = pid();
        }
        for (AvPrivatePid& entry : av.privatePids) {
            entry.pid = pid();
        }
    }
    for (PmtEntry& pmt : set.pmt.slots) {
        pmt.pgmNum = programNumber();
        pmt.pmtPid = pid();
        pmt.pcrPid = pid();
        pmt.audioCount = u16(random.below(3));
        pmt.privateCount = u16(random.below(3));
        pmt.ecmCount = u16(random.below(3));
        std::ranges::generate(pmt.ecmPids, pid);
    }
    for (CaEntry& entry : set.cat.caEntries) {
        entry.caPid = pid();
    }
    for (PidStatEntry& entry : set.tsStatus.pidStats) {
        entry.rate = plausibleRate(random);
    }
    set.pat.pidListCount = u16(random.below(257));
    set.pat.programCount = static_cast<std::int32_t>(random.below(20));
    set.pat.sectionProgramCount = u16(random.below(64));
    set.cat.caCount = u16(random.below(11));
    set.sdt.actual = u16(random.below(3));
}

template <std::size_t width>
void fillWholeText(char (&field)[width], Random& random) {
    fillText(field, random, width);
}

void takeToExtremes(RecordSet& set, Random& random) {
    spoilCounts(set, random);
    for (PidStatEntry& entry : set.tsStatus.pidStats) {
        entry.rate = extremeRate(random);
    }
    set.tsStatus.absentPidRate = extremeRate(random);
    for (SdtService& service : set.sdt.services) {
        fillWholeText(service.providerName, random);
        fillWholeText(service.serviceName, random);
    }
    for (AvPgmEntry& av : set.avPgm.slots) {
        av.pictRate = extremeRate(random);
    }
    for (PmtEntry& pmt : set.pmt.slots) {
        fillWholeText(pmt.audioLanguages[random.below(maxAudioTracks)], random);
    }
    fillWholeText(set.nit.descriptorText, random);
    for (NitDescriptor& entry : set.nit.descriptorEntries) {
        fillWholeText(entry.descriptorText, random);
    }
    for (EitEvent& event : set.eit.events) {
        fillWholeText(event.startTime, random);
        fillWholeText(event.duration, random);
        fillWholeText(event.language, random);
        fillWholeText(event.eventName, random);
        fillWholeText(event.description, random);
    }
    fillWholeText(set.tdt.timeOfDay, random);
}

} // namespace

void fillConsistently(RecordSet& set, Random& random) {
    fillWithNoise(set, random);
    PidSource pids(random);
    fillPrograms(set, pids, random);
    fillCat(set.cat, pids, random);
    listFurtherPids(pids, random);
    fillPidList(set, pids.listed(), random);
    set.tsStatus.absentPidRate = plausibleRate(random);
    fillSdt(set, random);
    fillNit(set.nit, random);
    fillEit(set.eit, random);
    fillTerminatedText(set.tdt.timeOfDay, random);
}

void fillInconsistently(RecordSet& set, Random& random) {
    switch (random.below(4)) {
    case 0:
        fillWithNoise(set, random);
        break;
    case 1:
        fillConsistently(set, random);
        spoilSomething(set, random);
        break;
    case 2:
        fillWithNoise(set, random);
        collide(set, random);
        break;
    default:
        fillConsistently(set, random);
        takeToExtremes(set, random);
        break;
    }
}

} // namespace reference
