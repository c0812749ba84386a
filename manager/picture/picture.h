// What is known of the stream by the documents so far: the newest of everything, the rates of the last
// quarter of an hour, and what has come, gone and changed. Asks no clock; its memory is bounded but for the
// documents themselves, of which it keeps the newest of each kind.
#pragma once

#include "documents/documentValues.h"
#include "picture/rateHistory.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <tuple>

namespace manager {

// Counts the changes of a picture: a view that knows everything up to a version needs what is newer only.
using Version = std::uint64_t;

enum class EventKind {
    pidCame,
    pidWent,
    pidChanged, // what it carries
    pidScrambled,
    pidCleared,
    serviceCame,
    serviceWent,
    serviceRenamed,
    serviceScrambled,
    serviceCleared,
    serviceChanged, // its service_type or PMT PID
    programCame,    // in the PAT
    programWent,
    newStream, // no PID above those of the tables is the same
    peerWent,  // mpegFE
    peerCame,
    streamWent, // no document comes any more
    streamCame,
};

struct PictureEvent {
    Version version;
    std::uint64_t number; // counted from 1
    PictureTime time;
    EventKind kind;
    int about;          // PID, or program number
    std::string before; // name or description; empty where there is none
    std::string after;
};

// A PID or a service that has been listed, with what was last listed of it.
template <typename Listed>
struct Known {
    Listed newest;
    PictureTime firstSeen{};
    PictureTime lastSeen{};
    bool isPresent = true;
    RateHistory rates;
    Version version = 0; // of its last change, a new rate included
};

using KnownPid = Known<ListedPid>;
using KnownService = Known<ListedProgram>;

// A document of which there is one.
template <typename Body>
struct Newest {
    Body body;
    PictureTime time{};
    Version version = 0;
};

class Picture {
  public:
    // What a stream of the service has at the most, and what is remembered of it when it has gone. Where
    // there is no more room, what has been gone for the longest time is forgotten.
    static constexpr std::size_t mostPids = 256;
    static constexpr std::size_t mostServices = 60;
    static constexpr std::size_t mostEvents = 1000;
    static constexpr std::size_t longestEventText = 240; // bytes

    // Times never go back.
    void take(const Document& document, PictureTime time);

    // Notes what is not in a document: that mpegFE or its documents have gone or come. Times never go back.
    void note(EventKind kind, PictureTime time);

    // Forgets PIDs and services that have been gone for longer than rates are kept.
    void forgetGone(PictureTime time);

    // Of the last change.
    Version version() const {
        return newestVersion;
    }

    const std::map<int, KnownPid>& pids() const { // by PID
        return knownPids;
    }
    const std::map<int, KnownService>& services() const { // by program number
        return knownServices;
    }
    const std::map<int, Newest<ProgramDetail>>& details() const { // by program number
        return knownDetails;
    }
    // The oldest first.
    const std::deque<PictureEvent>& events() const {
        return keptEvents;
    }
    // Of the whole stream.
    const RateHistory& streamRates() const {
        return allRates;
    }

    // The newest document of a kind, for example newest<Pat>(); nothing before the first.
    template <typename Body>
    const std::optional<Newest<Body>>& newest() const {
        return std::get<std::optional<Newest<Body>>>(documents);
    }

  private:
    void takeBody(const EmptyDocument& empty);
    void takeBody(const PidList& list);
    void takeBody(const ProgramList& list);
    void takeBody(const ProgramDetail& detail);
    void takeBody(const Pat& pat);
    template <typename Body>
    void takeBody(const Body& table);

    template <typename Listed>
    void takeEntries(std::map<int, Known<Listed>>& known, const std::vector<Listed>& listed, int count);
    template <typename Listed>
    void takeEntry(std::map<int, Known<Listed>>& known, const Listed& listed);
    template <typename Listed>
    void leave(Known<Listed>& entry);
    void tellNewStream(const PidList& list);
    void tellChange(const ListedPid& before, const ListedPid& after);
    void tellChange(const ListedProgram& before, const ListedProgram& after);
    template <typename Body>
    void keep(const Body& body);
    void tell(EventKind kind, int about, const std::string& before, const std::string& after);

    // Whether lists tell what PIDs carry and which are scrambled: the service learns it with a program's
    // detail, so before the list behind the first one they only seem to change.
    enum class Kinds { unknown, learned, known };

    PictureTime now{};
    Kinds kinds = Kinds::unknown;
    Version newestVersion = 0;
    std::uint64_t eventCount = 0;
    std::map<int, KnownPid> knownPids;
    std::map<int, KnownService> knownServices;
    std::map<int, Newest<ProgramDetail>> knownDetails;
    std::deque<PictureEvent> keptEvents;
    RateHistory allRates;
    std::tuple<std::optional<Newest<PidList>>, std::optional<Newest<ProgramList>>, std::optional<Newest<Pat>>,
               std::optional<Newest<Cat>>, std::optional<Newest<Nit>>, std::optional<Newest<Sdt>>,
               std::optional<Newest<Eit>>, std::optional<Newest<Tdt>>>
        documents;
};

} // namespace manager
