// What the service's documents say, as typed values. A rate is in bit/s, as precise as its text: to 1 bit/s,
// or to 1 kbit/s where the document writes Mbps; it can be infinite or not a number, as any rate of the
// parser can. Texts are the stream's own bytes: mostly UTF-8, but a name may be cut inside a character and
// hold anything.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace manager {

struct ListedPid {
    int patIndex = 0; // program index; means nothing while programNumber is 0
    int place = 0;    // in the board's PID list
    int pid = 0;
    int type = 0;          // 1 to 12, see the client protocol
    int pmtPid = 0;        // of its program, or 0
    int programNumber = 0; // of its program, or 0
    double rateBitPerSecond = 0;
    int scrambled = 0; // 1 scrambled, 0 clear
    std::string description;

    bool operator==(const ListedPid&) const = default;
};

// "pidData".
struct PidList {
    int pidCount = 0; // of the stream; the document may have room for fewer
    double rateBitPerSecond = 0;
    std::vector<ListedPid> pids;

    bool operator==(const PidList&) const = default;
};

struct ListedProgram {
    int programNumber = 0;
    int patIndex = 0;
    int serviceType = 0; // EN 300 468, service_type
    int pmtPid = 0;
    int pidCount = 0;
    double rateBitPerSecond = 0;
    int freeCaMode = 0;
    int allScrambled = 0; // not 0: every component is scrambled
    std::string provider;
    std::string name;

    bool operator==(const ListedProgram&) const = default;
};

// "pgmData".
struct ProgramList {
    int serviceCount = 0; // of the stream; the document may have room for fewer
    int derived = 0;      // 1: the names are made from the PAT
    double rateBitPerSecond = 0;
    int scrambledCount = 0;
    std::vector<ListedProgram> programs;

    bool operator==(const ProgramList&) const = default;
};

struct PmtElement {
    int pid = 0;
    int programNumber = 0;

    bool operator==(const PmtElement&) const = default;
};

struct VideoElement {
    int pid = 0;
    std::string coding;
    std::string entropyCoding;
    int widthPixels = 0;
    int heightLines = 0;
    double picturesPerSecond = 0;
    std::string aspectRatio;
    std::string profile;
    int level = 0;
    std::string scrambling; // Clear, Scrambled or Unknown

    bool operator==(const VideoElement&) const = default;
};

struct AudioElement {
    int pid = 0;
    std::string coding;
    std::string language;
    std::optional<int> bitRateBitPerSecond; // 0 is the free format; nothing is unknown
    std::optional<int> sampleRateHertz;     // nothing is unknown
    std::string mode;
    std::string scrambling; // Clear, Scrambled or Unknown

    bool operator==(const AudioElement&) const = default;
};

struct PidElement {
    int pid = 0;

    bool operator==(const PidElement&) const = default;
};

// "pgmDetail".
struct ProgramDetail {
    int pidCount = 0; // video and audio
    PmtElement pmt;
    std::optional<VideoElement> video;
    std::vector<AudioElement> audio;
    std::vector<PidElement> privateData;
    std::vector<PidElement> ecm;

    bool operator==(const ProgramDetail&) const = default;
};

struct PatProgram {
    int programNumber = 0; // 0: the network entry
    int pmtPid = 0;        // or the network PID

    bool operator==(const PatProgram&) const = default;
};

struct Pat {
    int programCount = 0;
    double rateBitPerSecond = 0;
    std::vector<PatProgram> programs; // in the order of the program index

    bool operator==(const Pat&) const = default;
};

struct CaSystem {
    int systemId = 0;
    int emmPid = 0;

    bool operator==(const CaSystem&) const = default;
};

struct Cat {
    int systemCount = 0;
    int tableId = 0;
    double rateBitPerSecond = 0;
    std::vector<CaSystem> systems;

    bool operator==(const Cat&) const = default;
};

struct NetworkDescriptor {
    int tag = 0;
    std::string text;

    bool operator==(const NetworkDescriptor&) const = default;
};

struct Nit {
    int descriptorCount = 0;
    int tableId = 0;
    int networkId = 0;
    int transportStreamId = 0;
    int originalNetworkId = 0;
    NetworkDescriptor network; // the network's own
    double rateBitPerSecond = 0;
    std::vector<NetworkDescriptor> descriptors;

    bool operator==(const Nit&) const = default;
};

struct Service {
    std::string name;
    std::string provider;
    std::string freeCaMode; // Clear or Set

    bool operator==(const Service&) const = default;
};

struct Sdt {
    int serviceCount = 0;
    int tableId = 0;
    int transportStreamId = 0;
    int originalNetworkId = 0;
    double rateBitPerSecond = 0;
    std::string source; // Actual or Derived
    std::vector<Service> services;

    bool operator==(const Sdt&) const = default;
};

struct Event {
    int eventId = 0;
    int dateMjd = 0; // Modified Julian Day
    std::string startTime;
    std::string duration;
    std::string language;
    std::string name;
    std::string description;

    bool operator==(const Event&) const = default;
};

struct Eit {
    int eventCount = 0;
    int tableId = 0;
    int originalNetworkId = 0;
    int serviceId = 0;
    int transportStreamId = 0;
    double rateBitPerSecond = 0;
    std::vector<Event> events;

    bool operator==(const Eit&) const = default;
};

struct Tdt {
    int tableId = 0;
    int dateMjd = 0; // Modified Julian Day
    std::string timeOfDay;
    double rateBitPerSecond = 0;

    bool operator==(const Tdt&) const = default;
};

// "{}", of a table that the service does not know.
struct EmptyDocument {
    bool operator==(const EmptyDocument&) const = default;
};

using Document =
    std::variant<EmptyDocument, PidList, ProgramList, ProgramDetail, Pat, Cat, Nit, Sdt, Eit, Tdt>;

} // namespace manager
