#include "records/recordWriter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <span>
#include <utf8proc.h>

namespace board {

namespace {

// What stands for "no PID" in a record: the 16 bits as they lie in a PMT or CAT, all ones. With the bare PID,
// 8191, the null packets would be listed as the program's PCR, or as EMMs.
constexpr std::uint16_t noPid = 0xFFFF;
constexpr std::uint8_t notInPat = 255; // patIndex of a service that the PAT does not list

std::uint16_t pidOrNone(std::uint16_t pid) {
    return pid < wire::nullPid ? pid : noPid;
}

// Documents carry texts between quotation marks as they stand. So what would end or break the text is
// replaced.
char harmless(char c) {
    const auto code = static_cast<unsigned char>(c);
    return c == '"' ? '\'' : c == '\\' ? '/' : (code < 0x20 && c != '\0') || code == 0x7F ? ' ' : c;
}

// The same of UTF-8, in which U+0080 to U+009F, control characters too, have two bytes.
std::string harmless(const std::string& text) {
    constexpr char lead = '\xC2';
    std::string result;
    for (std::size_t k = 0; k < text.size(); ++k) {
        const bool control = text[k] == lead && k + 1 < text.size() &&
                             (static_cast<unsigned char>(text[k + 1]) & 0xE0) == 0x80;
        result += control ? ' ' : harmless(text[k]);
        k += control ? 1 : 0;
    }
    return result;
}

// Bytes of the whole UTF-8 characters that a text begins with, as far as there is room.
std::size_t wholeCharacters(const std::string& text, std::size_t room) {
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    const auto end = static_cast<utf8proc_ssize_t>(std::min(text.size(), room));
    utf8proc_ssize_t length = 0;
    while (length < end) {
        utf8proc_int32_t character = 0;
        const utf8proc_ssize_t size = utf8proc_iterate(bytes + length, end - length, &character);
        if (size <= 0 || character == 0) {
            break;
        }
        length += size;
    }
    return static_cast<std::size_t>(length);
}

// Writes UTF-8 text into a field, cut at a character boundary, with a terminating zero inside the field.
void putText(std::span<char> field, const std::string& text) {
    const std::string shown = harmless(text);
    const std::size_t length = wholeCharacters(shown, field.size() - 1);
    std::copy_n(shown.begin(), length, field.begin());
    field[length] = '\0';
}

// The streams of a program as its slots list them.
struct Components {
    const ElementaryStream* video = nullptr;
    std::vector<const ElementaryStream*> audio;
    std::vector<const ElementaryStream*> data;
};

Components componentsOf(const Program& program, LimitReport& limits) {
    Components components;
    if (!program.map) {
        return components;
    }
    std::size_t videos = 0;
    for (const ElementaryStream& stream : program.map->streams) {
        switch (stream.kind) {
        case StreamKind::video:
            ++videos;
            components.video = components.video == nullptr ? &stream : components.video;
            break;
        case StreamKind::audio:
            components.audio.push_back(&stream);
            break;
        case StreamKind::data:
            components.data.push_back(&stream);
            break;
        }
    }
    const std::string name = " of program " + std::to_string(program.number);
    limits.check("video streams" + name, videos, 1);
    limits.check("audio streams" + name, components.audio.size(), wire::maxAudioTracks);
    limits.check("private streams" + name, components.data.size(), wire::maxPrivatePids);
    limits.check("ECM PIDs" + name, program.map->ecmPids.size(), wire::maxEcmPids);
    components.audio.resize(std::min<std::size_t>(components.audio.size(), wire::maxAudioTracks));
    components.data.resize(std::min<std::size_t>(components.data.size(), wire::maxPrivatePids));
    return components;
}

// The programs in the order of the records: the PAT's, with the network entry first, because the service
// recognises it only there.
std::vector<const Program*> orderedPrograms(const StreamModel& model) {
    std::vector<const Program*> programs;
    for (const Program& program : model.programs) {
        if (program.number == 0) {
            programs.insert(programs.begin(), &program);
        } else {
            programs.push_back(&program);
        }
    }
    return programs;
}

// Positions of the PID list: the PAT's PID first, because the service takes the PID at position 0 for no part
// of any program; then the order of first appearance.
std::vector<std::size_t> orderedPids(const StreamModel& model) {
    std::vector<std::size_t> order;
    for (std::size_t k = 0; k < model.pids.size(); ++k) {
        if (model.pids[k].pid == wire::patPid) {
            order.insert(order.begin(), k);
        } else {
            order.push_back(k);
        }
    }
    return order;
}

const PidState* stateOf(const StreamModel& model, std::uint16_t pid) {
    const auto found = std::find_if(model.pids.begin(), model.pids.end(),
                                    [pid](const PidState& state) { return state.pid == pid; });
    return found == model.pids.end() ? nullptr : &*found;
}

bool scrambled(const StreamModel& model, std::uint16_t pid) {
    const PidState* state = stateOf(model, pid);
    return state != nullptr && state->scrambled;
}

// Whether every component that is on air is scrambled, and there is one.
bool allScrambled(const StreamModel& model, const Program& program) {
    if (!program.map) {
        return false;
    }
    bool any = false;
    for (const ElementaryStream& stream : program.map->streams) {
        if (const PidState* state = stateOf(model, stream.pid)) {
            if (!state->scrambled) {
                return false;
            }
            any = true;
        }
    }
    return any;
}

void writePat(const StreamModel& model, const std::vector<const Program*>& programs,
              const std::vector<std::size_t>& pids, wire::PatRecord& pat) {
    const std::size_t listed = std::min<std::size_t>(pids.size(), wire::maxPids);
    for (std::size_t k = 0; k < listed; ++k) {
        pat.pidList[k] = model.pids[pids[k]].pid;
    }
    pat.pidListCount = static_cast<std::uint16_t>(listed);
    const std::size_t inList = std::min<std::size_t>(programs.size(), wire::maxPrograms);
    for (std::size_t k = 0; k < inList; ++k) {
        pat.programs[k] = {programs[k]->number, programs[k]->pmtPid};
        pat.sectionPrograms[k] = pat.programs[k];
    }
    pat.programCount = static_cast<std::int32_t>(std::min<std::size_t>(inList, wire::maxPmtSlots));
    pat.sectionProgramCount = static_cast<std::uint16_t>(inList);
    pat.transportStreamId = model.transportStreamId.value_or(0);
}

AudioFormat audioFormatOf(const StreamModel& model, std::uint16_t pid) {
    const auto found = model.audioFormats.find(pid);
    return found == model.audioFormats.end() ? AudioFormat{} : found->second;
}

void writePmt(const StreamModel& model, const Program& program, const Components& components,
              wire::PmtEntry& slot) {
    slot.pgmNum = program.number;
    slot.pmtPid = program.pmtPid;
    slot.pcrPid = noPid;
    if (!program.map) {
        return;
    }
    slot.pcrPid = pidOrNone(program.map->pcrPid);
    const std::size_t ecms = std::min<std::size_t>(program.map->ecmPids.size(), wire::maxEcmPids);
    slot.ecmCount = static_cast<std::uint16_t>(ecms);
    std::copy_n(program.map->ecmPids.begin(), ecms, slot.ecmPids);
    if (components.video != nullptr) {
        slot.videoPid = components.video->pid;
        slot.videoStreamType = components.video->streamType;
    }
    slot.audioCount = static_cast<std::uint16_t>(components.audio.size());
    for (std::size_t k = 0; k < components.audio.size(); ++k) {
        slot.audioPids[k] = components.audio[k]->pid;
        const std::uint16_t held = audioFormatOf(model, components.audio[k]->pid).coding;
        slot.audioCodings[k] = held != 0 ? held : components.audio[k]->audioCoding;
        putText(slot.audioLanguages[k], components.audio[k]->language);
    }
    slot.privateCount = static_cast<std::uint16_t>(components.data.size());
    for (std::size_t k = 0; k < components.data.size(); ++k) {
        slot.pvtPids[k] = components.data[k]->pid;
    }
}

void writeVideo(const StreamModel& model, const ElementaryStream& stream, wire::AvPgmEntry& slot) {
    slot.videoPid = stream.pid;
    slot.videoScrambled = scrambled(model, stream.pid) ? 1 : 0;
    const auto measured = model.pictureRates.find(stream.pid);
    slot.pictRate = measured == model.pictureRates.end() ? 0.0F : measured->second;
    const auto found = model.videoFormats.find(stream.pid);
    if (found == model.videoFormats.end()) {
        return;
    }
    const VideoFormat& format = found->second;
    slot.horizRes = format.width;
    slot.vertRes = format.height;
    if (format.pictureRate > 0) {
        slot.pictRate = format.pictureRate;
    }
    slot.entropyFlag = format.entropyFlag;
    slot.aspectRatio = format.aspectCode;
    slot.profile = format.profile;
    slot.level = format.level;
}

void writeAudio(const StreamModel& model, const ElementaryStream& stream, wire::AvAudioTrack& track) {
    track.pid = stream.pid;
    track.scrambled = scrambled(model, stream.pid) ? 1 : 0;
    const AudioFormat format = audioFormatOf(model, stream.pid);
    track.bitRateIndex = format.bitRateIndex;
    track.sampleRateIndex = format.sampleRateIndex;
    track.modeIndex = format.modeIndex;
}

void writeAvPgm(const StreamModel& model, const Program& program, const Components& components,
                wire::AvPgmEntry& slot) {
    slot.pgmNum = program.number;
    slot.pmtPid = program.pmtPid;
    if (components.video != nullptr) {
        writeVideo(model, *components.video, slot);
    }
    slot.audioCount = static_cast<std::uint16_t>(components.audio.size());
    for (std::size_t k = 0; k < components.audio.size(); ++k) {
        writeAudio(model, *components.audio[k], slot.audio[k]);
    }
    slot.privateCount = static_cast<std::uint16_t>(components.data.size());
    for (std::size_t k = 0; k < components.data.size(); ++k) {
        slot.privatePids[k].pid = components.data[k]->pid;
    }
    slot.allScrambled = allScrambled(model, program) ? 1 : 0;
}

// One row of the SDT record: a program of the PAT, a service of the SDT, or both.
struct ServiceRow {
    const Service* service;
    const Program* program;
    std::uint8_t patIndex;
};

// The service counts the rows of the SDT record and the programs of the PAT side by side. So every program
// has a row, in the PAT's order, also one that the SDT leaves out; services without a program follow.
std::vector<ServiceRow> serviceRows(const ServiceTable& table, const std::vector<const Program*>& programs) {
    std::vector<ServiceRow> rows;
    for (std::size_t k = 0; k < programs.size(); ++k) {
        if (programs[k]->number == 0) {
            continue;
        }
        const auto found =
            std::find_if(table.services.begin(), table.services.end(),
                         [&](const Service& service) { return service.id == programs[k]->number; });
        rows.push_back({found == table.services.end() ? nullptr : &*found, programs[k],
                        static_cast<std::uint8_t>(std::min<std::size_t>(k, notInPat))});
    }
    for (const Service& service : table.services) {
        const bool listed = std::any_of(programs.begin(), programs.end(), [&](const Program* program) {
            return program->number == service.id;
        });
        if (!listed) {
            rows.push_back({&service, nullptr, notInPat});
        }
    }
    return rows;
}

void writeService(const ServiceRow& row, wire::SdtService& entry) {
    entry.patIndex = row.patIndex;
    if (row.program != nullptr) {
        entry.serviceId = row.program->number;
        entry.pmtPid = row.program->pmtPid;
        entry.pidCount = static_cast<std::uint8_t>(
            row.program->map ? std::min<std::size_t>(row.program->map->streams.size(), 255) : 0);
    }
    if (row.service == nullptr) { // named as the service names a program without an SDT
        putText(entry.serviceName, "Program " + std::to_string(row.program->number));
        putText(entry.providerName, "Unk");
        return;
    }
    entry.serviceId = row.service->id;
    entry.serviceType = row.service->type;
    entry.caFlag = row.service->scrambled ? 1 : 0;
    putText(entry.serviceName, row.service->name);
    putText(entry.providerName, row.service->provider);
}

void writeSdt(const StreamModel& model, const std::vector<const Program*>& programs, wire::SdtRecord& sdt,
              LimitReport& limits) {
    sdt.pid = wire::sdtPid;
    sdt.actual = actualArtificial; // no SDT in the stream: the service makes its own
    if (!model.services) {
        return;
    }
    sdt.pid = model.services->pid;
    sdt.tableId = model.services->tableId;
    sdt.transportStreamId = model.services->transportStreamId;
    sdt.originalNetworkId = model.services->originalNetworkId;
    sdt.actual = actualFromStream;
    const std::vector<ServiceRow> rows = serviceRows(*model.services, programs);
    limits.check("services", rows.size(), wire::maxServices);
    const std::size_t count = std::min<std::size_t>(rows.size(), wire::maxServices);
    sdt.serviceCount = static_cast<std::uint16_t>(count);
    for (std::size_t k = 0; k < count; ++k) {
        writeService(rows[k], sdt.services[k]);
    }
}

void writeCat(const StreamModel& model, wire::CatRecord& cat, LimitReport& limits) {
    if (!model.caSystems) {
        return;
    }
    cat.tableId = 0x01;
    limits.check("CA systems", model.caSystems->size(), wire::maxCaEntries);
    const std::size_t count = std::min<std::size_t>(model.caSystems->size(), wire::maxCaEntries);
    cat.caCount = static_cast<std::uint16_t>(count);
    for (std::size_t k = 0; k < count; ++k) { // a system without EMMs too: it is in use all the same
        cat.caEntries[k] = {(*model.caSystems)[k].systemId, pidOrNone((*model.caSystems)[k].emmPid)};
    }
}

// The transport stream of the NIT that is this one, or the first where this one is not in a whole NIT.
const NetworkStream* ownStream(const StreamModel& model) {
    const NetworkStream* first = nullptr;
    for (const NetworkPart& part : model.network->parts) {
        for (const NetworkStream& stream : part.streams) {
            if (stream.transportStreamId == model.transportStreamId) {
                return &stream;
            }
            first = first == nullptr ? &stream : first;
        }
    }
    return model.network->complete ? first : nullptr;
}

// The network's name, where it has one, stands in the header; the network's other descriptors and those of
// this transport stream are the entries.
void writeNit(const StreamModel& model, wire::NitRecord& nit, LimitReport& limits) {
    constexpr std::uint8_t networkNameTag = 0x40;
    if (!model.network) {
        return;
    }
    nit.tableId = 0x40;
    nit.networkId = model.network->networkId;
    std::vector<const TextDescriptor*> descriptors;
    for (const NetworkPart& part : model.network->parts) {
        for (const TextDescriptor& descriptor : part.descriptors) {
            descriptors.push_back(&descriptor);
        }
    }
    auto header = std::ranges::find_if(
        descriptors, [](const TextDescriptor* descriptor) { return descriptor->tag == networkNameTag; });
    header = header == descriptors.end() ? descriptors.begin() : header;
    if (header != descriptors.end()) {
        nit.descriptorType = (*header)->tag;
        putText(nit.descriptorText, (*header)->text);
        descriptors.erase(header);
    }
    if (const NetworkStream* stream = ownStream(model)) {
        nit.transportStreamId = stream->transportStreamId;
        nit.originalNetworkId = stream->originalNetworkId;
        for (const TextDescriptor& descriptor : stream->descriptors) {
            descriptors.push_back(&descriptor);
        }
    }
    limits.check("NIT descriptors", descriptors.size(), wire::maxNitDescriptors);
    const std::size_t count = std::min<std::size_t>(descriptors.size(), wire::maxNitDescriptors);
    nit.descriptorCount = static_cast<std::uint16_t>(count);
    for (std::size_t k = 0; k < count; ++k) {
        nit.descriptorEntries[k].descriptorType = descriptors[k]->tag;
        putText(nit.descriptorEntries[k].descriptorText, descriptors[k]->text);
    }
}

// "HH:MM:SS" of a number of seconds below 100 hours.
std::string clockText(std::uint32_t seconds) {
    std::array<char, 12> text{};
    std::snprintf(text.data(), text.size(), "%02u:%02u:%02u", seconds / 3600 % 100, seconds / 60 % 60,
                  seconds % 60);
    return text.data();
}

// Present and following, then the schedule from there on, each event once.
std::vector<const Event*> eventsInOrder(const EventTable& table) {
    std::vector<const Event*> events;
    std::set<std::uint16_t> listed;
    const Event* present = nullptr;
    for (const auto& [tableId, rows] : table.events) {
        for (const Event& event : rows) {
            const bool over =
                tableId != presentEventTable && present != nullptr && startOf(event) < startOf(*present);
            if (!over && listed.insert(event.id).second) {
                events.push_back(&event);
                present = present == nullptr && tableId == presentEventTable ? &event : present;
            }
        }
    }
    return events;
}

constexpr const char* undefinedTime = "undefined";

void writeEvent(const Event& event, wire::EitEvent& entry) {
    entry.eventId = event.id;
    entry.startDateMjd = event.startDate;
    putText(entry.startTime, event.startTime ? clockText(*event.startTime) : undefinedTime);
    putText(entry.duration, event.duration ? clockText(*event.duration) : undefinedTime);
    putText(entry.language, event.language);
    putText(entry.eventName, event.name);
    putText(entry.description, event.description);
}

void writeEit(const StreamModel& model, const std::vector<const Program*>& programs,
              std::optional<std::uint16_t> eventService, wire::EitRecord& eit, LimitReport& limits) {
    const auto chosen = std::ranges::find_if(programs, [&](const Program* program) {
        return eventService ? program->number == *eventService : model.events.contains(program->number);
    });
    if (chosen == programs.end() || !model.events.contains((*chosen)->number)) {
        return;
    }
    const EventTable& table = model.events.at((*chosen)->number);
    eit.tableId = table.events.begin()->first;
    eit.serviceId = (*chosen)->number;
    eit.transportStreamId = table.transportStreamId;
    eit.originalNetworkId = table.originalNetworkId;
    const std::vector<const Event*> events = eventsInOrder(table);
    limits.check("events of service " + std::to_string(eit.serviceId), events.size() + table.leftOut,
                 wire::maxEvents);
    const std::size_t count = std::min<std::size_t>(events.size(), wire::maxEvents);
    eit.eventCount = static_cast<std::uint16_t>(count);
    for (std::size_t k = 0; k < count; ++k) {
        writeEvent(*events[k], eit.events[k]);
    }
}

void writeTdt(const StreamModel& model, wire::TdtRecord& tdt) {
    if (!model.time) {
        return;
    }
    tdt.tableId = model.time->tableId;
    tdt.dateMjd = model.time->date;
    putText(tdt.timeOfDay, clockText(model.time->time));
}

} // namespace

void LimitReport::check(const std::string& what, std::size_t count, std::size_t limit) {
    if (count > limit && told_.insert(what).second) {
        print_("too many " + what + ": expected at most " + std::to_string(limit) + ", got " +
               std::to_string(count) + "; the rest is left out");
    }
}

void writeRecords(const StreamModel& model, const RateMeter& rates, std::optional<std::uint16_t> eventService,
                  wire::RecordSet& records, LimitReport& limits) {
    std::memset(&records, 0, sizeof records);
    const std::vector<const Program*> programs = orderedPrograms(model);
    const std::vector<std::size_t> pids = orderedPids(model);
    limits.check("PIDs", pids.size(), wire::maxPids);
    limits.check("PIDs with a rate", pids.size(), wire::maxPidStats);
    limits.check("programs with a map", programs.size() + model.programsLeftOut, wire::maxPmtSlots);

    writePat(model, programs, pids, records.pat);
    for (std::size_t k = 0; k < std::min<std::size_t>(pids.size(), wire::maxPidStats); ++k) {
        records.tsStatus.pidStats[k].rate = rates.rate(pids[k]);
    }
    for (std::size_t k = 0; k < std::min<std::size_t>(programs.size(), wire::maxPrograms); ++k) {
        const Components components = componentsOf(*programs[k], limits);
        writeAvPgm(model, *programs[k], components, records.avPgm.slots[k]);
        if (k < wire::maxPmtSlots) {
            writePmt(model, *programs[k], components, records.pmt.slots[k]);
        }
    }
    writeSdt(model, programs, records.sdt, limits);
    writeCat(model, records.cat, limits);
    writeNit(model, records.nit, limits);
    writeEit(model, programs, eventService, records.eit, limits);
    writeTdt(model, records.tdt);
}

} // namespace board
