// The heap that a process has in use, by the module that asked for it, in memory that the process shares with
// whoever watches it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// Environment variable with the path of the file that holds a HeapInUse.
inline constexpr const char* heapFileVariable = "MPEGFE_HEAP_IN_USE";

enum HeapModule : std::uint32_t { executableHeap, janssonHeap, otherHeap };

struct HeapOfModule {
    std::atomic<std::int64_t> allocations; // so far
    std::atomic<std::int64_t> bytesInUse;  // as they were asked for
};

// Zero at start.
struct HeapInUse {
    std::array<HeapOfModule, otherHeap + 1> modules;
};
static_assert(std::atomic<std::int64_t>::is_always_lock_free);
