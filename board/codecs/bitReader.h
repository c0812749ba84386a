// Reads a header bit by bit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace board {

// Bits from the most significant of the first byte on. Behind the end there are zeros, and exhausted() tells.
class BitReader {
  public:
    explicit BitReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    // The next count bits, at most 32, as a number.
    std::uint32_t bits(unsigned count) {
        std::uint32_t value = 0;
        for (; count > 0; --count) {
            value = value << 1 | (flag() ? 1U : 0U);
        }
        return value;
    }

    bool flag() {
        const std::size_t at = position_++;
        return at / 8 < bytes_.size() && (bytes_[at / 8] >> (7 - at % 8) & 1) != 0;
    }

    void skip(std::size_t count) {
        position_ += count;
    }

    // Exp-Golomb codes, unsigned and signed (ISO/IEC 14496-10, 9.1).
    std::uint32_t unsignedCode() {
        constexpr unsigned longest = 31;
        unsigned zeros = 0;
        while (zeros < longest && !exhausted() && !flag()) {
            ++zeros;
        }
        return (1U << zeros) - 1 + bits(zeros);
    }
    std::int32_t signedCode() {
        const std::uint32_t code = unsignedCode();
        const auto half = static_cast<std::int32_t>(code / 2);
        return code % 2 == 1 ? half + 1 : -half;
    }

    // Whether more has been read than there is.
    bool exhausted() const {
        return position_ > bytes_.size() * 8;
    }

  private:
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

} // namespace board
