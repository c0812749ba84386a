#include "boardProcess.h"

#include "wire/endpoints.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <poll.h>
#include <unistd.h>

namespace boardProcess {

std::string golden(const std::string& name, const std::string& made) {
    const std::string path = MPEGFE_BOARD_GOLDEN "/" + name;
    if (std::getenv("MPEGFE_WRITE_GOLDEN") != nullptr) {
        std::ofstream(path) << made;
    }
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

BoardProcess::BoardProcess() : file(testing::TempDir() + "board-" + std::to_string(::getpid())) {
    testSupport::enterIsolation();
}

BoardProcess::~BoardProcess() {
    std::filesystem::remove(file);
}

void BoardProcess::start(const std::vector<std::string>& arguments) {
    std::vector<std::string> words{MPEGFE_BOARD};
    words.insert(words.end(), arguments.begin(), arguments.end());
    board.emplace(words, std::vector<std::string>{});
    console.clear();
}

bool BoardProcess::awaitConsole(const std::string& text) {
    while (console.find(text) == std::string::npos) {
        if (!readConsole()) {
            return false;
        }
    }
    return true;
}

bool BoardProcess::readConsole() {
    pollfd waiting{board->errorDescriptor(), POLLIN, 0};
    std::array<char, 4096> piece{};
    if (::poll(&waiting, 1, patience.count()) <= 0) {
        return false;
    }
    const ssize_t count = ::read(board->errorDescriptor(), piece.data(), piece.size());
    if (count > 0) {
        console.append(piece.data(), static_cast<std::size_t>(count));
    }
    return count > 0;
}

std::string BoardProcess::end() {
    while (readConsole()) {
    }
    const auto status = board->waitFor(patience);
    return console + (status ? testSupport::describeStatus(*status) : "still running");
}

std::string BoardProcess::output() {
    std::string text;
    std::array<char, 4096> piece{};
    pollfd waiting{board->outputDescriptor(), POLLIN, 0};
    while (::poll(&waiting, 1, patience.count()) > 0) {
        const ssize_t count = ::read(board->outputDescriptor(), piece.data(), piece.size());
        if (count <= 0) {
            break;
        }
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

std::string BoardProcess::stop(int signal) {
    board->signal(signal);
    return end();
}

std::string BoardProcess::outcome(const std::vector<std::string>& arguments) {
    start(arguments);
    return end();
}

Client::Client() {
    subscriber.set(zmq::sockopt::rcvtimeo, patience.count());
    instructor.set(zmq::sockopt::rcvtimeo, patience.count());
    subscriber.set(zmq::sockopt::linger, 0);
    instructor.set(zmq::sockopt::linger, 0);
    subscriber.connect("tcp://127.0.0.1:" WIRE_PARSER_PORT);
    instructor.connect(wire::instructionEndpoint);
}

void Client::subscribe(wire::TopicBits bits) {
    for (const wire::Topic& topic : wire::topics) {
        if ((bits & topic.bit) != 0) {
            subscriber.set(zmq::sockopt::subscribe, topic.name);
        }
    }
}

int Client::instruct(wire::TopicBits word) {
    instructor.send(zmq::buffer(&word, sizeof word));
    zmq::message_t reply;
    if (!instructor.recv(reply) || reply.size() != sizeof word) {
        return -1;
    }
    return *reply.data<wire::TopicBits>();
}

Message Client::next() {
    Message parts;
    zmq::message_t part;
    do {
        if (!subscriber.recv(part)) {
            return {"nothing"};
        }
        parts.push_back(part.to_string());
    } while (part.more());
    return parts;
}

std::string Client::nextTopics(int count) {
    std::string names;
    for (int k = 0; k < count; ++k) {
        names += next().front().substr(std::strlen("MPEG-STRUCT-")) + " ";
    }
    return names;
}

wire::PatRecord Client::nextPat() {
    Message message;
    do {
        message = next();
    } while (message.front() != "MPEG-STRUCT-PAT" && message.front() != "nothing");
    wire::PatRecord pat{};
    if (message.size() == 3) {
        std::memcpy(&pat, message[2].data(), std::min(sizeof pat, message[2].size()));
    }
    return pat;
}

} // namespace boardProcess
