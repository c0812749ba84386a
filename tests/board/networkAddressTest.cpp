// Addresses of network sources: what they mean, and the words in which wrong ones are refused.
#include "source/networkAddress.h"

#include "../support/isolation.h"
#include "source/openSource.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Sockets are opened in a network of their own.
class NetworkAddress : public testing::Test {
  protected:
    NetworkAddress() {
        testSupport::enterIsolation();
    }
};

// "host port name=value..." of an address.
std::string parts(const std::string& text) {
    const board::NetworkAddress address = board::parseAddress(text);
    std::string result = address.host + " " + std::to_string(address.port);
    for (const auto& [name, value] : address.parameters) {
        result += " " + name + "=" + value;
    }
    return result;
}

// What is said when a source cannot be opened, without what is the same of all.
std::string expectation(const std::string& name, const std::string& interface = "") {
    try {
        board::openSource(name, {interface});
    } catch (const board::BoardError& error) {
        const std::string said = error.what();
        const std::string start = "cannot open " + name + ": expected ";
        EXPECT_EQ(said.substr(0, start.size()), start);
        return said.substr(start.size());
    }
    return "opened";
}

constexpr const char* threeForms = "udp://ADDRESS:PORT, rtp://ADDRESS:PORT or srt://ADDRESS:PORT, got ";

TEST_F(NetworkAddress, HasHostPortAndParameters) {
    EXPECT_EQ(parts("udp://239.1.1.1:5000"), "239.1.1.1 5000");
    EXPECT_EQ(parts("udp://239.1.1.1:5000/"), "239.1.1.1 5000");
    EXPECT_EQ(parts("udp://@239.1.1.1:5000"), "239.1.1.1 5000");
    EXPECT_EQ(parts("rtp://localhost:1"), "localhost 1");
    EXPECT_EQ(parts("udp://[::1]:65535"), "::1 65535");
    EXPECT_EQ(parts("udp://:5000"), " 5000");
    EXPECT_EQ(parts("srt://127.0.0.1:5000?mode=listener&latency=200"),
              "127.0.0.1 5000 mode=listener latency=200");
    EXPECT_EQ(parts("srt://host:5000/?streamid=%23%21%3a%3Ar=a%2&pbkeylen"),
              "host 5000 streamid=#!::r=a%2 pbkeylen=");
}

TEST_F(NetworkAddress, NeedsAPortThatExists) {
    const std::string range = ", where ports are numbers from 1 to 65535; check the address";
    EXPECT_EQ(expectation("udp://127.0.0.1:99999"), threeForms + ("port \"99999\"" + range));
    EXPECT_EQ(expectation("udp://127.0.0.1:0"), threeForms + ("port \"0\"" + range));
    EXPECT_EQ(expectation("udp://127.0.0.1:5000x"), threeForms + ("port \"5000x\"" + range));
    EXPECT_EQ(expectation("udp://127.0.0.1:-1"), threeForms + ("port \"-1\"" + range));
    EXPECT_EQ(expectation("udp://127.0.0.1"), threeForms + std::string("no port; check the address"));
    EXPECT_EQ(expectation("udp://127.0.0.1:"), threeForms + std::string("no port; check the address"));
    EXPECT_EQ(expectation("udp://[::1]"), threeForms + std::string("no port; check the address"));
    EXPECT_EQ(expectation("udp://"), threeForms + std::string("no port; check the address"));
}

TEST_F(NetworkAddress, NeedsAHostThatExists) {
    EXPECT_EQ(expectation("rtp://300.1.1.1:5"),
              threeForms + std::string("\"300.1.1.1\", which is no IP address; check the address"));
    EXPECT_EQ(expectation("udp://[::g]:5"),
              threeForms + std::string("\"::g\", which is no IP address; check the address"));
    EXPECT_EQ(expectation("udp://[::1:5"),
              threeForms + std::string("\"[\" without \"]\"; check the address"));
    EXPECT_EQ(
        expectation("udp://::1:5"),
        threeForms +
            std::string(
                "several colons, where an IPv6 address stands in brackets: [::1]:5000; check the address"));
    EXPECT_EQ(expectation("udp://127.0.0.1:5/path"),
              threeForms + std::string("path \"/path\"; check the address"));
    EXPECT_EQ(
        expectation("udp://192.0.2.1:5000"), // kept for documentation, and on no machine
        "an address of this machine or a multicast group, got Cannot assign requested address; check the "
        "address, and that no other program receives on it");
}

TEST_F(NetworkAddress, IsRefusedWithParametersThatMeanNothing) {
    EXPECT_EQ(expectation("udp://127.0.0.1:5611?ttl=2"),
              threeForms +
                  std::string("parameter \"ttl\", where only srt:// has parameters; check the address"));
    EXPECT_EQ(expectation("srt://127.0.0.1:5611?colour=red"),
              threeForms + std::string("parameter \"colour\", which is not known; check the address"));
    EXPECT_EQ(expectation("srt://127.0.0.1:5611?latency=long"),
              threeForms + std::string("\"latency=long\", which is no number; check the address"));
    EXPECT_EQ(expectation("srt://127.0.0.1:5611?passphrase=short"),
              threeForms + std::string("\"passphrase=short\", which SRT refuses; check the address"));
    EXPECT_EQ(
        expectation("srt://127.0.0.1:5611?mode=push"),
        threeForms +
            std::string("mode \"push\", which is none of caller, listener, rendezvous; check the address"));
    EXPECT_EQ(expectation("srt://:5611?mode=caller"),
              threeForms + std::string("nobody to call; check the address"));
}

TEST_F(NetworkAddress, IsNotBlamedForAWrongInterface) {
    const std::string blame =
        "a network interface of this machine, got \"nope0\"; check --interface; ip link shows the names";
    EXPECT_EQ(expectation("udp://239.255.1.1:5612", "nope0"), blame);
    EXPECT_EQ(expectation("rtp://127.0.0.1:5612", "nope0"), blame);
}

TEST_F(NetworkAddress, IsNotSharedWithAnotherReceiverUnlessItIsAGroup) {
    const auto first = board::openSource("udp://127.0.0.1:5613", {});
    EXPECT_EQ(expectation("udp://127.0.0.1:5613"),
              "an address of this machine or a multicast group, got Address already "
              "in use; check the address, and that no other program receives on it");
    const auto group = board::openSource("udp://239.255.1.1:5614", {"lo"});
    EXPECT_EQ(expectation("udp://239.255.1.1:5614", "lo"), "opened");
    const auto listener = board::openSource("srt://127.0.0.1:5615?mode=listener", {});
    EXPECT_NE(expectation("udp://127.0.0.1:5615"), "opened");
}

} // namespace
