#include "web/api.h"

#include "web/csv.h"
#include "web/rateTable.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <utility>

namespace manager {
namespace {

constexpr const char* json = "application/json";
constexpr const char* plainText = "text/plain; charset=utf-8";

SharedText shared(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

WebAnswer notFound() {
    return {404, plainText, shared("There is nothing here.\n"), {}};
}

WebAnswer wrong(const char* why) {
    return {400, plainText, shared(why), {}};
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
    return {200, json, shared(rateTable(live.picture(), span, now)), {}};
}

WebAnswer look(const WebRequest& request, Rotation& rotation, Time now) {
    std::string_view names = argument(request, "at");
    bool isKnown = !names.empty();
    while (!names.empty()) {
        const std::size_t end = std::min(names.find(','), names.size());
        isKnown = rotation.look(names.substr(0, end), now) && isKnown;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return isKnown ? WebAnswer{204, {}, nullptr, {}}
                   : wrong("at=NAME[,NAME...], of PAT, CAT, NIT, SDT, EIT, TDT and pgmDetail:INDEX.\n");
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
        return {200, json, live.everything(wallNow), {}};
    }
    if (request.path == "/api/history") {
        return history(request, live, wallNow);
    }
    if (request.path == "/api/look") {
        return look(request, rotation, now);
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
                                                  : WebAnswer{200, plainText, document->second.text, {}};
    }
    return notFound();
}

} // namespace manager
