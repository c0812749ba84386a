#include "tables/sectionCrc.h"

#include <array>
#include <cstddef>

namespace board {

namespace {

constexpr std::size_t atOnce = 8; // bytes

// What a byte does to the CRC with so many bytes behind it: rows of 256.
using Tables = std::array<std::array<std::uint32_t, 256>, atOnce>;

constexpr Tables makeTables() {
    constexpr std::uint32_t polynomial = 0x04C11DB7;
    constexpr std::uint32_t highest = 0x80000000;
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t crc = byte << 24U;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1U) ^ ((crc & highest) != 0 ? polynomial : 0U);
        }
        tables[0][byte] = crc;
    }
    for (std::size_t behind = 1; behind < atOnce; ++behind) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint32_t crc = tables[behind - 1][byte];
            tables[behind][byte] = (crc << 8U) ^ tables[0][crc >> 24U];
        }
    }
    return tables;
}

constexpr Tables crcSteps = makeTables();

} // namespace

std::uint32_t sectionCrc(SectionBytes bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (; bytes.size() >= atOnce; bytes = bytes.subspan(atOnce)) {
        const std::uint8_t* b = bytes.data();
        crc = crcSteps[7][b[0] ^ crc >> 24U] ^ crcSteps[6][b[1] ^ (crc >> 16U & 0xFFU)] ^
              crcSteps[5][b[2] ^ (crc >> 8U & 0xFFU)] ^ crcSteps[4][b[3] ^ (crc & 0xFFU)] ^
              crcSteps[3][b[4]] ^ crcSteps[2][b[5]] ^ crcSteps[1][b[6]] ^ crcSteps[0][b[7]];
    }
    for (const std::uint8_t byte : bytes) {
        crc = (crc << 8U) ^ crcSteps[0][(crc >> 24U) ^ byte];
    }
    return crc;
}

} // namespace board
