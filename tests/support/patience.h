#pragma once

#include <chrono>

namespace testSupport {

// How long a test waits for what a peer or a program has to do, before it calls that missing. In an int,
// which is what poll and libzmq take.
inline constexpr std::chrono::duration<int, std::milli> patience{20'000};

} // namespace testSupport
