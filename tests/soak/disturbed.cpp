// Serves requests while peers are taken away, stopped, and replaced by such as break ZeroMQ's protocol, at
// random. After each disturbance the request at hand must be served exactly as without one, within 2 s.
// Prints a table of what happened, and what the process holds at the beginning and at the end; fails when a
// request was not served or something has grown.
//
// usage: disturbed SECONDS [SEED]
#include "../support/isolation.h"
#include "badKinds.h"
#include "disturbedExchange.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <unistd.h>

namespace {

using namespace serviceTest;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr auto promptly = std::chrono::seconds(2);
constexpr int warmUp = 40; // rounds
constexpr auto interim = std::chrono::minutes(5);
constexpr long noiseKilobytes = 2048; // what the C library keeps of freed memory, for two contexts' threads

struct Holdings {
    std::size_t descriptors = 0;
    long residentKilobytes = 0;
};

class Disturber {
  public:
    explicit Disturber(unsigned seed) : random(seed) {}

    // One request with one disturbance. Throws std::runtime_error when it is not served as it should be.
    void round() {
        const std::size_t way = any(4);
        // Where the service itself is stopped, all peers stay; at the records nobody expects otherwise.
        const Channel channel = way == 1 ? Channel::records : channels[any(channels.size())];
        const Wait wait = waits[any(waits.size())];
        Clock::time_point back;
        std::string what;
        const auto happens = [&] {
            what = way == 0   ? restart(channel)
                   : way == 1 ? stop()
                              : replace(channel, wait, badKinds()[any(badKinds().size())]);
            back = Clock::now();
        };
        const std::string served = exchange.serve(DisturbedExchange::Disturbance{wait, channel, happens});
        const Clock::duration took = Clock::now() - back;
        const std::string where = what + " at " + rowOf(channel).name;
        ++counts[where];
        slowest = std::max(slowest, took);
        if (served != undisturbed) {
            throw std::runtime_error("after " + where + " another answer:\n" + served);
        }
        if (took > promptly) {
            throw std::runtime_error("after " + where + " it took more than 2 s");
        }
    }

    Holdings holdings() {
        exchange.service.waitForSleep();
        Holdings held;
        held.descriptors = exchange.service.descriptorCount();
        std::ifstream statm("/proc/" + std::to_string(exchange.service.processId()) + "/statm");
        long pages = 0;
        statm >> pages >> held.residentKilobytes;
        held.residentKilobytes *= sysconf(_SC_PAGESIZE) / 1024;
        return held;
    }

    const std::map<std::string, int>& disturbances() const {
        return counts;
    }
    milliseconds slowestReturn() const {
        return std::chrono::duration_cast<milliseconds>(slowest);
    }
    std::string errors() const {
        return exchange.service.errors();
    }

  private:
    std::size_t any(std::size_t count) {
        return static_cast<std::size_t>(random() % count);
    }

    // The peer is away for a while.
    std::string restart(Channel channel) {
        exchange.peers.stop(channel);
        exchange.service.letPass(milliseconds(any(3000)));
        exchange.peers.start(channel);
        return "a restart";
    }

    // The service itself is stopped and continued, which no peer can tell from a slow one.
    std::string stop() {
        exchange.service.freeze();
        exchange.service.letPass(milliseconds(any(1000)));
        exchange.service.thaw();
        return "a stopped service";
    }

    // A document that a peer has taken, if only to go, is not sent again, so such a one is left out there.
    std::string replace(Channel channel, Wait wait, const BadKind& kind) {
        if (kind.shakesHands && channel == Channel::documents && wait == Wait::acknowledgement) {
            return restart(channel);
        }
        exchange.peers.stop(channel);
        {
            BadPeer peer(rowOf(channel).endpoint, kind.script(rowOf(channel).peerType));
            exchange.await("a connection to the bad peer", [&] { return peer.connections() > 0; });
            exchange.service.letPass(milliseconds(any(1500)));
        }
        exchange.peers.start(channel);
        return kind.name;
    }

    std::mt19937 random;
    DisturbedExchange exchange;
    const std::string undisturbed = exchange.serve();
    std::map<std::string, int> counts;
    Clock::duration slowest{};
};

void print(int rounds, const Holdings& held) {
    std::printf("after %6d requests: %zu descriptors, %ld kB resident\n", rounds, held.descriptors,
                held.residentKilobytes);
    std::fflush(stdout);
}

// Returns whether all requests were served and nothing has grown.
bool disturbFor(std::chrono::seconds time, unsigned seed) {
    Disturber disturber(seed);
    const Clock::time_point start = Clock::now();
    Clock::time_point nextPrint = start + interim;
    Holdings early;
    int rounds = 0;
    while (Clock::now() - start < time || rounds <= warmUp) {
        disturber.round();
        ++rounds;
        if (rounds == warmUp) {
            early = disturber.holdings();
            print(rounds, early);
        }
        if (Clock::now() >= nextPrint) {
            nextPrint += interim;
            print(rounds, disturber.holdings());
        }
    }
    const Holdings late = disturber.holdings();
    print(rounds, late);
    for (const auto& [what, count] : disturber.disturbances()) {
        std::printf("%6d %s\n", count, what.c_str());
    }
    std::printf("slowest return: %lld ms\n", static_cast<long long>(disturber.slowestReturn().count()));
    std::fputs(disturber.errors().c_str(), stdout);
    return late.descriptors == early.descriptors && disturber.errors().empty() &&
           late.residentKilobytes <= early.residentKilobytes + noiseKilobytes;
}

} // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 0;
    if (seconds <= 0 || argc > 3) {
        std::fputs("usage: disturbed SECONDS [SEED]\n", stderr);
        return 2;
    }
    testSupport::enterIsolation();
    try {
        const bool steady = disturbFor(std::chrono::seconds(seconds),
                                       argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : 1);
        return steady ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& trouble) {
        std::fprintf(stderr, "disturbed: %s\n", trouble.what());
        return EXIT_FAILURE;
    }
}
