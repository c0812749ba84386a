// What the real board makes of small streams of many kinds. Each is made by samples/streamMaker.cpp, where it
// says what is in it; made/NAME.json says what has to be found in it.
#include "boardProcess.h"

#include "companions/json.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>

namespace {

using namespace boardProcess;
using companions::Json;

class MadeStreams : public BoardProcess {
  protected:
    // Makes the stream of this name; it stands in file.
    void make(const std::string& name) const {
        testSupport::ChildProcess maker({MPEGFE_STREAM_MAKER, name, file}, {});
        const auto status = maker.waitFor(patience);
        ASSERT_TRUE(status);
        ASSERT_EQ(testSupport::describeStatus(*status), "exit code 0");
    }

    // What the board prints of it, and under "console" what it says besides.
    Json printed(const std::vector<std::string>& options = {}) {
        const std::string goodEnd = "exit code 0";
        std::vector<std::string> words{"--print", file};
        words.insert(words.end(), options.begin(), options.end());
        start(words);
        const std::string text = output();
        const std::string said = end();
        Json records(json_loadb(text.data(), text.size(), 0, nullptr));
        EXPECT_TRUE(records && said.ends_with(goodEnd)) << said;
        json_object_set_new(records.get(), "console",
                            json_stringn(said.data(), said.size() - std::min(said.size(), goodEnd.size())));
        return records;
    }
};

// A value as text whose numbers have the digits that a rate is known to.
std::string comparable(json_t* value) {
    constexpr std::size_t digits = 5;
    return companions::dump(Json(json_incref(value)),
                            JSON_INDENT(1) | JSON_SORT_KEYS | JSON_ENCODE_ANY | JSON_REAL_PRECISION(digits));
}

class EveryMadeStream : public MadeStreams, public testing::WithParamInterface<const char*> {};

TEST_P(EveryMadeStream, IsPrintedAsItIs) {
    make(GetParam());
    const Json expected(
        json_load_file((std::string(MPEGFE_MADE) + "/" + GetParam() + ".json").c_str(), 0, nullptr));
    const Json found = printed();
    ASSERT_TRUE(expected && found);
    ASSERT_GT(json_object_size(expected.get()), 0U);
    if (json_object_get(expected.get(), "console") == nullptr) { // nothing
        json_object_set_new(expected.get(), "console", json_string(""));
    }
    const char* name = nullptr;
    json_t* record = nullptr;
    json_object_foreach(expected.get(), name, record) {
        EXPECT_EQ(comparable(json_object_get(found.get(), name)), comparable(record)) << name;
    }
}

INSTANTIATE_TEST_SUITE_P(, EveryMadeStream,
                         testing::Values("atsc", "isdb", "mpeg2-422", "enhanced-ac3", "latm",
                                         "unaligned-audio", "satellite", "partial-nit", "one-pcr", "no-pcr",
                                         "dvb-texts", "hostile-texts", "last-day", "open-events",
                                         "network-only", "shared-pids", "stray-maps", "separate-pcr",
                                         "many-services", "radio", "video-types", "accompaniment", "late-pat",
                                         "churn", "stuffing", "scrambling", "arrival-stamps",
                                         "error-protection", "mid-packet", "one-packet", "zeros-before",
                                         "alternating", "leftover-pcrs", "stray-pcr", "stamps-alone",
                                         "low-pids", "inner-lengths"),
                         [](const auto& request) {
                             std::string name = request.param;
                             std::erase(name, '-');
                             return name;
                         });

// The rates of all PIDs together, of a TS-STATUS record.
double sumOf(const Message& message) {
    wire::TsStatusRecord status{};
    std::memcpy(&status, message.back().data(), std::min(sizeof status, message.back().size()));
    return std::accumulate(std::begin(status.pidStats), std::end(status.pidStats), 0.0,
                           [](double sum, const auto& pid) { return sum + static_cast<double>(pid.rate); });
}

// Of printed records.
double sumOf(const Json& records) {
    double sum = 0;
    std::size_t k = 0;
    json_t* rate = nullptr;
    json_array_foreach(json_object_get(records.get(), "tsStatus"), k, rate) {
        sum += json_real_value(rate);
    }
    return sum;
}

constexpr double assumedRate = 10e6; // bit/s of a stream that shows no time

// A stream in which no clock runs.
class Untimed : public MadeStreams {
  protected:
    using Clock = std::chrono::steady_clock;

