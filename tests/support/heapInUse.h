// The heap of a process by the module whose code asked for it, in memory that the process shares with whoever
// watches it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// Environment variable with the path of the file that holds a HeapInUse.
inline constexpr const char* heapFileVariable = "MPEGFE_HEAP_IN_USE";

inline constexpr const char* executableModule = "executable"; // name of the program itself

struct HeapOfModule {
    std::array<char, 40> name;             // file name without directory and version: "libzmq"
    std::atomic<std::int64_t> allocations; // so far
    std::atomic<std::int64_t> bytesInUse;  // as they were asked for
};

// Zero at start. Each module takes the first place that is free when it first asks; those that find none
// share the last.
struct HeapInUse {
    std::array<HeapOfModule, 32> modules;
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);
