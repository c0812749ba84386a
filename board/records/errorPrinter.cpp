#include "records/errorPrinter.h"

#include "companions/json.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace board {

namespace {

json_int_t whole(std::uint64_t count) {
    return static_cast<json_int_t>(count);
}

json_t* indicatorOf(const IndicatorRow& row, const StreamErrors& errors, const IndicatorCounts* before) {
    const std::uint64_t count = errors.indicators[row.indicator];
    json_t* const object =
        json_pack("{s:s, s:i, s:s}", "name", row.name, "priority", row.priority, "clause", row.clause);
    if (row.indicator == Indicator::pcrAccuracy) {
        json_object_set_new(object, "measured", json_boolean(errors.accuracyMeasured()));
        if (!errors.accuracyMeasured()) {
            return object;
        }
    }
    json_object_set_new(object, "count", json_integer(whole(count)));
    if (before != nullptr) { // figures may have been withdrawn in between
        const std::uint64_t then = std::min(count, (*before)[row.indicator]);
        json_object_set_new(object, "countOfPeriod", json_integer(whole(count - then)));
    }
    return object;
}

json_t* shownIndicators(const IndicatorCounts& counts) {
    json_t* const object = json_object();
    for (const IndicatorRow& row : indicatorRows) {
        if (counts[row.indicator] > 0) {
            json_object_set_new(object, row.name, json_integer(whole(counts[row.indicator])));
        }
    }
    return object;
}

json_t* pidOf(const PidState& state, const StreamErrors& errors, const float* rate) {
    const auto found = errors.pids.find(state.pid);
    const PidErrors own = found == errors.pids.end() ? PidErrors{} : found->second;
    const double share = state.payloads == 0 ? 0
                                             : static_cast<double>(state.scrambledPayloads) /
                                                   static_cast<double>(state.payloads);
    json_t* const object = json_pack("{s:i, s:I}", "pid", int{state.pid}, "packets", whole(state.packets));
    if (rate != nullptr) {
        json_object_set_new(object, "bitsPerSecond", json_real(static_cast<double>(*rate)));
    }
    const companions::Json rest(
        json_pack("{s:I, s:I, s:f, s:I, s:I, s:I, s:o}", "payloadPackets", whole(state.payloads),
                  "scrambledPackets", whole(state.scrambledPayloads), "scrambledShare", share,
                  "continuityErrors", whole(own.indicators[Indicator::continuity]), "transportErrors",
                  whole(own.indicators[Indicator::transport]), "badSections", whole(own.badSections),
                  "indicators", shownIndicators(own.indicators)));
    json_object_update(object, rest.get());
    return object;
}

double bitRate(const RateWindow& window) {
    constexpr double packetBits = 188 * 8;
    const double seconds = std::chrono::duration<double>(window.elapsed).count();
    return seconds > 0 ? static_cast<double>(window.endPacket - window.firstPacket) * packetBits / seconds
                       : 0;
}

} // namespace

json_t* indicatorsAsJson(const StreamErrors& errors, const IndicatorCounts* before) {
    json_t* const array = json_array();
    for (const IndicatorRow& row : indicatorRows) {
        json_array_append_new(array, indicatorOf(row, errors, before));
    }
    return array;
}

json_t* pidErrorsAsJson(const StreamErrors& errors, const std::vector<PidState>& pids,
                        const RateMeter* rates) {
    json_t* const array = json_array();
    for (std::size_t position = 0; position < pids.size(); ++position) {
        const float rate = rates == nullptr ? 0 : rates->rate(position);
        json_array_append_new(array, pidOf(pids[position], errors, rates == nullptr ? nullptr : &rate));
    }
    std::vector<std::uint16_t> listed(pids.size());
    std::ranges::transform(pids, listed.begin(), &PidState::pid);
    std::ranges::sort(listed);
    for (const auto& [pid, own] : errors.pids) {
        if (own.any() && !std::ranges::binary_search(listed, pid)) {
            PidState absent;
            absent.pid = pid;
            const float none = 0;
            json_array_append_new(array, pidOf(absent, errors, rates == nullptr ? nullptr : &none));
        }
    }
    return array;
}

std::string statisticsAsJson(const Statistics& statistics) {
    const companions::Json root(
        json_pack("{s:f, s:i, s:I, s:f, s:I, s:o, s:o}", "streamSeconds",
                  std::chrono::duration<double>(statistics.time).count(), "streamNumber",
                  static_cast<int>(statistics.stream), "packets", whole(statistics.packets), "bitsPerSecond",
                  bitRate(statistics.rates->window()), "badSections", whole(statistics.errors->badSections),
                  "indicators", indicatorsAsJson(*statistics.errors, &statistics.before), "pids",
                  pidErrorsAsJson(*statistics.errors, *statistics.pids, statistics.rates)));
    constexpr std::size_t digits = 9;
    return companions::dump(root, JSON_COMPACT | JSON_REAL_PRECISION(digits)) + "\n";
}

std::string errorsInWords(const StreamErrors& errors) {
    constexpr std::size_t mostNamed = 8;
    std::string words;
    const char* separator = "; ";
    for (const IndicatorRow& row : indicatorRows) {
        if (const std::uint64_t count = errors.indicators[row.indicator]; count > 0) {
            words.append(std::exchange(separator, ", "))
                .append(row.name)
                .append(" ")
                .append(std::to_string(count));
        }
    }
    separator = "; PIDs with errors: ";
    std::size_t pids = 0;
    for (const auto& [pid, own] : errors.pids) {
        if (own.any() && ++pids <= mostNamed) {
            words.append(std::exchange(separator, ", ")).append(std::to_string(pid));
        }
    }
    if (pids > mostNamed) {
        words.append(" and ").append(std::to_string(pids - mostNamed)).append(" more");
    }
    return words;
}

} // namespace board
