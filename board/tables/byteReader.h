// Reads what is in a section one after the other, where lengths inside it say what comes next.
#pragma once

#include "tables/section.h"

#include <cstddef>
#include <cstdint>

namespace board {

// Whoever asks for more than there is gets zero, or no bytes, and so does everyone after it.
class ByteReader {
  public:
    explicit ByteReader(SectionBytes bytes) : left_(bytes) {}

    // The next so many bytes, four at most, as a number, the most significant first.
    std::uint32_t number(std::size_t count) {
        std::uint32_t value = 0;
        for (const std::uint8_t byte : bytes(count)) {
            value = value << 8 | byte;
        }
        return value;
    }

    std::uint8_t byte() {
        return static_cast<std::uint8_t>(number(1));
    }

    std::uint16_t twoBytes() {
        return static_cast<std::uint16_t>(number(2));
    }

    // The next so many bytes as they are.
    SectionBytes bytes(std::size_t count) {
        if (count > left_.size()) {
            failed_ = true;
            left_ = {};
            return {};
        }
        const SectionBytes taken = left_.first(count);
        left_ = left_.subspan(count);
        return taken;
    }

    // Whether more has been asked for than there was.
    bool failed() const {
        return failed_;
    }

  private:
    SectionBytes left_;
    bool failed_ = false;
};

} // namespace board
