#include "picture/picture.h"

#include <algorithm>
#include <set>
#include <variant>
#include <vector>

namespace manager {
namespace {

// What PIDs and services have in common: how many are kept, what their events are called, and which members
// tell them apart, name them, and say that they are scrambled.
template <typename Listed>
struct Kind {
    std::size_t most;
    EventKind came;
    EventKind went;
    EventKind scrambled;
    EventKind cleared;
    int Listed::*number;
    std::string Listed::*name;
    int Listed::*scrambling; // not 0
    bool learned;            // from a program's detail, behind the first list
};

template <typename Listed>
constexpr Kind<Listed> kindOf;

template <>
constexpr Kind<ListedPid> kindOf<ListedPid>{
    Picture::mostPids,       EventKind::pidCame,    EventKind::pidWent,
    EventKind::pidScrambled, EventKind::pidCleared, &ListedPid::pid,
    &ListedPid::description, &ListedPid::scrambled, true};

template <>
constexpr Kind<ListedProgram> kindOf<ListedProgram>{
    Picture::mostServices,       EventKind::serviceCame,       EventKind::serviceWent,
    EventKind::serviceScrambled, EventKind::serviceCleared,    &ListedProgram::programNumber,
    &ListedProgram::name,        &ListedProgram::allScrambled, false};

// Makes room for one more, at the cost of what has been gone for the longest time. False when all are
// present.
template <typename Listed>
bool makeRoom(std::map<int, Known<Listed>>& known) {
    if (known.size() < kindOf<Listed>.most) {
        return true;
    }
    const auto oldest = std::ranges::min_element(known, {}, [](const auto& entry) {
        return std::pair(entry.second.isPresent, entry.second.lastSeen);
    });
    if (oldest->second.isPresent) {
        return false;
    }
    known.erase(oldest);
    return true;
}

std::set<int> numbersOf(const Pat& pat) {
    std::set<int> numbers;
    for (const PatProgram& program : pat.programs) {
        numbers.insert(program.programNumber);
    }
    numbers.erase(0); // the network entry
    return numbers;
}

} // namespace

void Picture::take(const Document& document, PictureTime time) {
    now = time;
    std::visit([&](const auto& body) { takeBody(body); }, document);
}

void Picture::note(EventKind kind, PictureTime time) {
    now = time;
    if (kind == EventKind::peerWent) {
        kinds = Kinds::unknown;
    }
    tell(kind, 0, {}, {});
}

void Picture::forgetGone(PictureTime time) {
    const auto isOld = [&](const auto& entry) {
        return !entry.second.isPresent && time - entry.second.lastSeen > RateHistory::span;
    };
    newestVersion += std::erase_if(knownPids, isOld) + std::erase_if(knownServices, isOld);
}

void Picture::takeBody(const EmptyDocument& /*empty*/) {}

void Picture::takeBody(const PidList& list) {
    keep(list);
    allRates.add(now, list.rateBitPerSecond);
    tellNewStream(list);
    takeEntries(knownPids, list.pids, list.pidCount);
    if (kinds == Kinds::learned) {
        kinds = Kinds::known;
    }
}

void Picture::takeBody(const ProgramList& list) {
    keep(list);
    takeEntries(knownServices, list.programs, list.serviceCount);
}

void Picture::takeBody(const ProgramDetail& detail) {
    const int number = detail.pmt.programNumber;
    if (!knownDetails.contains(number) && knownDetails.size() == mostServices) {
        knownDetails.erase(std::ranges::min_element(knownDetails, {},
                                                    [](const auto& entry) { return entry.second.version; }));
    }
    knownDetails[number] = {detail, now, ++newestVersion};
    if (kinds == Kinds::unknown) {
        kinds = Kinds::learned;
    }
}

void Picture::takeBody(const Pat& pat) {
    const std::set<int> before = newest<Pat>() ? numbersOf(newest<Pat>()->body) : std::set<int>{};
    const std::set<int> after = numbersOf(pat);
    keep(pat);
    for (const int number : before) {
        if (!after.contains(number)) {
            tell(EventKind::programWent, number, {}, {});
        }
    }
    for (const int number : after) {
        if (!before.contains(number)) {
            tell(EventKind::programCame, number, {}, {});
        }
    }
}

template <typename Body>
void Picture::takeBody(const Body& table) {
    keep(table);
}

// What a document had no room for may still be there: only a whole list tells what has gone. It goes first,
// so that there is room for what comes.
template <typename Listed>
void Picture::takeEntries(std::map<int, Known<Listed>>& known, const std::vector<Listed>& listed, int count) {
    std::map<int, const Listed*> byNumber; // the first of each
    for (const Listed& entry : listed) {
        byNumber.emplace(entry.*kindOf<Listed>.number, &entry);
    }
    const bool isWhole = count >= 0 && listed.size() >= static_cast<std::size_t>(count);
    for (auto& [number, entry] : known) {
        if (isWhole && entry.isPresent && !byNumber.contains(number)) {
            leave(entry);
        }
    }
    for (const auto& [number, entry] : byNumber) {
        takeEntry(known, *entry);
    }
}

template <typename Listed>
void Picture::takeEntry(std::map<int, Known<Listed>>& known, const Listed& listed) {
    constexpr const Kind<Listed>& of = kindOf<Listed>;
    const int number = listed.*of.number;
    const std::string& name = listed.*of.name;
    const bool isScrambled = listed.*of.scrambling != 0;
    const bool isNew = !known.contains(number);
    if (isNew && !makeRoom(known)) {
        return;
    }
    Known<Listed>& entry = known[number];
    if (isNew || !entry.isPresent) {
        entry.firstSeen = isNew ? now : entry.firstSeen;
        entry.isPresent = true;
        tell(of.came, number, {}, name);
    } else {
        tellChange(entry.newest, listed);
    }
    const bool isTold = !of.learned || kinds == Kinds::known;
    if (!isNew && isTold && (entry.newest.*of.scrambling != 0) != isScrambled) {
        tell(isScrambled ? of.scrambled : of.cleared, number, {}, name);
    }
    entry.newest = listed;
    entry.lastSeen = now;
    entry.rates.add(now, listed.rateBitPerSecond);
    entry.version = ++newestVersion;
}

template <typename Listed>
void Picture::leave(Known<Listed>& entry) {
    entry.isPresent = false;
    constexpr const Kind<Listed>& of = kindOf<Listed>;
    tell(of.went, entry.newest.*of.number, entry.newest.*of.name, {});
    entry.version = ++newestVersion;
}

template <typename Body>
void Picture::keep(const Body& body) {
    std::get<std::optional<Newest<Body>>>(documents) = Newest<Body>{body, now, ++newestVersion};
}

// Told ahead of what comes and goes. PIDs of tables and null packets are in every stream.
void Picture::tellNewStream(const PidList& list) {
    constexpr int firstOfPrograms = 32;
    constexpr int nullPackets = 8191;
    const auto isOwn = [](int pid) { return pid >= firstOfPrograms && pid < nullPackets; };
    bool hadSome = false;
    for (const auto& [number, pid] : knownPids) {
        hadSome = hadSome || (pid.isPresent && isOwn(number));
    }
    bool hasSome = false;
    bool keepsOne = false;
    for (const ListedPid& pid : list.pids) {
        const auto known = knownPids.find(pid.pid);
        hasSome = hasSome || isOwn(pid.pid);
        keepsOne = keepsOne || (isOwn(pid.pid) && known != knownPids.end() && known->second.isPresent);
    }
    if (hadSome && hasSome && !keepsOne) {
        tell(EventKind::newStream, 0, {}, {});
    }
}

void Picture::tellChange(const ListedPid& before, const ListedPid& after) {
    if (before.description != after.description) {
        if (kinds == Kinds::known) {
            tell(EventKind::pidChanged, after.pid, before.description, after.description);
        }
    } else if (before.programNumber != after.programNumber) {
        tell(EventKind::pidChanged, after.pid, "program " + std::to_string(before.programNumber),
             "program " + std::to_string(after.programNumber));
    }
}

void Picture::tellChange(const ListedProgram& before, const ListedProgram& after) {
    if (before.name != after.name) {
        tell(EventKind::serviceRenamed, after.programNumber, before.name, after.name);
    }
    if (before.serviceType != after.serviceType) {
        tell(EventKind::serviceChanged, after.programNumber,
             "service type " + std::to_string(before.serviceType),
             "service type " + std::to_string(after.serviceType));
    }
    if (before.pmtPid != after.pmtPid) {
        tell(EventKind::serviceChanged, after.programNumber, "PMT PID " + std::to_string(before.pmtPid),
             "PMT PID " + std::to_string(after.pmtPid));
    }
}

void Picture::tell(EventKind kind, int about, const std::string& before, const std::string& after) {
    if (keptEvents.size() == mostEvents) {
        keptEvents.pop_front();
    }
    keptEvents.push_back({++newestVersion, ++eventCount, now, kind, about, before.substr(0, longestEventText),
                          after.substr(0, longestEventText)});
}

} // namespace manager
