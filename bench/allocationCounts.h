// Heap allocations of a process by the module that asked for them, in memory that the process shares with
// whoever measures it.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

// Environment variable with the path of the file that holds an AllocationCounts.
inline constexpr const char* allocationFileVariable = "MPEGFE_ALLOCATION_COUNTS";

inline constexpr const char* executableName = "executable"; // module name of the program itself

struct ModuleAllocations {
    std::array<char, 40> module; // file name without directory and version: "libzmq"; empty when unused
    std::atomic<std::uint64_t> calls;
};

// Zero at start.
struct AllocationCounts {
    std::array<ModuleAllocations, 32> modules;
};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);
