// The nine records that the parser board publishes, as they lie on the wire: fixed-size little-endian
// byte images, received in place and read in place. Every layout is proved at the end of its struct.
//
// Field names follow ISO/IEC 13818-1 (PAT, CAT, PMT) and ETSI EN 300 468 (SDT, NIT, EIT, TDT). Rates are in
// bit/s. Text fields end at their first zero byte. Reserved bytes belong to the parser: they are carried,
// never read and never written.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace wire {

static_assert(std::endian::native == std::endian::little,
              "records are read in place, so byte order must match");
static_assert(sizeof(float) == 4, "rates are IEEE-754 singles");

// Extents of the arrays in the records. Counts that a record carries are clamped to these.
inline constexpr int maxPids = 256;          // PID list of the PAT record, and the PID table
inline constexpr int maxPidStats = 128;      // statistics entries of the TS-STATUS record
inline constexpr int maxPrograms = 60;       // program lists of the PAT record, slots of the AVPGM record
inline constexpr int maxPmtSlots = 59;       // slots of the PMT record, one fewer than AVPGM
inline constexpr int maxEcmPids = 6;         // ECM PIDs of one program
inline constexpr int maxAudioTracks = 12;    // audio streams of one program
inline constexpr int maxPrivatePids = 12;    // private-data streams of one program
inline constexpr int maxServices = 60;       // services of the SDT record
inline constexpr int maxCaEntries = 10;      // CA systems of the CAT record
inline constexpr int maxNitDescriptors = 10; // descriptor entries of the NIT record
inline constexpr int maxEvents = 60;         // events of the EIT record

inline constexpr std::uint16_t pidMask = 0x1FFF; // a PID is the low 13 bits of a PID list entry
inline constexpr std::uint16_t nullPid = 0x1FFF;

// Well-known PIDs of the PSI/SI tables (ISO/IEC 13818-1 table 2-3, ETSI EN 300 468 table 1).
inline constexpr std::uint16_t patPid = 0;
inline constexpr std::uint16_t catPid = 1;
inline constexpr std::uint16_t nitPid = 16;
inline constexpr std::uint16_t sdtPid = 17;
inline constexpr std::uint16_t eitPid = 18;
inline constexpr std::uint16_t tdtPid = 20;

// One line of a program association: program_number and the PID of its PMT. Program number 0 is the network
// entry, and its PID is the network PID.
struct ProgramEntry {
    std::uint16_t pgmNum;
    std::uint16_t pmtPid;
};
static_assert(sizeof(ProgramEntry) == 4);

// The PID list of the whole stream and the program association table.
struct PatRecord {
    std::uint16_t pidList[maxPids]; // every PID in the stream, in the parser's order; mask with pidMask
    std::uint8_t reserved512[40];
    std::int32_t programCount; // valid entries in programs, and in the PMT and AVPGM records
    std::uint8_t reserved556[4];
    ProgramEntry programs[maxPrograms];
    float pidRate; // written by the service: rate of PID 0
    std::uint8_t reserved804[36];
    std::uint16_t transportStreamId;
    std::uint8_t reserved842[6];
    std::uint16_t sectionProgramCount; // valid entries in sectionPrograms
    std::uint8_t reserved850[6];
    ProgramEntry sectionPrograms[maxPrograms]; // only the artificial SDT is made from this list
    std::uint8_t reserved1096[8];
    std::uint16_t pidListCount; // valid entries in pidList; 0: the parser has no stream
    std::uint8_t reserved1106[2];
    std::int32_t newStreamFlag; // newStreamMark: the parser has just started on a new stream
    std::uint8_t reserved1112[128];
};
inline constexpr std::int32_t newStreamMark = -31;
static_assert(sizeof(PatRecord) == 1240);
static_assert(offsetof(PatRecord, pidList) == 0);
static_assert(offsetof(PatRecord, programCount) == 552);
static_assert(offsetof(PatRecord, programs) == 560);
static_assert(offsetof(PatRecord, pidRate) == 800);
static_assert(offsetof(PatRecord, transportStreamId) == 840);
static_assert(offsetof(PatRecord, sectionProgramCount) == 848);
static_assert(offsetof(PatRecord, sectionPrograms) == 856);
static_assert(offsetof(PatRecord, pidListCount) == 1104);
static_assert(offsetof(PatRecord, newStreamFlag) == 1108);

