// Counts and texts that come from outside, cut to what the receiving side can hold.
#pragma once

#include <cstddef>
#include <cstring>

namespace mpegfe {

// A count from outside, cut to the number of elements that there are: 0 to extent.
template <typename Count>
constexpr int clampCount(Count count, int extent) {
    if (count <= Count{0}) {
        return 0;
    }
    return static_cast<long long>(count) > extent ? extent : static_cast<int>(count);
}

// Characters of a text field: up to its first zero byte, or all of its width if there is none.
template <std::size_t width>
std::size_t fieldLength(const char (&field)[width]) {
    return strnlen(field, width);
}

} // namespace mpegfe