    // Stops the board, which has read no more packets than the assumed rate brings in the time since it has
    // begun to play.
    void stopsInTime(Clock::time_point begin) {
        using namespace std::chrono_literals;
        using Seconds = std::chrono::duration<double>;
        const std::string said = stop();
        const Seconds took = Clock::now() - begin;
        ASSERT_NE(said.find("exit code 0"), std::string::npos) << said;
        const std::string before = "stopped after ";
        const auto at = said.find(before);
        ASSERT_NE(at, std::string::npos) << said;
        constexpr double packetBits = 188 * 8;
        constexpr Seconds settling = 3s; // of stream time, that is read as fast as it goes, and a little
        EXPECT_LT(std::stod(said.substr(at + before.size())) * packetBits / assumedRate,
                  (took + settling).count())
            << said;
    }
};

class WithoutTime : public Untimed, public testing::WithParamInterface<const char*> {};

TEST_P(WithoutTime, TakesAsLongAsItWouldAtTheAssumedRate) {
    make(GetParam());
    for (const char* period : {"1000", "0"}) {
        EXPECT_NEAR(sumOf(printed({"--rate-period", period})), assumedRate, assumedRate / 100) << period;
    }
}

// A file that ends within a moment neither races through its passes nor keeps its clients waiting.
TEST_P(WithoutTime, IsPublishedInRealTimeOverAndOver) {
    make(GetParam());
    const auto begin = Clock::now();
    start({file});
    Client client;
    client.subscribe(wire::patBit | wire::tsStatusBit);
    ASSERT_EQ(client.instruct(wire::patBit | wire::tsStatusBit), wire::patBit | wire::tsStatusBit);
    ASSERT_EQ(client.nextPat().programCount, 1);
    for (int rounds = 0; rounds < 8;) {
        const Message message = client.next();
        ASSERT_EQ(message.size(), 3U);
        if (message.front() == "MPEG-STRUCT-TS-STATUS") {
            EXPECT_NEAR(sumOf(message), assumedRate, assumedRate / 20);
            ++rounds;
        }
    }
    stopsInTime(begin);
}

INSTANTIATE_TEST_SUITE_P(, WithoutTime, testing::Values("one-pcr", "no-pcr", "one-packet"),
                         [](const auto& request) {
                             std::string name = request.param;
                             std::erase(name, '-');
                             return name;
                         });

// New streams that follow one another at once take the time of their packets.
class AlwaysAnew : public Untimed, public testing::WithParamInterface<const char*> {};

TEST_P(AlwaysAnew, IsPlayedInRealTime) {
    make(GetParam());
    const auto begin = Clock::now();
    start({"--new-stream-on-loop", file});
    ASSERT_TRUE(awaitConsole("playing "));
    Client client;
    client.subscribe(wire::patBit);
    ASSERT_EQ(client.instruct(wire::patBit), wire::patBit);
    for (int rounds = 0; rounds < 8; ++rounds) {
        ASSERT_EQ(client.next().size(), 3U);
    }
    stopsInTime(begin);
}

INSTANTIATE_TEST_SUITE_P(, AlwaysAnew, testing::Values("one-pcr", "no-pcr", "alternating"),
                         [](const auto& request) {
                             std::string name = request.param;
                             std::erase(name, '-');
                             return name;
                         });

// What is no stream is searched no further than is sensible, and as long as there may be one.
TEST_F(MadeStreams, EndInALineWhereThereIsNone) {
    constexpr std::size_t limit = std::size_t{64} * 1024 * 1024;
    std::ofstream{file};
    std::filesystem::resize_file(file, limit + 1);
    EXPECT_EQ(outcome({"--print", file}), "mpegfe-board: cannot play " + file +
                                              ": expected a transport stream: packets of 188 bytes that "
                                              "start with 0x47, got no such packets in " +
                                              std::to_string(limit) +
                                              " bytes; name a transport stream\nexit code 1");
}

} // namespace
