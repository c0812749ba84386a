// Turns the three-program sample into one that carries every table: conditional access on program 101, a
// network, an event guide and the time. New sections take the places of null packets, so that the stream
// keeps its time.
//
// usage: siSample INPUT OUTPUT SECONDS
#include "streamWriter.h"

#include <bitstream/mpeg/ts.h>

#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <iterator>
#include <set>

namespace {

using namespace streamWriter;

constexpr double packetsPerSecond = 2.2e6 / (188 * 8); // the input's constant rate
constexpr std::uint16_t transportStreamId = 0x2001;
constexpr std::uint16_t networkId = 0x2085;
constexpr std::uint16_t today = 61000; // 21 November 2025
constexpr int noon = 12 * 3600;

// PIDs.
constexpr std::uint16_t nit16 = 16;
constexpr std::uint16_t pmtOf101 = 0x1100;
constexpr std::uint16_t firstEcm = 0x600;
constexpr std::uint16_t secondEcm = 0x601;
constexpr std::uint16_t firstEmm = 0x610;
constexpr std::uint16_t secondEmm = 0x611;
constexpr std::uint16_t nullPid = 8191;
constexpr std::uint16_t firstCaSystem = 0x4AEE;
constexpr std::uint16_t secondCaSystem = 0x0B00;

const std::set<std::uint16_t> scrambledPids{0x111, 0x112, 0x113};

// What a CA message holds is its system's secret; here it is a counted filling.
Bytes caMessage(std::uint8_t tableId, std::uint8_t mark) {
    return joined({{tableId}, number(0x7040, 2), Bytes(64, mark)});
}

Bytes cyrillic(std::string_view text) {
    return joined({{0x01}, Bytes(text.begin(), text.end())});
}

Bytes service(std::uint8_t type, std::string_view provider, const Bytes& name) {
    return serviceDescriptor(type, provider, {reinterpret_cast<const char*>(name.data()), name.size()});
}

Bytes latin(std::string_view text) {
    return {text.begin(), text.end()};
}

EitRow event(std::uint16_t id, int start, std::string_view name, std::string_view text) {
    return {id, today, start, 1800, shortEventDescriptor("eng", name, text)};
}

std::vector<EitRow> schedule(std::uint16_t firstId) {
    std::vector<EitRow> rows;
    for (std::uint16_t k = 0; k < 8; ++k) {
        rows.push_back(event(static_cast<std::uint16_t>(firstId + k), noon + 1800 * k,
                             "Programme " + std::to_string(k + 1), "Half an hour of it"));
    }
    return rows;
}

struct Table {
    double interval; // seconds
    void (*write)(Packets&, int turn);
};

// Every table with how often it comes.
const std::vector<Table> tables{
    {0.1,
     [](Packets& packets, int) {
         packets.section(
             pmtOf101,
             pmt(101, 0x111, caDescriptor(firstCaSystem, firstEcm),
                 {{0x1B, 0x111, {}},
                  {0x0F, 0x112, joined({languageDescriptor("eng"), caDescriptor(secondCaSystem, secondEcm)})},
                  {0x81, 0x113, languageDescriptor("eng")}}));
     }},
    {0.1,
     [](Packets& packets, int turn) {
         packets.section(firstEcm, caMessage(turn % 2 == 0 ? 0x80 : 0x81, static_cast<std::uint8_t>(turn)));
         packets.section(secondEcm, caMessage(turn % 2 == 0 ? 0x80 : 0x81, static_cast<std::uint8_t>(turn)));
     }},
    {0.25, [](Packets& packets,
              int turn) { packets.section(firstEmm, caMessage(0x82, static_cast<std::uint8_t>(turn))); }},
    {0.5, [](Packets& packets,
             int turn) { packets.section(secondEmm, caMessage(0x84, static_cast<std::uint8_t>(turn))); }},
    {0.5,
     [](Packets& packets, int) {
         packets.section(1, cat(joined({caDescriptor(firstCaSystem, firstEmm),
                                        caDescriptor(secondCaSystem, secondEmm)})));
     }},
    {0.5,
     [](Packets& packets, int) {
         packets.section(17,
                         sdt(transportStreamId, networkId,
                             {{101, true, service(1, "Harbour Media", cyrillic("\xBF\xDE\xE0\xE2 \xC2\xB2"))},
                              {102, false,
                               service(1,
                                       "M\xC2"
                                       "ediane",
                                       latin("T\xC2"
                                             "el\xC2"
                                             "e M\xC2"
                                             "ediane"))},
                              {103, false, service(2, "K\xC8ustenfunk", latin("Radio K\xC8uste"))}}));
     }},
    {0.5,
     [](Packets& packets, int) {
         const Bytes cable =
             descriptor(0x44, {0x03, 0x46, 0x00, 0x00, 0xFF, 0xF2, 0x03, 0x00, 0x69, 0x00, 0x0F});
         const Bytes list = descriptor(0x41, {0, 101, 1, 0, 102, 1, 0, 103, 2});
         packets.section(
             nit16, nit(networkId, networkNameDescriptor("Harbour Cable"),
                        {{0x2000, networkId, {}}, {transportStreamId, networkId, joined({cable, list})}}));
     }},
    {0.5,
     [](Packets& packets, int) {
         packets.section(18, eit(0x4E, 101, transportStreamId, networkId,
                                 {event(500, noon, "Programme 1", "Half an hour of it")}, {0, 0, 1}));
         packets.section(18, eit(0x4E, 101, transportStreamId, networkId,
                                 {event(501, noon + 1800, "Programme 2", "Half an hour of it")}, {0, 1, 1}));
     }},
    {1.0, [](Packets& packets,
             int) { packets.section(18, eit(0x50, 101, transportStreamId, networkId, schedule(500))); }},
    {1.0, [](Packets& packets, int turn) { packets.section(20, tdt(today, noon + 60 + turn)); }},
};

class Sample {
  public:
    // Takes the next packet of the input and returns what stands in its place.
    Bytes packet(Bytes bytes, std::size_t number) {
        const std::uint16_t pid = ts_get_pid(bytes.data());
        fill(static_cast<double>(number) / packetsPerSecond);
        const bool replaced = pid == pmtOf101 || pid == 17 || pid == nit16 || pid == nullPid;
        if (replaced && !waiting.empty()) {
            bytes = waiting.front();
            waiting.pop_front();
        } else if (replaced) {
            ts_pad(bytes.data());
        } else if (scrambledPids.contains(pid) && ts_has_payload(bytes.data())) {
            scramble(bytes);
        }
        return bytes;
    }

