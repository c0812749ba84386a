#include "web/api.h"

#include "tunables.h"
#include "web/csv.h"
#include "web/rateTable.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace manager {
namespace {

constexpr const char* jsonType = "application/json";
constexpr const char* textType = "text/plain; charset=utf-8";

SharedText shared(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

WebAnswer notFound() {
    return {404, textType, shared("There is nothing here.\n"), {}};
}

WebAnswer wrong(const char* why) {
    return {400, textType, shared(why), {}};
}

std::optional<std::string_view> behind(std::string_view prefix, std::string_view path) {
    return path.starts_with(prefix) ? std::optional(path.substr(prefix.size())) : std::nullopt;
}

std::string_view argument(const WebRequest& request, std::string_view key) {
    const auto found = request.arguments.find(key);
    return found == request.arguments.end() ? std::string_view() : std::string_view(found->second);
}

WebAnswer history(const WebRequest& request, const LivePicture& live, PictureTime now) {
    constexpr std::chrono::seconds longest = RateHistory::span;
    const std::string_view text = argument(request, "seconds");
    unsigned seconds = 0;
    const auto [stop, failure] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (failure != std::errc{} || stop != text.data() + text.size() || seconds == 0) {
        return wrong("seconds=N, a number from 1 on.\n");
    }
    const auto span = std::min(std::chrono::seconds(seconds), longest);
    return {200, jsonType, shared(rateTable(live.picture(), span, now)), {}};
}

// Whether the service would answer with nothing: its list of programs, as new as it is, ends before this one.
bool isBeyondTheList(const Request& request, const LivePicture& live, PictureTime now) {
    const auto list = live.documents().find("pgmData");
    if (request.dataStream != programDetail || list == live.documents().end() ||
        now - list->second.time >= tunables::streamStale) {
        return false;
    }
    const auto isAtOrBehind = [index = std::stoi(request.value)](const auto& service) {
        return service.second.newest.patIndex >= index;
    };
    return std::ranges::none_of(live.picture().services(), isAtOrBehind);
}

std::vector<std::string_view> itemsOf(std::string_view list) {
    std::vector<std::string_view> items;
    for (std::size_t end = 0; (end = list.find(',')) != std::string_view::npos; list.remove_prefix(end + 1)) {
        items.push_back(list.substr(0, end));
    }
    items.push_back(list);
    return items;
}

// At all of the names, or at none.
WebAnswer look(const WebRequest& request, const LivePicture& live, Rotation& rotation, PictureTime wallNow,
               Time now) {
    const auto names = itemsOf(argument(request, "at"));
    for (const std::string_view name : names) {
        const auto asked = requestLookedAt(name);
        if (!asked) {
            return wrong("at=NAME[,NAME...], of PAT, CAT, NIT, SDT, EIT, TDT and pgmDetail:INDEX.\n");
        }
        if (isBeyondTheList(*asked, live, wallNow)) {
            return wrong("The stream has no program of this index.\n");
        }
    }
    for (const std::string_view name : names) {
        rotation.look(name, now);
    }
    return {204, {}, nullptr, {}};
}

// A name that is known has nothing but letters, digits and a colon.
std::string fileName(std::string_view name, const char* extension) {
    std::string result(name);
    std::ranges::replace(result, ':', '-');
    return result + extension;
}

} // namespace

WebAnswer answerApi(const WebRequest& request, LivePicture& live, Rotation& rotation, PictureTime wallNow,
                    Time now) {
    if (request.path == "/api/picture") {
        return {200, jsonType, live.everything(wallNow), {}};
    }
    if (request.path == "/api/history") {
        return history(request, live, wallNow);
    }
    if (request.path == "/api/look") {
        return look(request, live, rotation, wallNow, now);
    }
    if (const auto name = behind("/api/csv/", request.path)) {
        auto table = csvTable(live, *name);
        return table ? WebAnswer{200, "text/csv; charset=utf-8", shared(std::move(*table)),
                                 fileName(*name, ".csv")}
                     : notFound();
    }
    if (const auto name = behind("/api/document/", request.path)) {
        const auto document = live.documents().find(*name);
        return document == live.documents().end() ? notFound()
                                                  : WebAnswer{200, textType, document->second.text, {}};
    }
    return notFound();
}

} // namespace manager