// The program map of one program. Its program index is its slot in the PMT record.
struct PmtEntry {
    std::uint8_t reserved0[10];
    std::uint16_t pgmNum;
    std::uint16_t pmtPid;
    std::uint16_t pcrPid;
    std::uint8_t reserved16[4];
    std::uint16_t ecmCount;
    std::uint16_t ecmPids[maxEcmPids];
    std::uint16_t videoPid;
    std::uint16_t videoStreamType; // stream_type: 27 H.264, 2 MPEG-2 video
    std::uint8_t reserved38[6];
    std::uint16_t audioCount;
    std::uint8_t reserved46[2];
    std::uint16_t audioPids[maxAudioTracks];
    std::uint16_t audioCodings[maxAudioTracks]; // 0 unknown, 1 AAC, 2 AC-3, 3 MPEG-1, 4 MPEG-2, 5 HE-AAC
    std::uint8_t reserved96[28];
    std::uint16_t privateCount;
    std::uint8_t reserved126[2];
    std::uint16_t pvtPids[maxPrivatePids];
    std::uint8_t reserved152[56];
    char audioLanguages[maxAudioTracks][4]; // ISO 639-2 code
    std::uint8_t reserved256[208];
};
static_assert(sizeof(PmtEntry) == 464);
static_assert(offsetof(PmtEntry, pgmNum) == 10);
static_assert(offsetof(PmtEntry, pmtPid) == 12);
static_assert(offsetof(PmtEntry, pcrPid) == 14);
static_assert(offsetof(PmtEntry, ecmCount) == 20);
static_assert(offsetof(PmtEntry, ecmPids) == 22);
static_assert(offsetof(PmtEntry, videoPid) == 34);
static_assert(offsetof(PmtEntry, videoStreamType) == 36);
static_assert(offsetof(PmtEntry, audioCount) == 44);
static_assert(offsetof(PmtEntry, audioPids) == 48);
static_assert(offsetof(PmtEntry, audioCodings) == 72);
static_assert(offsetof(PmtEntry, privateCount) == 124);
static_assert(offsetof(PmtEntry, pvtPids) == 128);
static_assert(offsetof(PmtEntry, audioLanguages) == 208);

// How many slots are valid is the PAT record's programCount.
struct PmtRecord {
    PmtEntry slots[maxPmtSlots];
};
static_assert(sizeof(PmtRecord) == 27376);

struct PidStatEntry {
    std::uint8_t reserved0[8];
    float rate; // the service writes 0 over that of a private PID above 200000 bit/s
    std::uint8_t reserved12[4];
};
static_assert(sizeof(PidStatEntry) == 16);
static_assert(offsetof(PidStatEntry, rate) == 8);

// Statistics of each PID, at the PID's place in the PAT record's PID list.
struct TsStatusRecord {
    std::uint8_t reserved0[248];
    float absentPidRate; // what a PID that is not in the list is shown with; the parser's bytes, whatever
                         // they hold
    std::uint8_t reserved252[4];
    PidStatEntry pidStats[maxPidStats];
    std::uint8_t reserved2304[4];
};
static_assert(sizeof(TsStatusRecord) == 2308);
static_assert(offsetof(TsStatusRecord, absentPidRate) == 248);
static_assert(offsetof(TsStatusRecord, pidStats) == 256);

struct AvAudioTrack {
    std::uint8_t reserved0[8];
    std::uint16_t pid;
    std::uint8_t reserved10[3];
    std::uint8_t bitRateIndex;    // bitrate_index of the MPEG audio header, 0 to 14
    std::uint8_t sampleRateIndex; // sampling_frequency of the MPEG audio header, 0 to 2
    std::uint8_t modeIndex;       // mode of the MPEG audio header, 0 to 3
    std::uint8_t reserved16[2];
    std::uint16_t scrambled; // 0 clear, 1 scrambled
    std::uint8_t reserved20[4];
};
static_assert(sizeof(AvAudioTrack) == 24);
static_assert(offsetof(AvAudioTrack, pid) == 8);
static_assert(offsetof(AvAudioTrack, bitRateIndex) == 13);
static_assert(offsetof(AvAudioTrack, sampleRateIndex) == 14);
static_assert(offsetof(AvAudioTrack, modeIndex) == 15);
static_assert(offsetof(AvAudioTrack, scrambled) == 18);

struct AvPrivatePid {
    std::uint16_t pid;
    std::uint8_t reserved2[8];
};
static_assert(sizeof(AvPrivatePid) == 10);
static_assert(offsetof(AvPrivatePid, pid) == 0);

