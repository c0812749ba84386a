#include "tables/networkText.h"

#include <bitstream/dvb/si.h>
#include <bitstream/mpeg/psi.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <span>

namespace board {

namespace {

constexpr std::uint8_t networkNameTag = 0x40;

using Names = std::span<const char* const>;

// ETSI EN 300 468, 6.2.13: coded values of the three delivery systems.
constexpr std::array<const char*, 4> satelliteModulations{"auto", "QPSK", "8PSK", "16QAM"};
constexpr std::array<const char*, 6> cableModulations{"unknown", "16QAM",  "32QAM",
                                                      "64QAM",   "128QAM", "256QAM"};
constexpr std::array<const char*, 3> constellations{"QPSK", "16QAM", "64QAM"};
constexpr std::array<unsigned, 4> bandwidths{8'000'000, 7'000'000, 6'000'000, 5'000'000}; // Hz

const char* nameOf(Names names, std::size_t code) {
    return code < names.size() ? names[code] : "unknown";
}

template <class... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::string serviceList(const std::uint8_t* descriptor) {
    std::string text;
    const std::uint8_t* service = descriptor + DESC41_HEADER_SIZE;
    for (unsigned left = desc_get_length(descriptor); left >= DESC41_SERVICE_SIZE;
         left -= DESC41_SERVICE_SIZE, service += DESC41_SERVICE_SIZE) {
        text += text.empty() ? "" : " ";
        text += std::to_string(desc41n_get_sid(service)) + ":" + std::to_string(desc41n_get_type(service));
    }
    return text;
}

std::string satelliteDelivery(const std::uint8_t* descriptor) {
    static constexpr std::array<char, 4> polarizations{'H', 'V', 'L', 'R'};
    const unsigned position = desc43_get_position(descriptor); // tenths of a degree
    return formatted(
        "%u kHz %c %u.%u%c %s %s %u sym/s", desc43_get_frequency(descriptor),
        polarizations[desc43_get_polarization(descriptor)], position / 10, position % 10,
        desc43_get_east(descriptor) ? 'E' : 'W', desc43_get_dvbs2(descriptor) ? "DVB-S2" : "DVB-S",
        nameOf(satelliteModulations, desc43_get_modulation(descriptor)), desc43_get_symbolrate(descriptor));
}

std::string cableDelivery(const std::uint8_t* descriptor) {
    return formatted("%" PRIu64 " Hz %s %u sym/s", desc44_get_frequency(descriptor),
                     nameOf(cableModulations, desc44_get_modulation(descriptor)),
                     desc44_get_symbolrate(descriptor));
}

std::string terrestrialDelivery(const std::uint8_t* descriptor) {
    constexpr std::uint64_t unspecified = 0xFFFFFFFFULL * 10; // all bits set, in units of 10 Hz
    const std::size_t bandwidth = desc5a_get_bandwidth(descriptor);
    const std::string rest =
        formatted("%u Hz wide %s", bandwidth < bandwidths.size() ? bandwidths[bandwidth] : 0,
                  nameOf(constellations, desc5a_get_constellation(descriptor)));
    const std::uint64_t frequency = desc5a_get_frequency(descriptor);
    return frequency == unspecified ? rest : formatted("%" PRIu64 " Hz ", frequency) + rest;
}

// A length that is no whole number of services is read as far as it goes.
bool isServiceList(const std::uint8_t* descriptor) {
    return desc_get_length(descriptor) >= DESC41_SERVICE_SIZE;
}

// Whether the first so many digits of BCD are decimal.
bool isDecimal(const std::uint8_t* digits, std::size_t count) {
    for (std::size_t k = 0; k < count; ++k) {
        const int digit = k % 2 == 0 ? digits[k / 2] >> 4 : digits[k / 2] & 0x0F;
        if (digit > 9) {
            return false;
        }
    }
    return true;
}

// The digits of the frequency, of a satellite its position too, and of the symbol rate.
bool isSatelliteDelivery(const std::uint8_t* descriptor) {
    return desc43_validate(descriptor) && isDecimal(descriptor + 2, 12) && isDecimal(descriptor + 9, 7);
}
bool isCableDelivery(const std::uint8_t* descriptor) {
    return desc44_validate(descriptor) && isDecimal(descriptor + 2, 8) && isDecimal(descriptor + 9, 7);
}

struct Reader {
    std::uint8_t tag;
    bool (*makesSense)(const std::uint8_t* descriptor);
    std::string (*read)(const std::uint8_t* descriptor);
};

constexpr std::array<Reader, 4> readers{{
    {0x41, isServiceList, serviceList},
    {0x43, isSatelliteDelivery, satelliteDelivery},
    {0x44, isCableDelivery, cableDelivery},
    {0x5A, desc5a_validate, terrestrialDelivery},
}};

std::string hexadecimal(const std::uint8_t* descriptor) {
    static constexpr std::array<char, 17> digits{"0123456789abcdef"};
    std::string text;
    for (std::size_t k = 0; k < desc_get_length(descriptor); ++k) {
        const std::uint8_t byte = descriptor[DESC_HEADER_SIZE + k];
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

} // namespace

std::string networkText(const std::uint8_t* descriptor, TextReader readName) {
    if (desc_get_tag(descriptor) == networkNameTag) {
        return readName({descriptor + DESC_HEADER_SIZE, desc_get_length(descriptor)});
    }
    for (const Reader& reader : readers) {
        if (reader.tag == desc_get_tag(descriptor) && reader.makesSense(descriptor)) {
            return reader.read(descriptor);
        }
    }
    return hexadecimal(descriptor);
}

} // namespace board
