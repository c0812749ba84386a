#include "tables/psiTables.h"

#include "tables/gstSections.h"
#include "tables/streamTypes.h"

#include "wire/records.h"

#include <bitstream/mpeg/psi.h>
#include <gst/gst.h>

#include <algorithm>
#include <cstdlib>

namespace board {

namespace {

// The PIDs of all CA descriptors, each once. One of 8191 names none.
void collectEcmPids(const GPtrArray* descriptors, std::vector<std::uint16_t>& pids) {
    for (GstMpegtsDescriptor* descriptor : gst::descriptors(descriptors)) {
        guint16 systemId = 0;
        guint16 pid = 0;
        if (descriptor->tag == GST_MTS_DESC_CA &&
            gst_mpegts_descriptor_parse_ca(descriptor, &systemId, &pid, nullptr, nullptr) &&
            pid < wire::nullPid && std::find(pids.begin(), pids.end(), pid) == pids.end()) {
            pids.push_back(pid);
        }
    }
}

// The first language of an ISO 639 language descriptor; empty where there is none.
std::string languageOf(const GPtrArray* descriptors) {
    for (const GstMpegtsDescriptor* descriptor : gst::descriptors(descriptors)) {
        gchar* language = nullptr;
        if (descriptor->tag == GST_MTS_DESC_ISO_639_LANGUAGE &&
            gst_mpegts_descriptor_parse_iso_639_language_idx(descriptor, 0, &language, nullptr)) {
            return gst::toString(language);
        }
    }
    return {};
}

// What classifyStream needs to know of a stream's descriptors.
StreamHints hintsOf(const GPtrArray* descriptors) {
    StreamHints hints;
    for (GstMpegtsDescriptor* descriptor : gst::descriptors(descriptors)) {
        hints.tags.push_back(descriptor->tag);
        guint32 registration = 0;
        if (descriptor->tag == GST_MTS_DESC_REGISTRATION &&
            gst_mpegts_descriptor_parse_registration(descriptor, &registration, nullptr, nullptr)) {
            hints.registration = registration;
        }
        constexpr std::uint8_t dvbExtension = 0x7F;
        if (descriptor->tag == dvbExtension && descriptor->length > 0) {
            hints.extensionTags.push_back(descriptor->data[2]);
        }
        // Both descriptors open with the audio profile and level (ISO/IEC 13818-1 table 2-72).
        if ((descriptor->tag == GST_MTS_DESC_DVB_AAC || descriptor->tag == GST_MTS_DESC_MPEG4_AUDIO) &&
            descriptor->length > 0) {
            hints.aacProfile = descriptor->data[2];
        }
    }
    return hints;
}

// biTStream's own check refuses a CAT of several sections, which ISO/IEC 13818-1, 2.4.4.6 allows.
bool isCat(const std::uint8_t* section) {
    return psi_get_syntax(section) && psi_get_tableid(section) == CAT_TABLE_ID &&
           descl_validate(cat_get_descl_const(section), cat_get_desclength(section));
}

} // namespace

void initialiseLibraries() {
    ::setenv("GST_REGISTRY_UPDATE", "no", 0); // plugins are not used
    gst_init(nullptr, nullptr);
    gst_mpegts_initialize();
}

bool sectionIsSound(std::span<const std::uint8_t> section) {
    if (section.size() < PSI_HEADER_SIZE ||
        section.size() != psi_get_length(section.data()) + std::size_t{PSI_HEADER_SIZE} ||
        !psi_validate(section.data())) {
        return false;
    }
    return !psi_get_syntax(section.data()) || psi_check_crc(section.data());
}

std::optional<SectionHeader> sectionHeader(std::span<const std::uint8_t> section) {
    const std::uint8_t* bytes = section.data();
    if (section.size() < PSI_HEADER_SIZE_SYNTAX1 + PSI_CRC_SIZE || !psi_get_syntax(bytes)) {
        return std::nullopt;
    }
    const std::uint8_t* crc = bytes + section.size() - PSI_CRC_SIZE;
    return SectionHeader{psi_get_tableid(bytes),
                         psi_get_tableidext(bytes),
                         psi_get_version(bytes),
                         psi_get_section(bytes),
                         psi_get_lastsection(bytes),
                         psi_get_current(bytes),
                         static_cast<std::uint32_t>(crc[0]) << 24 | static_cast<std::uint32_t>(crc[1]) << 16 |
                             static_cast<std::uint32_t>(crc[2]) << 8 | crc[3]};
}

std::optional<std::vector<Program>> readPat(std::span<const std::uint8_t> section) {
    const gst::Section decoded =
        pat_validate(section.data()) ? gst::decode(wire::patPid, section, GST_MPEGTS_SECTION_PAT) : nullptr;
    if (!decoded) {
        return std::nullopt;
    }
    const gst::Array pat(gst_mpegts_section_get_pat(decoded.get()));
    if (!pat) {
        return std::nullopt;
    }
    std::vector<Program> programs;
    for (const GstMpegtsPatProgram* entry : gst::items<GstMpegtsPatProgram>(pat.get())) {
        programs.push_back({entry->program_number, entry->network_or_program_map_PID, std::nullopt});
    }
    return programs;
}

std::optional<std::vector<CaSystem>> readCat(std::span<const std::uint8_t> section) {
    const gst::Section decoded =
        isCat(section.data()) ? gst::decode(wire::catPid, section, GST_MPEGTS_SECTION_CAT) : nullptr;
    if (!decoded) {
        return std::nullopt;
    }
    const gst::Array cat(gst_mpegts_section_get_cat(decoded.get()));
    if (!cat) {
        return std::nullopt;
    }
    std::vector<CaSystem> systems;
    for (GstMpegtsDescriptor* descriptor : gst::descriptors(cat.get())) {
        CaSystem system{};
        if (descriptor->tag == GST_MTS_DESC_CA &&
            gst_mpegts_descriptor_parse_ca(descriptor, &system.systemId, &system.emmPid, nullptr, nullptr)) {
            systems.push_back(system);
        }
    }
    return systems;
}

std::optional<PmtSection> readPmt(std::uint16_t pid, std::span<const std::uint8_t> section) {
    const gst::Section decoded =
        pmt_validate(section.data()) ? gst::decode(pid, section, GST_MPEGTS_SECTION_PMT) : nullptr;
    if (!decoded) {
        return std::nullopt;
    }
    const GstMpegtsPMT* pmt = gst_mpegts_section_get_pmt(decoded.get());
    if (pmt == nullptr) {
        return std::nullopt;
    }
    PmtSection result{pmt->program_number, {pmt->pcr_pid, {}, {}}};
    collectEcmPids(pmt->descriptors, result.map.ecmPids);
    const auto ofProgram = hintsOf(pmt->descriptors).registration;
    for (const GstMpegtsPMTStream* stream : gst::items<GstMpegtsPMTStream>(pmt->streams)) {
        collectEcmPids(stream->descriptors, result.map.ecmPids);
        if (stream->pid >= wire::nullPid) { // announced, but not on air
            continue;
        }
        StreamHints hints = hintsOf(stream->descriptors);
        hints.programRegistration = ofProgram;
        const StreamClass kind = classifyStream(stream->stream_type, hints);
        result.map.streams.push_back(
            {stream->pid, stream->stream_type, kind.kind, kind.audioCoding, languageOf(stream->descriptors)});
    }
    return result;
}

} // namespace board
