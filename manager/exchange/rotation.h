// What to ask the service for next, while somebody looks.
#pragma once

#include "exchange/exchange.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace manager {

// The name of what a request brings: its data stream, for a program's detail with the index: "pgmDetail:3".
std::string nameOf(const Request& request);

// The request that brings what has this name. Nothing for a name that nothing has.
std::optional<Request> requestNamed(std::string_view name);

// The same of what can be looked at: nothing for a list, too.
std::optional<Request> requestLookedAt(std::string_view name);

// Asks for the lists again and again while they are watched, behind the first and now and then for a
// program's detail and the CAT, without which the lists do not learn what is scrambled and which PIDs carry
// EMMs; and for whatever else is looked at. While something is due for the lists it has every second turn,
// however much is looked at; beyond that, what has been due for the longest time comes first. So nothing
// keeps anything else from its turn, and what the service does not answer is asked for less and less often.
class Rotation {
  public:
    // Asks no clock: `now` is when it begins.
    explicit Rotation(Time now);

    // Whether somebody watches the lists from now on.
    void watch(bool anybody, Time now);

    // Somebody looks at what has this name, for tunables::lookTime from now on. False when that cannot be
    // looked at.
    bool look(std::string_view name, Time now);

    // What to ask for now: one order at a time, answered or unanswered before the next. "off" when nobody has
    // looked for a while; nothing when nothing is due.
    std::optional<Order> next(Time now);

    // When something will be due, unless somebody looks before. Nothing while nobody looks.
    std::optional<Time> wakeUp(Time now) const;

    void answered(const Request& request, Time now);
    void unanswered(const Request& request, Time now);

    // What stops the service's feed at the end, when it may be open.
    std::optional<Order> last();

  private:
    struct Turn {
        Request request;
        std::chrono::seconds whileWatched{0}; // how often; 0: not because of the lists
        Time lookedAtUntil{};
        Time due{};
        int failures = 0;
    };

    const Turn* firstDue(bool forLists, Time now) const;
    bool isNeeded(const Turn& turn, Time now) const;
    bool isNeededByAnybody(Time now) const;
    Time offTime() const;

    std::map<std::string, Turn, std::less<>> turns; // by name
    bool watched = false;
    bool wereLists = false; // what had the last turn
    bool feedOpen = false;  // as far as this knows
    Time neededUntil;
};

} // namespace manager
