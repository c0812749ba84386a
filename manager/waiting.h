// Waiting for whatever drives the program: its peers, its user, a signal, or the time.
#pragma once

#include "exchange/exchange.h"

#include <span>
#include <zmq.hpp>

namespace manager {

// Waits until one of the items is ready, until a signal or this time has come.
void pollUntil(std::span<zmq::pollitem_t> items, Time until);

// Waits until the exchange has something to do, until a signal or this time has come, or until there is
// something to read from the descriptor (-1 for none).
void waitFor(const Exchange& exchange, Time until, int descriptor = -1);

} // namespace manager
