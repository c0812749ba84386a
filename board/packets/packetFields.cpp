#include "packets/packetFields.h"

#include "packets/packetSync.h"

#include <bitstream/mpeg/pes.h>
#include <bitstream/mpeg/ts.h>

namespace board {

namespace {

using BaseTicks = std::chrono::duration<std::int64_t, std::ratio<1, 90'000>>; // of PCR bases and PES stamps

} // namespace

std::optional<Ticks> pcrOf(const std::uint8_t* packet) {
    constexpr std::uint8_t bytesWithPcr = 7;
    if (!ts_has_adaptation(packet) || ts_get_adaptation(packet) < bytesWithPcr || !tsaf_has_pcr(packet)) {
        return std::nullopt;
    }
    return BaseTicks(tsaf_get_pcr(packet)) + Ticks(tsaf_get_pcrext(packet));
}

std::span<const std::uint8_t> payloadOf(const std::uint8_t* packet) {
    if (!ts_has_payload(packet)) {
        return {};
    }
    const std::size_t start = ts_has_adaptation(packet)
                                  ? std::size_t{TS_HEADER_SIZE} + 1 + ts_get_adaptation(packet)
                                  : std::size_t{TS_HEADER_SIZE};
    if (start >= tsPacketSize) {
        return {};
    }
    return {packet + start, tsPacketSize - start};
}

bool startsPes(std::span<const std::uint8_t> payload) {
    return payload.size() >= pesFixedBytes && pes_validate(payload.data()) &&
           pes_validate_header(payload.data());
}

bool startsScrambledPes(std::span<const std::uint8_t> payload) {
    constexpr std::size_t controlByte = 6; // of a PES header, with PES_scrambling_control
    constexpr std::uint8_t control = 0x30;
    return startsPes(payload) && (payload[controlByte] & control) != 0;
}

std::optional<Ticks> timeStampOf(std::span<const std::uint8_t> payload) {
    if (!startsPes(payload) || !pes_has_pts(payload.data())) {
        return std::nullopt;
    }
    const std::size_t needed = pes_has_dts(payload.data()) ? 19 : 14;
    if (payload.size() < needed) {
        return std::nullopt;
    }
    return BaseTicks(pes_has_dts(payload.data()) ? pes_get_dts(payload.data()) : pes_get_pts(payload.data()));
}

} // namespace board
