// What the analysis reads out of a transport stream packet (ISO/IEC 13818-1, 2.4.3) and the PES header in it.
#pragma once

#include "tunables.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace board {

inline constexpr std::size_t pidValues = 8192;  // of 13 bits
inline constexpr std::size_t pesFixedBytes = 9; // of a PES header, up to PES_header_data_length

// The PCR of a packet of 188 bytes.
std::optional<Ticks> pcrOf(const std::uint8_t* packet);

// The payload of a packet of 188 bytes; empty where there is none or the adaptation field claims more than
// the packet.
std::span<const std::uint8_t> payloadOf(const std::uint8_t* packet);

// Whether a payload begins with the header of a PES packet that may carry time stamps.
bool startsPes(std::span<const std::uint8_t> payload);

// Whether a payload begins with the header of a PES packet whose content is scrambled.
bool startsScrambledPes(std::span<const std::uint8_t> payload);

// The decoding time that a payload begins with, which never runs backwards inside a stream.
std::optional<Ticks> timeStampOf(std::span<const std::uint8_t> payload);

} // namespace board
