#include "web/livePicture.h"

#include "documents/documentReader.h"
#include "exchange/rotation.h"
#include "text/documentJson.h"
#include "text/jsonText.h"
#include "tunables.h"
#include "web/eventWords.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <variant>

namespace manager {
namespace {

const char* wordFor(ServiceState state) {
    switch (state) {
    case ServiceState::absent:
        return "absent";
    case ServiceState::unanswered:
        return "unanswered";
    case ServiceState::waiting:
        return "waiting";
    case ServiceState::noStream:
        return "noStream";
    case ServiceState::answering:
        break;
    }
    return "answering";
}

std::int64_t count(PictureTime time) {
    return time.count();
}

template <typename Listed>
void writeSeen(JsonText& json, const Known<Listed>& row) {
    json.member("least", row.rates.least())
        .member("most", row.rates.most())
        .member("firstSeen", count(row.firstSeen))
        .member("lastSeen", count(row.lastSeen))
        .member("gone", !row.isPresent);
}

void writeRow(JsonText& json, const KnownPid& row, const Picture& picture) {
    const auto service = picture.services().find(row.newest.programNumber);
    writeMembers(json, row.newest);
    json.member("serviceName", service == picture.services().end() ? "" : service->second.newest.name);
    writeSeen(json, row);
}

void writeRow(JsonText& json, const KnownService& row, const Picture& /*picture*/) {
    writeMembers(json, row.newest);
    writeSeen(json, row);
}

template <typename Rows>
void writeRows(JsonText& json, const char* key, const Rows& rows, const Picture& picture) {
    json.list(key, rows, [&](const auto& row) { writeRow(json, row.second, picture); });
}

void writeEvents(JsonText& json, const std::vector<const PictureEvent*>& events) {
    json.list("events", events, [&](const PictureEvent* event) {
        const EventWords& words = wordsFor(event->kind);
        const bool isLast = event->after.empty(); // of what has gone, what it was
        json.member("number", static_cast<std::int64_t>(event->number))
            .member("time", count(event->time))
            .member("kind", words.word);
        if (words.subject != EventSubject::nothing) {
            json.member(words.subject == EventSubject::pid ? "pid" : "programNumber", event->about);
        }
        json.member("text", isLast ? event->before : event->after);
        if (!isLast && !event->before.empty()) {
            json.member("was", event->before);
        }
    });
}

template <typename IsWanted>
std::vector<const PictureEvent*> eventsThat(const Picture& picture, IsWanted isWanted) {
    std::vector<const PictureEvent*> events;
    for (const PictureEvent& event : picture.events()) {
        if (wordsFor(event.kind).word != nullptr && isWanted(event)) {
            events.push_back(&event);
        }
    }
    return events;
}

template <typename Documents>
void writeDocuments(JsonText& json, const Documents& documents) {
    json.object("documents", [&] {
        for (const auto& [name, document] : documents) {
            json.object(name, [&, &seen = document] {
                json.member("time", count(seen.time))
                    .member("bytes", static_cast<std::int64_t>(seen.text->size()))
                    .member("answerMs", static_cast<std::int64_t>(seen.answerTime.count()));
                if (!seen.json.empty()) {
                    json.written("value", seen.json);
                }
            });
        }
    });
}

std::set<int> keysOf(const auto& rows) {
    std::set<int> keys;
    for (const auto& [number, row] : rows) {
        keys.insert(number);
    }
    return keys;
}

// Writes what is told no more, and what is told instead.
void writeRemoved(JsonText& json, const char* key, std::set<int>& told, const auto& rows) {
    std::set<int> present = keysOf(rows);
    std::vector<int> removed;
    std::ranges::set_difference(told, present, std::back_inserter(removed));
    told = std::move(present);
    if (removed.empty()) {
        return;
    }
    std::string list = "[";
    for (const int number : removed) {
        list += list.size() > 1 ? "," : "";
        list += std::to_string(number);
    }
    list += ']';
    json.written(key, list);
}

// The rows that are newer, as pairs like those of the map.
template <typename Row>
std::vector<std::pair<int, const Row&>> newerThan(Version version, const std::map<int, Row>& rows) {
    std::vector<std::pair<int, const Row&>> newer;
    for (const auto& [number, row] : rows) {
        if (row.version > version) {
            newer.emplace_back(number, row);
        }
    }
    return newer;
}

bool hasRows(const Document& document) {
    return std::holds_alternative<PidList>(document) || std::holds_alternative<ProgramList>(document);
}

} // namespace

void LivePicture::take(const Request& request, std::string_view text, PictureTime now,
                       std::chrono::milliseconds answerTime) {
    const auto result = readDocument(text);
    const auto* const document = std::get_if<Document>(&result);
    SeenDocument& entry = seen[nameOf(request)];
    entry = {std::make_shared<const std::string>(text), {}, now, answerTime, true};
    if (document == nullptr) {
        entry.json = "null";
    } else {
        entry.json = hasRows(*document) ? "" : documentJson(*document);
        known.take(*document, now);
    }
    lastDocument = now;
    if (streamState != StreamState::running) {
        streamState = StreamState::running;
        streamSince = now;
    }
    if (std::exchange(streamWentTold, false)) {
        known.note(EventKind::streamCame, now);
    }
    kept.reset();
}

void LivePicture::observe(ServiceState state, std::chrono::milliseconds lasting,
                          std::optional<PictureTime> watchedSince, PictureTime now) {
    // What every request goes through is no news.
    const bool isPassing =
        (state == ServiceState::unanswered || state == ServiceState::waiting) && lasting < tunables::listTime;
    observeService(isPassing ? ServiceState::answering : state, now);
    observeStream(watchedSince, now);
    known.forgetGone(now);
    if (hasNews()) {
        kept.reset();
    }
}

void LivePicture::observeService(ServiceState state, PictureTime now) {
    if (state == serviceState) {
        return;
    }
    serviceState = state;
    serviceSince = now;
    if (state == ServiceState::absent) {
        known.note(EventKind::peerWent, now);
        serviceWentTold = true;
    } else if (std::exchange(serviceWentTold, false)) {
        known.note(EventKind::peerCame, now);
    }
}

void LivePicture::observeStream(std::optional<PictureTime> watchedSince, PictureTime now) {
    if (streamState == StreamState::running && now - lastDocument >= tunables::streamStale) {
        streamState = StreamState::stale;
        streamSince = now;
    }
    // Nothing comes while nobody asks.
    const bool isMissed = streamState == StreamState::stale && watchedSince &&
                          now - std::max(lastDocument, *watchedSince) >= tunables::streamStale;
    if (isMissed && !std::exchange(streamWentTold, true)) {
        known.note(EventKind::streamWent, now);
    }
}

bool LivePicture::hasNews() const {
    return known.version() > toldVersion || serviceJson() != toldService || streamJson() != toldStream ||
           std::ranges::any_of(seen, [](const auto& entry) { return entry.second.isNew; });
}

SharedText LivePicture::everything(PictureTime now) {
    if (kept && now - keptSince < tunables::publishTime) {
        return kept;
    }
    JsonText json;
    json.object([&] {
        json.member("version", changes).member("time", count(now));
        json.written("service", serviceJson()).written("stream", streamJson());
        writeRows(json, "pids", known.pids(), known);
        writeRows(json, "programs", known.services(), known);
        writeDocuments(json, seen);
        writeEvents(json, eventsThat(known, [&](const auto& event) { return event.version <= toldVersion; }));
    });
    kept = std::make_shared<const std::string>(json.written());
    keptSince = now;
    return kept;
}

std::string LivePicture::change(PictureTime now) {
    JsonText json;
    json.object([&] {
        json.member("version", ++changes).member("time", count(now));
        if (std::string service = serviceJson(); service != toldService) {
            json.written("service", service);
            toldService = std::move(service);
        }
        if (std::string stream = streamJson(); stream != toldStream) {
            json.written("stream", stream);
            toldStream = std::move(stream);
        }
        if (const auto pids = newerThan(toldVersion, known.pids()); !pids.empty()) {
            writeRows(json, "pids", pids, known);
        }
        if (const auto services = newerThan(toldVersion, known.services()); !services.empty()) {
            writeRows(json, "programs", services, known);
        }
        writeRemoved(json, "removedPids", toldPids, known.pids());
        writeRemoved(json, "removedPrograms", toldServices, known.services());
        std::map<std::string_view, const SeenDocument&> documents;
        for (auto& [name, document] : seen) {
            if (std::exchange(document.isNew, false)) {
                documents.emplace(name, document);
            }
        }
        if (!documents.empty()) {
            writeDocuments(json, documents);
        }
        const auto events = eventsThat(known, [&](const auto& event) { return event.version > toldVersion; });
        if (!events.empty()) {
            writeEvents(json, events);
        }
    });
    toldVersion = known.version();
    kept.reset();
    return json.written();
}

std::string LivePicture::serviceJson() const {
    JsonText json;
    json.object([&] { json.member("state", wordFor(serviceState)).member("since", count(serviceSince)); });
    return json.written();
}

std::string LivePicture::streamJson() const {
    const char* const state = streamState == StreamState::none      ? "none"
                              : streamState == StreamState::running ? "running"
                                                                    : "stale";
    const auto& list = known.newest<PidList>();
    const auto& programs = known.newest<ProgramList>();
    JsonText json;
    json.object([&] {
        json.member("state", state).member("since", count(streamSince));
        if (list) {
            json.member("rateBitPerSecond", list->body.rateBitPerSecond);
        } else {
            json.null("rateBitPerSecond");
        }
        json.member("pidCount", list ? list->body.pidCount : 0)
            .member("programCount", programs ? programs->body.serviceCount : 0);
    });
    return json.written();
}

} // namespace manager
