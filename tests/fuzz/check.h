// What must hold whatever comes in.
#pragma once

#include <cstdio>
#include <cstdlib>

// Ends the process when it does not hold, which is how a fuzzer is told of a finding.
inline void check(bool holds, const char* what) {
    if (!holds) {
        std::fprintf(stderr, "check failed: %s\n", what);
        std::abort();
    }
}
