#include "codecs/aspectCodes.h"

#include <array>
#include <cstddef>

namespace board {

std::uint16_t aspectCodeOfSamples(unsigned width, unsigned height) {
    struct Shape {
        unsigned width;
        unsigned height;
    };
    static constexpr std::array<Shape, lastAspectCode> shapes{{{1, 1},
                                                               {12, 11},
                                                               {10, 11},
                                                               {16, 11},
                                                               {40, 33},
                                                               {24, 11},
                                                               {20, 11},
                                                               {32, 11},
                                                               {80, 33},
                                                               {18, 11},
                                                               {15, 11},
                                                               {64, 33},
                                                               {160, 99},
                                                               {4, 3},
                                                               {3, 2},
                                                               {2, 1}}};
    if (width == 0 || height == 0) {
        return 0;
    }
    for (std::size_t k = 0; k < shapes.size(); ++k) {
        if (std::uint64_t{width} * shapes[k].height == std::uint64_t{height} * shapes[k].width) {
            return static_cast<std::uint16_t>(k + 1);
        }
    }
    return 0;
}

} // namespace board
