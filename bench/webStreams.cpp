// What the page's server costs while many look at a large stream: a scripted service answers each request of
// mpegfe-manager --web, as many streams of events as named read what it makes of that, and each second is
// told how far apart the streams get the same change.
//
// usage: webStreams [STREAMS [PIDS [SECONDS]]]   (100, 256, 30)

#include "support/childProcess.h"
#include "support/isolation.h"
#include "wire/endpoints.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <zmq.hpp>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Every rate is another one each time, so that every row is new.
std::string pidList(int pids, int round) {
    std::string list = R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{"pidCount":")" +
                       std::to_string(pids) + R"(","aggStreamRate":"  40.000Mbps","pids":[)";
    for (int i = 0; i < pids; ++i) {
        std::array<char, 300> pid{};
        std::snprintf(
            pid.data(), pid.size(),
            R"(%s{"patIndex":"1","pidOrder":"%d","pidNum":"%d","pidType":"5","referencePID":"4096",)"
            R"("pgmNum":"1","pidRate":"%8.3fKbps","scrambled":"0","description":"VID+PCR"})",
            i == 0 ? "" : ",", i, 256 + i, 100 + (round + i) % 500 + 0.125);
        list += pid.data();
    }
    return list + "]}}";
}

constexpr const char* programList =
    R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{"svcCount":"1","derived":"1","aggStreamRate":"  40.000Mbps","scrambledCount":"0","pgms":[{"pgmNum":"1","patIndex":"1","svcType":"1","referencePID":"4096","pidCount":"1","pgmRate":"   3.250Mbps","caFlag":"0","allScrambled":"0","svcProvider":"Provider A","svcName":"News One"}]}})";
constexpr const char* detail =
    R"({"requestReply":"dataStream","dataStream":"pgmDetail","pgmDetail":{"pidCount":"0","details":[{"pidType":"PMT","pidNum":"4096","pgmNum":"1"},]}})";
constexpr const char* cat =
    R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{"pidCount":"0","tableID":"0x1","pidRate":"   0.000Kbps","details":"noServices"}})";

void serve(int pids, const std::atomic<bool>& stop) {
    zmq::context_t context;
    zmq::socket_t requests(context, zmq::socket_type::rep);
    zmq::socket_t documents(context, zmq::socket_type::req);
    for (zmq::socket_t* const socket : {&requests, &documents}) {
        socket->set(zmq::sockopt::linger, 0);
        socket->set(zmq::sockopt::rcvtimeo, 100);
    }
    requests.connect(wire::requestEndpoint);
    documents.connect(wire::documentEndpoint);
    zmq::message_t message;
    for (int round = 0; !stop;) {
        if (!requests.recv(message)) {
            continue;
        }
        const std::string request = message.to_string();
        requests.send(zmq::str_buffer(R"({"reply": "ack"})"), zmq::send_flags::none);
        if (request.find("\"off\"") != std::string::npos) {
            continue;
        }
        const std::string document = request.find("pidData") != std::string::npos   ? pidList(pids, ++round)
                                     : request.find("pgmData") != std::string::npos ? programList
                                     : request.find("CAT") != std::string::npos     ? cat
                                                                                    : detail;
        documents.send(zmq::buffer(document), zmq::send_flags::none);
        while (!stop && !documents.recv(message)) {
        }
    }
}

