// What every fuzz target begins a run with.
#pragma once

#include "scriptedZmq.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Takes the service's process-wide state back to the process's start, has these peers play, and sends the
// console to nowhere.
void beginRun(scriptedZmq::Peers peers);
