#include "exchange/rotation.h"

#include "managerError.h"
#include "tunables.h"

#include <algorithm>
#include <array>

namespace manager {
namespace {

using std::chrono::seconds;

struct Standing {
    const char* name;
    seconds often;
};

// First of all figures, whatever the PIDs carry. A detail is of any program: all of them have their kinds
// from it, and the list of programs knows by then which are scrambled.
constexpr std::array<Standing, 4> standing{{
    {"pidData", tunables::listTime},
    {"pgmDetail:0", tunables::kindsTime},
    {"CAT", tunables::emmTime},
    {"pgmData", tunables::listTime},
}};

constexpr char indexMark = ':';

} // namespace

std::string nameOf(const Request& request) {
    return request.dataStream == programDetail ? request.dataStream + indexMark + request.value
                                               : request.dataStream;
}

std::optional<Request> requestNamed(std::string_view name) {
    const std::size_t mark = name.find(indexMark);
    const bool isDetail = name.substr(0, mark) == programDetail;
    if (isDetail != (mark != std::string_view::npos)) {
        return std::nullopt;
    }
    const std::string_view value = isDetail ? name.substr(mark + 1) : std::string_view("on");
    const bool isPadded = value.size() > 1 && (value.front() == '0' || value.front() == '-');
    try {
        return isPadded ? std::nullopt : std::optional(makeRequest(name.substr(0, mark), value));
    } catch (const ManagerError&) {
        return std::nullopt;
    }
}

std::optional<Request> requestLookedAt(std::string_view name) {
    const bool isList = name == "pidData" || name == "pgmData";
    return isList ? std::nullopt : requestNamed(name);
}

Rotation::Rotation(Time now) : neededUntil(now) {
    Time due = now;
    for (const Standing& each : standing) {
        turns[each.name] = {*requestNamed(each.name), each.often, {}, due, 0};
        due += std::chrono::nanoseconds(1); // in this order
    }
}

void Rotation::watch(bool anybody, Time now) {
    if (watched && !anybody) {
        neededUntil = std::max(neededUntil, now);
    }
    watched = anybody;
}

bool Rotation::look(std::string_view name, Time now) {
    const auto request = requestLookedAt(name);
    if (!request) {
        return false;
    }
    Turn& turn = turns.try_emplace(std::string(name), Turn{*request, seconds(0), {}, now, 0}).first->second;
    if (now >= turn.lookedAtUntil && turn.failures == 0) {
        turn.due = std::min(turn.due, now);
    }
    turn.lookedAtUntil = now + tunables::lookTime;
    neededUntil = std::max(neededUntil, turn.lookedAtUntil);
    return true;
}

std::optional<Order> Rotation::next(Time now) {
    const Turn* forLists = firstDue(true, now);
    const Turn* other = firstDue(false, now);
    if (forLists != nullptr && other != nullptr) {
        (wereLists ? forLists : other) = nullptr;
    }
    if (const Turn* const first = forLists != nullptr ? forLists : other) {
        wereLists = first == forLists;
        feedOpen = true;
        return Order{first->request, 1};
    }
    return now >= offTime() && !isNeededByAnybody(now) ? last() : std::nullopt;
}

std::optional<Order> Rotation::last() {
    if (!feedOpen) {
        return std::nullopt;
    }
    feedOpen = false;
    return Order{makeRequest("pidData", "off"), 0};
}

std::optional<Time> Rotation::wakeUp(Time now) const {
    std::optional<Time> first;
    for (const auto& [name, turn] : turns) {
        if (isNeeded(turn, now)) {
            first = std::min(first.value_or(turn.due), turn.due);
        }
    }
    return !first && feedOpen ? std::optional(offTime()) : first;
}

void Rotation::answered(const Request& request, Time now) {
    const auto found = turns.find(nameOf(request));
    if (found == turns.end()) {
        return;
    }
    Turn& turn = found->second;
    turn.failures = 0;
    turn.due = now + (now < turn.lookedAtUntil ? tunables::listTime
                                               : std::max(turn.whileWatched, tunables::listTime));
}

void Rotation::unanswered(const Request& request, Time now) {
    const auto found = turns.find(nameOf(request));
    if (found != turns.end()) {
        Turn& turn = found->second;
        turn.failures = std::min(turn.failures + 1, tunables::mostDoublings);
        turn.due = now + tunables::listTime * (1 << turn.failures);
    }
}

// Of what the lists need, or of what is only looked at.
const Rotation::Turn* Rotation::firstDue(bool forLists, Time now) const {
    const Turn* first = nullptr;
    for (const auto& [name, turn] : turns) {
        const bool isForLists = watched && turn.whileWatched > seconds(0);
        if (isForLists == forLists && isNeeded(turn, now) && turn.due <= now &&
            (first == nullptr || turn.due < first->due)) {
            first = &turn;
        }
    }
    return first;
}

bool Rotation::isNeeded(const Turn& turn, Time now) const {
    return (watched && turn.whileWatched > seconds(0)) || now < turn.lookedAtUntil;
}

bool Rotation::isNeededByAnybody(Time now) const {
    return watched || now < neededUntil;
}

// A page that is loaded anew is back before.
Time Rotation::offTime() const {
    return neededUntil + tunables::offDelay;
}

} // namespace manager