// Audio and video of one program. Its slot is the program index, as in the PMT record.
struct AvPgmEntry {
    std::uint16_t reserved0;
    std::uint16_t pgmNum;
    std::uint16_t pmtPid;
    std::uint8_t reserved6[6];
    std::uint16_t videoPid; // 0: the program has no video
    std::uint8_t reserved14[8];
    std::uint16_t horizRes; // pixels
    std::uint16_t vertRes;  // lines
    std::uint8_t reserved26[2];
    float pictRate;            // pictures per second
    std::uint32_t entropyFlag; // entropy_coding_mode_flag: 0 CAVLC, 1 CABAC
    std::uint8_t reserved36[2];
    std::uint16_t aspectRatio; // aspect-ratio code 1 to 16; 0 unknown
    std::uint8_t reserved40[4];
    std::uint32_t profile; // profile_idc
    std::uint32_t level;   // level_idc
    std::uint8_t reserved52[4];
    std::uint16_t videoScrambled; // 0 clear, 1 scrambled
    std::uint8_t reserved58[6];
    std::uint16_t audioCount;
    std::uint8_t reserved66[2];
    AvAudioTrack audio[maxAudioTracks];
    std::uint16_t privateCount;
    AvPrivatePid privatePids[maxPrivatePids];
    std::uint16_t allScrambled; // not 0: all of the program's components are scrambled
    std::uint8_t reserved480[8];
};
static_assert(sizeof(AvPgmEntry) == 488);
static_assert(offsetof(AvPgmEntry, pgmNum) == 2);
static_assert(offsetof(AvPgmEntry, pmtPid) == 4);
static_assert(offsetof(AvPgmEntry, videoPid) == 12);
static_assert(offsetof(AvPgmEntry, horizRes) == 22);
static_assert(offsetof(AvPgmEntry, vertRes) == 24);
static_assert(offsetof(AvPgmEntry, pictRate) == 28);
static_assert(offsetof(AvPgmEntry, entropyFlag) == 32);
static_assert(offsetof(AvPgmEntry, aspectRatio) == 38);
static_assert(offsetof(AvPgmEntry, profile) == 44);
static_assert(offsetof(AvPgmEntry, level) == 48);
static_assert(offsetof(AvPgmEntry, videoScrambled) == 56);
static_assert(offsetof(AvPgmEntry, audioCount) == 64);
static_assert(offsetof(AvPgmEntry, audio) == 68);
static_assert(offsetof(AvPgmEntry, privateCount) == 356);
static_assert(offsetof(AvPgmEntry, privatePids) == 358);
static_assert(offsetof(AvPgmEntry, allScrambled) == 478);

struct AvPgmRecord {
    AvPgmEntry slots[maxPrograms];
};
static_assert(sizeof(AvPgmRecord) == 29280);

struct SdtService {
    std::uint16_t serviceId;  // equal to the PAT's program_number
    std::uint8_t serviceType; // service_type
    std::uint8_t reserved3;
    std::uint16_t pmtPid;
    std::uint8_t caFlag;   // free_CA_mode
    std::uint8_t pidCount; // elementary PIDs of the service
    std::uint8_t patIndex; // place in the PAT record's program list
    std::uint8_t reserved9[3];
    float rate;                 // written by the service
    std::uint16_t allScrambled; // written by the service: not 0 when the program is scrambled
    char providerName[36];
    char serviceName[38];
};
static_assert(sizeof(SdtService) == 92);
static_assert(offsetof(SdtService, serviceId) == 0);
static_assert(offsetof(SdtService, serviceType) == 2);
static_assert(offsetof(SdtService, pmtPid) == 4);
static_assert(offsetof(SdtService, caFlag) == 6);
static_assert(offsetof(SdtService, pidCount) == 7);
static_assert(offsetof(SdtService, patIndex) == 8);
static_assert(offsetof(SdtService, rate) == 12);
static_assert(offsetof(SdtService, allScrambled) == 16);
static_assert(offsetof(SdtService, providerName) == 18);
static_assert(offsetof(SdtService, serviceName) == 54);

struct SdtRecord {
    std::uint8_t reserved0[4];
    std::uint16_t pid;
    std::uint16_t tableId;
    std::uint16_t transportStreamId;
    std::uint16_t originalNetworkId;
    std::uint16_t serviceCount;
    std::uint16_t actual; // not 0: the table describes the actual transport stream
    SdtService services[maxServices];
    std::uint8_t reserved5536[4];
    float aggregateRate;          // written by the service: rate of the whole stream
    std::uint16_t scrambledCount; // written by the service: services that are all scrambled
    std::uint8_t reserved5546[2];
    float pidRate; // written by the service: rate of PID 17
};
static_assert(sizeof(SdtRecord) == 5552);
static_assert(offsetof(SdtRecord, pid) == 4);
static_assert(offsetof(SdtRecord, tableId) == 6);
static_assert(offsetof(SdtRecord, transportStreamId) == 8);
static_assert(offsetof(SdtRecord, originalNetworkId) == 10);
static_assert(offsetof(SdtRecord, serviceCount) == 12);
static_assert(offsetof(SdtRecord, actual) == 14);
static_assert(offsetof(SdtRecord, services) == 16);
static_assert(offsetof(SdtRecord, aggregateRate) == 5540);
static_assert(offsetof(SdtRecord, scrambledCount) == 5544);
static_assert(offsetof(SdtRecord, pidRate) == 5548);

