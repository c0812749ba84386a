// The peers of the service's four channels, each with a context of its own, so that one of them can go and
// come while the others stay.
#pragma once

#include "../support/peers.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include <zmq.hpp>

namespace serviceTest {

enum class Channel { requests, documents, records, instructions };

inline constexpr std::array<Channel, 4> channels{Channel::requests, Channel::documents, Channel::records,
                                                 Channel::instructions};

struct ChannelRow {
    const char* name;
    const char* endpoint;
    zmq::socket_type peer;
    const char* peerType; // as a peer names itself in a handshake
};

const ChannelRow& rowOf(Channel channel);

class ChannelPeers {
  public:
    void start(Channel channel);
    // The endpoint is free when it returns.
    void stop(Channel channel);
    void startAll();
    void stopAll();

    void sendRequest(const std::string& text);
    // The same without waiting for anything; false when there is no room for a request now.
    bool trySendRequest(const std::string& text);
    // What has come and has not been taken; nothing when there is none yet.
    std::optional<std::string> acknowledgement();
    std::optional<std::string> document();
    std::optional<std::uint16_t> instruction();
    // How many subscriptions the publisher has heard since it started, or since they were forgotten.
    std::size_t subscriptions();
    void forgetSubscriptions();

    // Answers the last document or instruction that was taken, in one part or in more.
    void answerDocument(const testSupport::Parts& parts);
    void answerInstruction(const testSupport::Parts& parts);
    void publish(const testSupport::Parts& parts);

  private:
    struct Peer {
        zmq::context_t context;
        zmq::socket_t socket;
        explicit Peer(const ChannelRow& row);
    };
    zmq::socket_t& socket(Channel channel);
    std::optional<testSupport::Parts> take(Channel channel);

    std::array<std::optional<Peer>, channels.size()> peers;
    testSupport::Parts documentEnvelope;
    testSupport::Parts instructionEnvelope;
    std::size_t subscriptionCount = 0;
};

} // namespace serviceTest