  private:
    void fill(double now) {
        next.resize(tables.size());
        turns.resize(tables.size());
        for (std::size_t k = 0; k < tables.size(); ++k) {
            if (now < next[k]) {
                continue;
            }
            const std::size_t before = written.bytes().size();
            tables[k].write(written, turns[k]++);
            next[k] = now + tables[k].interval;
            const Bytes& all = written.bytes();
            for (std::size_t at = before; at < all.size(); at += TS_SIZE) {
                waiting.emplace_back(all.begin() + static_cast<std::ptrdiff_t>(at),
                                     all.begin() + static_cast<std::ptrdiff_t>(at + TS_SIZE));
            }
        }
    }

    static void scramble(Bytes& bytes) {
        ts_set_scrambling(bytes.data(), 2);
        const auto start = static_cast<std::size_t>(ts_payload(bytes.data()) - bytes.data());
        for (std::size_t k = start; k < bytes.size(); ++k) {
            bytes[k] = static_cast<std::uint8_t>(bytes[k] ^ (0x5A + k));
        }
    }

    Packets written;
    std::deque<Bytes> waiting;
    std::vector<double> next;
    std::vector<int> turns;
};

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs("usage: siSample INPUT OUTPUT SECONDS\n", stderr);
        return 2;
    }
    std::ifstream input(argv[1], std::ios::binary);
    std::ofstream output(argv[2], std::ios::binary);
    const auto count = static_cast<std::size_t>(std::atof(argv[3]) * packetsPerSecond);
    Sample sample;
    Bytes bytes(TS_SIZE);
    std::size_t number = 0;
    while (number < count && input.read(reinterpret_cast<char*>(bytes.data()), TS_SIZE)) {
        const Bytes written = sample.packet(bytes, number++);
        output.write(reinterpret_cast<const char*>(written.data()), TS_SIZE);
    }
    if (number == 0 || !output.flush()) {
        std::fprintf(stderr, "siSample: cannot make %s of %s\n", argv[2], argv[1]);
        return 1;
    }
    return 0;
}
