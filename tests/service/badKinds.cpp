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

const BadKind kinds[] = {
    {"WrongSocketType",
     [](const char*) { return BadPeerScript{.says = greeting("NULL") + readyCommand("PULL")}; }},
    {"WrongMechanism", [](const char*) { return BadPeerScript{.says = greeting("CURVE")}; }},
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
