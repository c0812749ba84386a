#include "badKinds.h"

#include <algorithm>
#include <random>

namespace serviceTest {
namespace {

// The head of a frame of 2^63 - 1 bytes, with these flags.
std::string hugeFrame(char flags) {
    std::string bytes(9, '\xFF');
    bytes[0] = flags;
    bytes[1] = '\x7F';
    return bytes;
}

// A frame of fewer than 256 bytes, with these flags.
std::string frame(char flags, const std::string& body) {
    return std::string(1, flags) + static_cast<char>(body.size()) + body;
}

// The same of any length.
std::string longFrame(char flags, const std::string& body) {
    std::string bytes(9, '\0');
    bytes[0] = static_cast<char>(flags | 2);
    for (std::size_t place = 0; place < 8; ++place) {
        bytes[8 - place] = static_cast<char>(body.size() >> 8 * place);
    }
    return bytes + body;
}

// ZMTP 2.0: a PULL, whose type libzmq does not look at, and its empty name.
std::string olderGreeting() {
    return {"\xFF\0\0\0\0\0\0\0\x01\x7F\x01\x07\0\0", 14};
}

// READY with a property of so many bytes more than there should be.
std::string readyWithMore(const std::string& socketType, std::size_t count) {
    std::string body = readyCommand(socketType).substr(2) + "\x06X-more";
    for (int place = 3; place >= 0; --place) {
        body += static_cast<char>(count >> 8 * place);
    }
    return longFrame(4, body + std::string(count, 'x'));
}

constexpr std::size_t manyBytes = 1'000'000;

const BadKind kinds[] = {
    {"WrongSocketType",
     [](const char*) { return BadPeerScript{.says = greeting("NULL") + readyCommand("PULL")}; }},
    {"WrongMechanism", [](const char*) { return BadPeerScript{.says = greeting("CURVE")}; }},
    {"PlainMechanism",
     [](const char*) { return BadPeerScript{.says = greeting("PLAIN") + frame(4, "\x07WELCOME")}; }},
    {"NoZmtp", [](const char*) { return BadPeerScript{.says = "HTTP/1.1 400 Bad Request\r\n\r\n"}; }, true},
    {"NoZmtpAndCloses",
     [](const char*) { return BadPeerScript{.says = "HTTP/1.1 400 Bad Request\r\n\r\n", .closes = true}; }},
    {"MalformedGreeting",
     [](const char*) {
         return BadPeerScript{.says = std::string("\xFF\0\0\0\0\0\0\0\x01\x7F\x03", 11) +
                                      std::string(53, '\xFF')};
     }},
    {"MalformedReady",
     [](const char*) {
         return BadPeerScript{.says = greeting("NULL") + std::string("\x04\x0A\x05READY\xFFxyz", 12)};
     }},
    {"UnknownCommand",
     [](const char*) {
         return BadPeerScript{.says = greeting("NULL") + std::string("\x04\x06\x05STEAD", 8)};
     }},
    {"MessageBeforeReady",
     [](const char*) { return BadPeerScript{.says = greeting("NULL") + std::string("\0\x05hello", 7)}; }},
    {"OversizedCommand",
     [](const char*) { return BadPeerScript{.says = greeting("NULL") + hugeFrame('\x06')}; }},
    {"OversizedMessage",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type) + hugeFrame('\x02')};
     },
     false, true},
    {"ClosesAtOnce", [](const char*) { return BadPeerScript{.closesUnheard = true}; }},
    {"ClosesAfterTheGreeting",
     [](const char*) { return BadPeerScript{.says = greeting("NULL"), .closes = true}; }},
    {"ClosesAfterTheHandshake",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type), .closes = true};
     },
     false, true},
    {"GarbageForEver",
     [](const char*) { return BadPeerScript{.says = "\xFF", .saysForEver = randomBytes(100000)}; }},
    {"GarbageAfterTheGreeting",
     [](const char*) { return BadPeerScript{.says = greeting("NULL"), .saysForEver = randomBytes(100000)}; }},
    {"SaysNothing", [](const char*) { return BadPeerScript{}; }, true},
    {"SaysNothingAfterTheGreeting", [](const char*) { return BadPeerScript{.says = greeting("NULL")}; },
     true},
    {"OlderProtocol", [](const char*) { return BadPeerScript{.says = olderGreeting()}; }, true},
    {"ReadyWithAMegabyte",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyWithMore(type, manyBytes)};
     },
     true, true},
    {"PingsForEver",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type),
                              .saysForEver = frame(4, std::string("\x04PING\0\x01", 7) + "context of ping")};
     },
     true, true},
    {"PartsForEver",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type), .saysForEver = frame(1, "part")};
     },
     true, true},
    {"ReadsNothingAfterTheHandshake",
     [](const char* type) {
         return BadPeerScript{.says = greeting("NULL") + readyCommand(type), .readsNothing = true};
     },
     true, true},
    {"ReadsNothing",
     [](const char*) { return BadPeerScript{.says = greeting("NULL"), .readsNothing = true}; }, true},
};

} // namespace

std::span<const BadKind> badKinds() {
    return kinds;
}

std::string randomBytes(std::size_t count) {
    std::mt19937 random(1);
    std::string bytes(count, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

} // namespace serviceTest