struct CaEntry {
    std::uint16_t caSystemId;
    std::uint16_t caPid; // PID of the EMMs of that system
};
static_assert(sizeof(CaEntry) == 4);

struct CatRecord {
    std::uint8_t reserved0[6];
    std::uint16_t caCount;
    std::uint8_t reserved8[2];
    std::uint8_t tableId;
    std::uint8_t reserved11[3];
    CaEntry caEntries[maxCaEntries];
    std::uint8_t reserved54[2];
    float pidRate; // written by the service: rate of PID 1
};
static_assert(sizeof(CatRecord) == 60);
static_assert(offsetof(CatRecord, caCount) == 6);
static_assert(offsetof(CatRecord, tableId) == 10);
static_assert(offsetof(CatRecord, caEntries) == 14);
static_assert(offsetof(CatRecord, pidRate) == 56);

struct NitDescriptor {
    std::uint8_t descriptorType; // descriptor_tag
    char descriptorText[221];
};
static_assert(sizeof(NitDescriptor) == 222);
static_assert(offsetof(NitDescriptor, descriptorText) == 1);

struct NitRecord {
    std::uint8_t reserved0[6];
    std::uint16_t tableId;
    std::uint16_t networkId;
    std::uint16_t transportStreamId;
    std::uint16_t originalNetworkId;
    std::uint8_t descriptorType; // descriptor_tag of the network's own descriptor
    char descriptorText[37];
    std::uint16_t descriptorCount;
    std::uint8_t reserved54[2];
    float pidRate; // written by the service: rate of PID 16
    NitDescriptor descriptorEntries[maxNitDescriptors];
};
static_assert(sizeof(NitRecord) == 2280);
static_assert(offsetof(NitRecord, tableId) == 6);
static_assert(offsetof(NitRecord, networkId) == 8);
static_assert(offsetof(NitRecord, transportStreamId) == 10);
static_assert(offsetof(NitRecord, originalNetworkId) == 12);
static_assert(offsetof(NitRecord, descriptorType) == 14);
static_assert(offsetof(NitRecord, descriptorText) == 15);
static_assert(offsetof(NitRecord, descriptorCount) == 52);
static_assert(offsetof(NitRecord, pidRate) == 56);
static_assert(offsetof(NitRecord, descriptorEntries) == 60);

struct EitEvent {
    std::uint16_t eventId;
    std::uint16_t startDateMjd; // Modified Julian Day
    char startTime[12];         // time of day as text, made by the parser
    char duration[12];          // as text, made by the parser
    char language[8];           // ISO 639-2 code
    char eventName[36];
    char description[36];
};
static_assert(sizeof(EitEvent) == 108);
static_assert(offsetof(EitEvent, eventId) == 0);
static_assert(offsetof(EitEvent, startDateMjd) == 2);
static_assert(offsetof(EitEvent, startTime) == 4);
static_assert(offsetof(EitEvent, duration) == 16);
static_assert(offsetof(EitEvent, language) == 28);
static_assert(offsetof(EitEvent, eventName) == 36);
static_assert(offsetof(EitEvent, description) == 72);

struct EitRecord {
    std::uint8_t reserved0[6];
    std::uint16_t tableId;
    std::uint16_t serviceId;
    std::uint16_t transportStreamId;
    std::uint16_t originalNetworkId;
    std::uint16_t eventCount;
    std::uint8_t reserved16[4];
    float pidRate; // written by the service: rate of PID 18
    EitEvent events[maxEvents];
};
static_assert(sizeof(EitRecord) == 6504);
static_assert(offsetof(EitRecord, tableId) == 6);
static_assert(offsetof(EitRecord, serviceId) == 8);
static_assert(offsetof(EitRecord, transportStreamId) == 10);
static_assert(offsetof(EitRecord, originalNetworkId) == 12);
static_assert(offsetof(EitRecord, eventCount) == 14);
static_assert(offsetof(EitRecord, pidRate) == 20);
static_assert(offsetof(EitRecord, events) == 24);

struct TdtRecord {
    std::uint8_t reserved0[6];
    std::uint16_t dateMjd; // Modified Julian Day
    char timeOfDay[12];    // UTC as text, made by the parser
    std::uint8_t tableId;
    std::uint8_t reserved21[3];
    float pidRate; // written by the service: rate of PID 20
};
static_assert(sizeof(TdtRecord) == 28);
static_assert(offsetof(TdtRecord, dateMjd) == 6);
static_assert(offsetof(TdtRecord, timeOfDay) == 8);
static_assert(offsetof(TdtRecord, tableId) == 20);
static_assert(offsetof(TdtRecord, pidRate) == 24);

} // namespace wire
