// A service with its four peers, any of which a test may take away or replace in whatever the service waits
// for.
#pragma once

#include "channelPeers.h"
#include "recordText.h"
#include "serviceRun.h"

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace serviceTest {

// What the service waits in when a peer is replaced.
enum class Wait { answer, records, acknowledgement, request };

inline constexpr std::array<Wait, 4> waits{Wait::answer, Wait::records, Wait::acknowledgement, Wait::request};

// What does not come in time, or is wrong, throws std::runtime_error.
class DisturbedExchange {
  public:
    DisturbedExchange();

    // What happens to a peer while the service waits for this. Nothing when there is no such moment.
    struct Disturbance {
        Wait wait;
        Channel channel;
        std::function<void()> happens;
    };

    // A request for a table up to its document, and its "off". Returns what the console showed of it, and of
    // the document its text.
    std::string serve(const std::optional<Disturbance>& disturbance = std::nullopt);

    // Returns what found() returns once that is something.
    template <typename Found>
    auto await(const std::string& what, Found&& found) {
        decltype(found()) result{};
        service.watchUntil(what, [&] { return static_cast<bool>(result = found()); });
        return result;
    }

    void takeInstruction(std::uint16_t expected);
    // Sends a request, and waits for its acknowledgement.
    void request(const std::string& text);
    void publish(const std::string& name);
    // With whatever the parser is to send behind its answer.
    void answer(std::uint16_t bits);

    testSupport::Parts furtherParts;
    ChannelPeers peers;
    ServiceRun service;

  private:
    bool disturbs(Wait wait, Channel channel) const;
    void disturbIn(Wait wait);
    void awaitAnswer();
    void awaitRecords();
    void awaitSubscriptions();
    void stopNoticed(Channel channel);
    std::string awaitAcknowledgement();
    void awaitConsole(const std::string& line, std::size_t start);

    const RecordBook records;
    std::optional<Disturbance> current;
};

} // namespace serviceTest
