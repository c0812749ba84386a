#include "support/assertion.h"

// Release builds define NDEBUG, and then the C library does not declare its report.
#undef NDEBUG
#include <cassert>

namespace mpegfe {

void requireThat(bool holds, const char* expression, const char* file, unsigned line, const char* function) {
    if (!holds) {
        __assert_fail(expression, file, line, function);
    }
}

} // namespace mpegfe
