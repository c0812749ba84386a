#include "tables/siTables.h"

#include "tables/gstSections.h"
#include "tables/networkText.h"

#include "wire/records.h"

#include <bitstream/dvb/si.h>
#include <bitstream/mpeg/psi.h>

#include <chrono>

namespace board {

namespace {

constexpr std::uint32_t secondsPerMinute = 60;
constexpr std::uint32_t secondsPerHour = 3600;

// Up to and with the first inner length of the descriptors that have some.
constexpr std::size_t serviceFixedBytes = DESC48_HEADER_SIZE - DESC_HEADER_SIZE + 1;
constexpr std::size_t shortEventFixedBytes = DESC4D_HEADER_SIZE - DESC_HEADER_SIZE + 1;

using DateTime = std::unique_ptr<GstDateTime, Release<gst_date_time_unref>>;

// Days since 17 November 1858 (ETSI EN 300 468 annex C).
std::uint16_t modifiedJulianDay(const GstDateTime* time) {
    using namespace std::chrono;
    const year_month_day date{year(gst_date_time_get_year(time)),
                              month(static_cast<unsigned>(gst_date_time_get_month(time))),
                              day(static_cast<unsigned>(gst_date_time_get_day(time)))};
    return static_cast<std::uint16_t>((sys_days(date) - sys_days(1858y / November / 17d)).count());
}

std::uint32_t secondOfDay(const GstDateTime* time) {
    return static_cast<std::uint32_t>(gst_date_time_get_hour(time)) * secondsPerHour +
           static_cast<std::uint32_t>(gst_date_time_get_minute(time)) * secondsPerMinute +
           static_cast<std::uint32_t>(gst_date_time_get_second(time));
}

UtcTime timeOf(std::uint8_t tableId, const GstDateTime* time) {
    return {tableId, modifiedJulianDay(time), secondOfDay(time)};
}

std::vector<TextDescriptor> textsOf(const GPtrArray* descriptors) {
    std::vector<TextDescriptor> texts;
    for (const GstMpegtsDescriptor* descriptor : gst::descriptors(descriptors)) {
        texts.push_back({descriptor->tag, networkText(*descriptor)});
    }
    return texts;
}

Event eventOf(const GstMpegtsEITEvent& source) {
    constexpr std::uint16_t undefinedDate = 0xFFFF;
    Event event;
    event.id = source.event_id;
    event.startDate = undefinedDate;
    if (source.start_time != nullptr) {
        event.startDate = modifiedJulianDay(source.start_time);
        event.startTime = secondOfDay(source.start_time);
    }
    event.duration = source.duration;
    for (const GstMpegtsDescriptor* descriptor : gst::descriptors(source.descriptors)) {
        gchar* language = nullptr;
        gchar* name = nullptr;
        gchar* text = nullptr;
        if (event.language.empty() &&
            gst::isSound(*descriptor, GST_MTS_DESC_DVB_SHORT_EVENT, shortEventFixedBytes, desc4d_validate) &&
            gst_mpegts_descriptor_parse_dvb_short_event(descriptor, &language, &name, &text)) {
            event.language = gst::toString(language);
            event.name = gst::toString(name);
            event.description = gst::toString(text);
        }
    }
    return event;
}

} // namespace

std::optional<ServiceTable> readSdt(std::span<const std::uint8_t> section) {
    const gst::Section decoded =
        sdt_validate(section.data()) ? gst::decode(wire::sdtPid, section, GST_MPEGTS_SECTION_SDT) : nullptr;
    const GstMpegtsSDT* sdt = decoded ? gst_mpegts_section_get_sdt(decoded.get()) : nullptr;
    if (sdt == nullptr || !sdt->actual_ts) {
        return std::nullopt;
    }
    ServiceTable table{sdt->transport_stream_id, sdt->original_network_id, {}};
    for (const GstMpegtsSDTService* service : gst::items<GstMpegtsSDTService>(sdt->services)) {
        Service row{service->service_id, 0, service->free_CA_mode != FALSE, {}, {}};
        for (const GstMpegtsDescriptor* descriptor : gst::descriptors(service->descriptors)) {
            GstMpegtsDVBServiceType type{};
            gchar* name = nullptr;
            gchar* provider = nullptr;
            if (gst::isSound(*descriptor, GST_MTS_DESC_DVB_SERVICE, serviceFixedBytes, desc48_validate) &&
                gst_mpegts_descriptor_parse_dvb_service(descriptor, &type, &name, &provider)) {
                row.type = static_cast<std::uint8_t>(gst::codeOf(type));
                row.name = gst::toString(name);
                row.provider = gst::toString(provider);
            }
        }
        table.services.push_back(std::move(row));
    }
    return table;
}

std::optional<NitSection> readNit(std::uint16_t pid, std::span<const std::uint8_t> section) {
    const gst::Section decoded =
        nit_validate(section.data()) ? gst::decode(pid, section, GST_MPEGTS_SECTION_NIT) : nullptr;
    const GstMpegtsNIT* nit = decoded ? gst_mpegts_section_get_nit(decoded.get()) : nullptr;
    if (nit == nullptr || !nit->actual_network) {
        return std::nullopt;
    }
    NitSection result{nit->network_id, {textsOf(nit->descriptors), {}}};
    for (const GstMpegtsNITStream* stream : gst::items<GstMpegtsNITStream>(nit->streams)) {
        result.part.streams.push_back(
            {stream->transport_stream_id, stream->original_network_id, textsOf(stream->descriptors)});
    }
    return result;
}

std::optional<EitSection> readEit(std::span<const std::uint8_t> section) {
    const gst::Section decoded =
        eit_validate(section.data()) ? gst::decode(wire::eitPid, section, GST_MPEGTS_SECTION_EIT) : nullptr;
    const GstMpegtsEIT* eit = decoded ? gst_mpegts_section_get_eit(decoded.get()) : nullptr;
    if (eit == nullptr || !eit->actual_stream) {
        return std::nullopt;
    }
    EitSection result{eit->transport_stream_id,
                      eit->original_network_id,
                      eit->segment_last_section_number,
                      eit->last_table_id,
                      {}};
    for (const GstMpegtsEITEvent* event : gst::items<GstMpegtsEITEvent>(eit->events)) {
        result.events.push_back(eventOf(*event));
    }
    return result;
}

std::optional<UtcTime> readTime(std::span<const std::uint8_t> section) {
    if (tdt_validate(section.data())) {
        const gst::Section tdt = gst::decode(wire::tdtPid, section, GST_MPEGTS_SECTION_TDT);
        const DateTime time(tdt ? gst_mpegts_section_get_tdt(tdt.get()) : nullptr);
        return time ? std::optional(timeOf(tdt->table_id, time.get())) : std::nullopt;
    }
    if (tot_validate(section.data())) {
        const gst::Section tot = gst::decode(wire::tdtPid, section, GST_MPEGTS_SECTION_TOT);
        const GstMpegtsTOT* table = tot ? gst_mpegts_section_get_tot(tot.get()) : nullptr;
        return table != nullptr && table->utc_time != nullptr
                   ? std::optional(timeOf(tot->table_id, table->utc_time))
                   : std::nullopt;
    }
    return std::nullopt;
}

} // namespace board
