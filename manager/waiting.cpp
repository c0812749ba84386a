#include "waiting.h"

#include "companions/stopSignals.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <vector>

namespace manager {

using std::chrono::milliseconds;

void pollUntil(std::span<zmq::pollitem_t> items, Time until) {
    const auto left = std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now());
    try {
        zmq::poll(items.data(), items.size(), std::max(milliseconds(0), left));
    } catch (const zmq::error_t& error) {
        if (error.num() != EINTR) { // whoever called looks for a signal
            throw;
        }
    }
}

void waitFor(const Exchange& exchange, Time until, int descriptor) {
    const auto items = exchange.pollItems();
    std::vector<zmq::pollitem_t> all(items.begin(), items.end());
    all.push_back({nullptr, companions::stopDescriptor(), ZMQ_POLLIN, 0});
    if (descriptor >= 0) {
        all.push_back({nullptr, descriptor, ZMQ_POLLIN, 0});
    }
    pollUntil(all, std::min(exchange.wakeUp().value_or(until), until));
}

} // namespace manager
