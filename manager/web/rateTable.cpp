#include "web/rateTable.h"

#include "text/jsonText.h"

#include <cmath>
#include <limits>
#include <vector>

namespace manager {
namespace {

std::vector<PictureTime> timesOf(const RateHistory& rates, PictureTime from) {
    std::vector<PictureTime> times;
    for (std::size_t i = 0; i < rates.size(); ++i) {
        if (rates[i].time >= from) {
            times.push_back(rates[i].time);
        }
    }
    return times;
}

// One rate a time; the samples are in the order of their times too.
std::string alignedTo(const std::vector<PictureTime>& times, const RateHistory& rates) {
    std::string list = "[";
    std::size_t next = 0;
    for (std::size_t i = 0; i < times.size(); ++i) {
        float rate = std::numeric_limits<float>::quiet_NaN();
        while (next < rates.size() && rates[next].time < times[i]) {
            ++next;
        }
        while (next < rates.size() && (i + 1 == times.size() || rates[next].time < times[i + 1])) {
            rate = rates[next++].bitPerSecond;
        }
        list += i == 0 ? "" : ",";
        list += std::isfinite(rate) ? jsonNumber(std::round(rate)) : "null";
    }
    list += ']';
    return list;
}

template <typename Rows>
void writeRates(JsonText& json, const char* key, const Rows& rows, const std::vector<PictureTime>& times) {
    json.object(key, [&] {
        for (const auto& [number, row] : rows) {
            json.written(std::to_string(number), alignedTo(times, row.rates));
        }
    });
}

} // namespace

std::string rateTable(const Picture& picture, std::chrono::seconds span, PictureTime now) {
    const std::vector<PictureTime> times = timesOf(picture.streamRates(), now - span);
    std::string axis = "[";
    for (const PictureTime time : times) {
        axis += axis.size() > 1 ? "," : "";
        axis += std::to_string(time.count());
    }
    axis += ']';
    JsonText json;
    json.object([&] {
        json.written("times", axis).written("total", alignedTo(times, picture.streamRates()));
        writeRates(json, "pids", picture.pids(), times);
        writeRates(json, "programs", picture.services(), times);
    });
    return json.written();
}

} // namespace manager