int openStream(std::uint16_t port) {
    const int stream = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const std::string request =
        "GET /api/events HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n\r\n";
    if (connect(stream, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        send(stream, request.data(), request.size(), MSG_NOSIGNAL) < 0) {
        std::perror("webStreams: no stream");
        std::exit(1);
    }
    return stream;
}

std::uint16_t portOf(const testSupport::ChildProcess& manager) {
    std::string line;
    char letter = 0;
    pollfd readable{manager.errorDescriptor(), POLLIN, 0};
    while (!line.ends_with('\n') && poll(&readable, 1, 10'000) == 1 &&
           read(manager.errorDescriptor(), &letter, 1) == 1) {
        line += letter;
    }
    const std::size_t colon = line.rfind(':');
    if (!line.ends_with("/\n") || colon == std::string::npos) {
        std::fprintf(stderr, "webStreams: %s", line.c_str());
        std::exit(1);
    }
    return static_cast<std::uint16_t>(std::atoi(line.c_str() + colon + 1));
}

double processorSeconds(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string word;
    double ticks = 0;
    for (int i = 1; i <= 15 && file >> word; ++i) { // utime and stime; the name has no blank
        ticks += i >= 14 ? std::atof(word.c_str()) : 0;
    }
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double peakMegabytes(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    std::string word;
    while (file >> word && word != "VmHWM:") {
    }
    double kilobytes = 0;
    file >> kilobytes;
    return kilobytes / 1024;
}

// What has been read; changes are a second apart.
struct Rounds {
    std::vector<double> spreads;   // ms from the first stream's end of a change to the last one's
    std::size_t fewest = SIZE_MAX; // streams that got one
    double bytes = 0;
};

void endRound(Rounds& rounds, std::vector<Clock::time_point>& ends) {
    if (!ends.empty()) {
        const auto [first, last] = std::ranges::minmax(ends);
        rounds.fewest = std::min(rounds.fewest, ends.size());
        rounds.spreads.push_back(Milliseconds(last - first).count());
        ends.clear();
    }
}

// Reads all streams until then. A stream's change has ended when its last bytes are a message's end.
Rounds readStreams(const std::vector<int>& streams, Clock::time_point until) {
    Rounds rounds;
    std::vector<pollfd> readable;
    for (const int stream : streams) {
        readable.push_back({stream, POLLIN, 0});
    }
    std::vector<Clock::time_point> ends;
    std::vector<char> buffer(1 << 20);
    while (Clock::now() < until) {
        if (poll(readable.data(), readable.size(), 300) == 0) {
            endRound(rounds, ends);
            continue;
        }
        for (const pollfd& stream : readable) {
            if (stream.revents == 0) {
                continue;
            }
            const ssize_t length = recv(stream.fd, buffer.data(), buffer.size(), 0);
            if (length <= 0) {
                std::fprintf(stderr, "webStreams: a stream has been disconnected\n");
                std::exit(1);
            }
            rounds.bytes += static_cast<double>(length);
            if (std::string_view(buffer.data(), static_cast<std::size_t>(length)).ends_with("\n\n\r\n")) {
                ends.push_back(Clock::now());
            }
        }
    }
    return rounds;
}

} // namespace

int main(int argc, char** argv) {
    const auto argument = [&](int place, int otherwise) {
        return argc > place ? std::atoi(argv[place]) : otherwise;
    };
    const int streamCount = argument(1, 100);
    const int pids = argument(2, 256);
    const int seconds = argument(3, 30);
    testSupport::enterIsolation();
    const testSupport::ChildProcess manager({MPEGFE_MANAGER, "--web", "127.0.0.1:0"}, {});
    const std::uint16_t port = portOf(manager);
    std::atomic<bool> stop = false;
    std::thread service([&] { serve(pids, stop); });
    std::vector<int> streams;
    for (int i = 0; i < streamCount; ++i) {
        streams.push_back(openStream(port));
    }
    readStreams(streams, Clock::now() + std::chrono::seconds(5)); // all have begun
    const double before = processorSeconds(manager.processId());
    const auto begin = Clock::now();
    Rounds rounds = readStreams(streams, begin + std::chrono::seconds(seconds));
    const double spent = processorSeconds(manager.processId()) - before;
    const double passed = std::chrono::duration<double>(Clock::now() - begin).count();
    stop = true;
    service.join();
    if (rounds.spreads.empty()) {
        std::fprintf(stderr, "webStreams: no change came\n");
        return 1;
    }
    std::ranges::sort(rounds.spreads);
    std::printf("streams %d, PIDs %d, seconds %.1f, changes %zu\n", streamCount, pids, passed,
                rounds.spreads.size());
    std::printf("streams that got each change: %zu\n", rounds.fewest); // the fewest
    std::printf("sent, MB/s: %.2f\n", rounds.bytes / passed / 1e6);
    std::printf("processor, %% of a core: %.2f\n", 100 * spent / passed);
    std::printf("memory at the most, MB: %.1f\n", peakMegabytes(manager.processId()));
    std::printf("from the first stream to the last, median ms: %.1f\n",
                rounds.spreads[rounds.spreads.size() / 2]);
    std::printf("from the first stream to the last, most ms: %.1f\n", rounds.spreads.back());
    return 0;
}
