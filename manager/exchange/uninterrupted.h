// Calls of ZeroMQ that a signal may interrupt.
#pragma once

#include <cerrno>
#include <zmq.hpp>

namespace manager {

// Makes a call that does not wait, again as long as a signal interrupts it: ZeroMQ tells that of nearly all
// of its functions. Who waits looks for the signal. Throws zmq::error_t for what else goes wrong.
template <typename Call>
auto uninterrupted(Call call) {
    for (;;) {
        try {
            return call();
        } catch (const zmq::error_t& error) {
            if (error.num() != EINTR) {
                throw;
            }
        }
    }
}

} // namespace manager
