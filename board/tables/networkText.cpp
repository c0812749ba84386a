#include "tables/networkText.h"

#include "tables/gstSections.h"

#include <array>
#include <cstdio>
#include <optional>

namespace board {

namespace {

// Indexed by GstMpegtsModulationType.
constexpr std::array<const char*, 12> modulations{"QPSK", "16QAM", "32QAM", "64QAM", "128QAM", "256QAM",
                                                  "auto", "8VSB",  "16VSB", "8PSK",  "16APSK", "32APSK"};

const char* modulationName(const GstMpegtsModulationType& type) {
    const unsigned index = gst::codeOf(type);
    return index < modulations.size() ? modulations[index] : "unknown";
}

template <class... Values>
std::string formatted(const char* format, Values... values) {
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

std::optional<std::string> networkName(const GstMpegtsDescriptor& descriptor) {
    gchar* name = nullptr;
    if (!gst_mpegts_descriptor_parse_dvb_network_name(&descriptor, &name)) {
        return std::nullopt;
    }
    return gst::toString(name);
}

std::optional<std::string> serviceList(const GstMpegtsDescriptor& descriptor) {
    GPtrArray* found = nullptr;
    if (!gst_mpegts_descriptor_parse_dvb_service_list(&descriptor, &found)) {
        return std::nullopt;
    }
    const gst::Array list(found);
    std::string text;
    for (const GstMpegtsDVBServiceListItem* item : gst::items<GstMpegtsDVBServiceListItem>(list.get())) {
        text += text.empty() ? "" : " ";
        text += std::to_string(item->service_id);
        text += ":";
        text += std::to_string(gst::codeOf(item->type));
    }
    return text;
}

std::optional<std::string> satelliteDelivery(const GstMpegtsDescriptor& descriptor) {
    GstMpegtsSatelliteDeliverySystemDescriptor system{};
    if (!gst_mpegts_descriptor_parse_satellite_delivery_system(&descriptor, &system)) {
        return std::nullopt;
    }
    static constexpr std::array<char, 4> polarizations{'H', 'V', 'L', 'R'};
    return formatted("%u kHz %c %.1f%c %s %s %u sym/s", system.frequency,
                     polarizations[gst::codeOf(system.polarization) % polarizations.size()],
                     static_cast<double>(system.orbital_position), system.west_east ? 'E' : 'W',
                     system.modulation_system ? "DVB-S2" : "DVB-S", modulationName(system.modulation_type),
                     system.symbol_rate);
}

std::optional<std::string> cableDelivery(const GstMpegtsDescriptor& descriptor) {
    GstMpegtsCableDeliverySystemDescriptor system{};
    if (!gst_mpegts_descriptor_parse_cable_delivery_system(&descriptor, &system)) {
        return std::nullopt;
    }
    return formatted("%u Hz %s %u sym/s", system.frequency, modulationName(system.modulation),
                     system.symbol_rate);
}

std::optional<std::string> terrestrialDelivery(const GstMpegtsDescriptor& descriptor) {
    GstMpegtsTerrestrialDeliverySystemDescriptor system{};
    if (!gst_mpegts_descriptor_parse_terrestrial_delivery_system(&descriptor, &system)) {
        return std::nullopt;
    }
    const std::string rest =
        formatted("%u Hz wide %s", system.bandwidth, modulationName(system.constellation));
    constexpr std::uint32_t unspecified = 0xFFFFFFFFU * 10U; // all bits set, in units of 10 Hz
    return system.frequency == unspecified ? rest : formatted("%u Hz ", system.frequency) + rest;
}

struct Reader {
    std::uint8_t tag;
    std::optional<std::string> (*read)(const GstMpegtsDescriptor&);
};

constexpr std::array<Reader, 5> readers{{
    {GST_MTS_DESC_DVB_NETWORK_NAME, networkName},
    {GST_MTS_DESC_DVB_SERVICE_LIST, serviceList},
    {GST_MTS_DESC_DVB_SATELLITE_DELIVERY_SYSTEM, satelliteDelivery},
    {GST_MTS_DESC_DVB_CABLE_DELIVERY_SYSTEM, cableDelivery},
    {GST_MTS_DESC_DVB_TERRESTRIAL_DELIVERY_SYSTEM, terrestrialDelivery},
}};

std::string hexadecimal(const GstMpegtsDescriptor& descriptor) {
    constexpr std::size_t headerSize = 2; // descriptor_tag and descriptor_length
    static constexpr std::array<char, 17> digits{"0123456789abcdef"};
    std::string text;
    for (std::size_t k = 0; k < descriptor.length; ++k) {
        const std::uint8_t byte = descriptor.data[headerSize + k];
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

} // namespace

std::string networkText(const GstMpegtsDescriptor& descriptor) {
    for (const Reader& reader : readers) {
        if (reader.tag == descriptor.tag) {
            if (auto text = reader.read(descriptor)) {
                return *text;
            }
        }
    }
    return hexadecimal(descriptor);
}

} // namespace board
