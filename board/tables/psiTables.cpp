#include "tables/psiTables.h"

#include "tables/sectionLoops.h"
#include "tables/streamTypes.h"

#include "wire/records.h"

#include <algorithm>

namespace board {

namespace {

constexpr std::uint8_t caTag = 0x09;
constexpr std::uint8_t registrationTag = 0x05;
constexpr std::uint8_t languageTag = 0x0A;
constexpr std::uint8_t mpeg4AudioTag = 0x1C;
constexpr std::uint8_t dvbAacTag = 0x7C;
constexpr std::uint8_t dvbExtensionTag = 0x7F;

// The CA descriptor as one of the CAT; nothing for another descriptor.
std::optional<CaSystem> caSystemOf(const std::uint8_t* descriptor) {
    if (!isSound(descriptor, caTag, 0, desc09_validate)) {
        return std::nullopt;
    }
    return CaSystem{desc09_get_sysid(descriptor), desc09_get_pid(descriptor)};
}

// The PIDs of all CA descriptors, each once. One of 8191 names none.
void collectEcmPids(SectionBytes descriptors, std::vector<std::uint16_t>& pids) {
    forEachDescriptor(descriptors, [&](const std::uint8_t* descriptor) {
        const auto system = caSystemOf(descriptor);
        if (system && system->emmPid < wire::nullPid &&
            std::find(pids.begin(), pids.end(), system->emmPid) == pids.end()) {
            pids.push_back(system->emmPid);
        }
    });
}

// What the descriptors of a stream say of it: its language and what classifyStream needs to know.
struct StreamDescription {
    std::string language;       // the first of an ISO 639 language descriptor; empty where there is none
    std::uint8_t audioType = 0; // that stands beside it
    StreamHints hints;
};

void describe(const std::uint8_t* descriptor, StreamDescription& stream) {
    const std::uint8_t tag = desc_get_tag(descriptor);
    const std::uint8_t* content = descriptor + DESC_HEADER_SIZE;
    stream.hints.tags.push_back(tag);
    if (isSound(descriptor, registrationTag, 0, desc05_validate)) {
        const std::uint8_t* id = desc05_get_identifier(descriptor);
        stream.hints.registration = static_cast<std::uint32_t>(id[0]) << 24 |
                                    static_cast<std::uint32_t>(id[1]) << 16 |
                                    static_cast<std::uint32_t>(id[2]) << 8 | id[3];
    }
    if (tag == languageTag && stream.language.empty() &&
        desc_get_length(descriptor) >= DESC0A_LANGUAGE_SIZE) {
        stream.language.assign(content, content + languageSize);
        stream.audioType = content[languageSize];
    }
    if (tag == dvbExtensionTag && desc_get_length(descriptor) > 0) {
        stream.hints.extensionTags.push_back(content[0]);
    }
    // Both descriptors open with the audio profile and level (ISO/IEC 13818-1 table 2-72).
    if ((tag == dvbAacTag || tag == mpeg4AudioTag) && desc_get_length(descriptor) > 0) {
        stream.hints.aacProfile = content[0];
    }
}

StreamDescription descriptionOf(SectionBytes descriptors) {
    StreamDescription description;
    forEachDescriptor(descriptors,
                      [&](const std::uint8_t* descriptor) { describe(descriptor, description); });
    return description;
}

ElementaryStream streamOf(const std::uint8_t* entry, SectionBytes descriptors,
                          std::optional<std::uint32_t> programRegistration) {
    StreamDescription description = descriptionOf(descriptors);
    description.hints.programRegistration = programRegistration;
    const std::uint8_t type = pmtn_get_streamtype(entry);
    const StreamClass kind = classifyStream(type, description.hints);
    return {pmtn_get_pid(entry),  type, kind.kind, kind.audioCoding, std::move(description.language),
            description.audioType};
}

} // namespace

std::optional<std::vector<PatEntry>> readPat(SectionBytes section) {
    if (!isOfTable(section, PAT_TABLE_ID, PAT_HEADER_SIZE)) {
        return std::nullopt;
    }
    std::vector<PatEntry> entries;
    for (SectionBytes rows = sectionBody(section, PAT_HEADER_SIZE); rows.size() >= PAT_PROGRAM_SIZE;
         rows = rows.subspan(PAT_PROGRAM_SIZE)) {
        entries.push_back({patn_get_program(rows.data()), patn_get_pid(rows.data())});
    }
    return entries;
}

std::optional<std::vector<CaSystem>> readCat(SectionBytes section) {
    if (!isOfTable(section, CAT_TABLE_ID, CAT_HEADER_SIZE)) {
        return std::nullopt;
    }
    std::vector<CaSystem> systems;
    forEachDescriptor(sectionBody(section, CAT_HEADER_SIZE), [&](const std::uint8_t* descriptor) {
        if (const auto system = caSystemOf(descriptor)) {
            systems.push_back(*system);
        }
    });
    return systems;
}

std::optional<ProgramMap> readPmt(SectionBytes section) {
    const bool one = psi_get_section(section.data()) == 0 && psi_get_lastsection(section.data()) == 0;
    if (!isOfTable(section, PMT_TABLE_ID, PMT_HEADER_SIZE) || !one) {
        return std::nullopt;
    }
    ProgramMap map{pmt_get_pcrpid(section.data()), {}, {}};
    const SectionBytes common =
        descriptorsAt(sectionBody(section, PMT_HEADER_SIZE - std::size_t{DESCS_HEADER_SIZE}));
    collectEcmPids(common, map.ecmPids);
    const auto registration = descriptionOf(common).hints.registration;
    forEachEntry(sectionBody(section, PMT_HEADER_SIZE + common.size()), PMT_ES_SIZE,
                 [&](const std::uint8_t* entry, SectionBytes descriptors) {
                     collectEcmPids(descriptors, map.ecmPids);
                     if (pmtn_get_pid(entry) < wire::nullPid) { // else announced, but not on air
                         map.streams.push_back(streamOf(entry, descriptors, registration));
                     }
                 });
    return map;
}

} // namespace board
