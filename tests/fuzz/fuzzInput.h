// The bytes of one fuzzing run, taken from the front. Whoever takes more than there is gets zeros, so every
// input is a valid one.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : rest(data, size) {}

    bool empty() const {
        return rest.empty();
    }

    std::uint8_t u8() {
        if (rest.empty()) {
            return 0;
        }
        const std::uint8_t value = rest.front();
        rest = rest.subspan(1);
        return value;
    }
    std::uint16_t u16() {
        const unsigned low = u8();
        return static_cast<std::uint16_t>(low | static_cast<unsigned>(u8()) << 8);
    }
    std::uint32_t u32() {
        const std::uint32_t low = u16();
        return low | static_cast<std::uint32_t>(u16()) << 16;
    }
    std::int32_t i32() {
        return static_cast<std::int32_t>(u32());
    }

    // That many bytes, zeros where there are no more.
    std::vector<unsigned char> bytes(std::size_t count) {
        std::vector<unsigned char> taken(count);
        const std::size_t available = std::min(count, rest.size());
        std::copy_n(rest.begin(), available, taken.begin());
        rest = rest.subspan(available);
        return taken;
    }

    // Up to a zero byte, which is taken too, or the end.
    std::string text() {
        const auto end = std::ranges::find(rest, std::uint8_t{0});
        const std::string taken(rest.begin(), end);
        rest = rest.subspan(std::min(taken.size() + 1, rest.size()));
        return taken;
    }

  private:
    std::span<const std::uint8_t> rest;
};
